#include "floor_contender.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

namespace stattree_bench {
namespace {

constexpr std::size_t kRowsBetweenClockChecks = 1 << 16;

// Ends a timed loop once past the cap, checking the clock every
// kRowsBetweenClockChecks rows.
bool PastCap(std::size_t row, const Deadline& deadline, const Stopwatch& watch, Outcome& outcome) {
  if (row % kRowsBetweenClockChecks != 0 || !deadline.Passed()) return false;
  outcome.status = Outcome::OverCap;
  outcome.seconds = watch.Seconds();
  return true;
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct EverydayNode {
  std::int64_t count = 0;
  std::int64_t countValid = 0;
  double min = 0.0;
  double max = 0.0;
  double sum = 0.0;
  double sumOfSquares = 0.0;
  std::array<std::int64_t, everyday::kChannels.size()> channels{};
  std::array<std::int64_t, everyday::kHistogramBins> bins{};
  std::array<double, everyday::kYearCount> yearSums{};
  std::array<std::int64_t, everyday::kYearCount> yearCounts{};
  double webSum = 0.0;
  std::int64_t webCount = 0;

  void Add(double amount, int channel, bool isWeb, std::uint32_t year, int bin) {
    ++count;
    if (!std::isnan(amount)) {
      if (countValid == 0 || amount < min) min = amount;
      if (countValid == 0 || amount > max) max = amount;
      ++countValid;
      sum += amount;
      sumOfSquares += amount * amount;
      if (isWeb) {
        webSum += amount;
        ++webCount;
      }
    }
    if (channel >= 0) ++channels[static_cast<std::size_t>(channel)];
    ++bins[static_cast<std::size_t>(bin)];
    yearSums[year] += amount;
    ++yearCounts[year];
  }
};

// Position of each dictionary code among the enumeration values (-1 when
// it is none of them), so the pass does no text comparison.
std::vector<int> ChannelIndexOfCode(const Table::Column& column) {
  std::vector<int> index(column.dictionary.size(), -1);
  for (std::size_t code = 0; code < column.dictionary.size(); ++code) {
    for (std::size_t i = 0; i < everyday::kChannels.size(); ++i) {
      if (column.dictionary[code].ToString() == everyday::kChannels[i]) {
        index[code] = static_cast<int>(i);
      }
    }
  }
  return index;
}

void EmitEveryday(const std::string& node, const EverydayNode& acc, const Table::Column& yearColumn,
                  ResultSet& results) {
  const double count = static_cast<double>(acc.countValid);
  results.Set(node, names::kCount, static_cast<double>(acc.count));
  results.Set(node, names::kCountValid, count);
  results.Set(node, names::kMin, acc.countValid > 0 ? acc.min : kNaN);
  results.Set(node, names::kMax, acc.countValid > 0 ? acc.max : kNaN);
  results.Set(node, names::kSum, acc.sum);
  results.Set(node, names::kAverage, acc.countValid > 0 ? acc.sum / count : kNaN);
  results.Set(node, names::kStdDev, SampleStdDev(count, acc.sum, acc.sumOfSquares));
  std::int64_t matched = 0;
  for (std::int64_t channelCount : acc.channels) matched += channelCount;
  for (std::size_t i = 0; i < acc.channels.size(); ++i) {
    results.Set(node, ItemName(names::kChannelCount, everyday::kChannels[i]),
                static_cast<double>(acc.channels[i]));
    // Percentages in single precision, as the engine keeps them.
    const double percent = matched < 1 ? kNaN
                                       : static_cast<float>(static_cast<double>(acc.channels[i]) *
                                                            100.0 / static_cast<double>(matched));
    results.Set(node, ItemName(names::kChannelPercent, everyday::kChannels[i]), percent);
  }
  for (std::size_t bin = 0; bin < acc.bins.size(); ++bin) {
    results.Set(node, ItemName(names::kAmountHistogram, std::to_string(bin)),
                static_cast<double>(acc.bins[bin]));
  }
  for (std::size_t year = 0; year < acc.yearSums.size(); ++year) {
    if (acc.yearCounts[year] == 0) continue;
    results.Set(node, ItemName(names::kSumByYear, yearColumn.dictionary[year].ToString()),
                acc.yearSums[year]);
  }
  results.Set(node, names::kWebAverage,
              acc.webCount > 0 ? acc.webSum / static_cast<double>(acc.webCount) : kNaN);
}

Outcome RunEveryday(const Table& table, double capSeconds, ResultSet& results) {
  const auto& region = table.GetColumn(everyday::kRegion);
  const auto& product = table.GetColumn(everyday::kProduct);
  const auto& year = table.GetColumn(everyday::kYear);
  const auto& channel = table.GetColumn(everyday::kChannel);
  const auto& amount = table.GetColumn(everyday::kAmount).reals;
  const std::vector<int> channelIndex = ChannelIndexOfCode(channel);
  const int webIndex = static_cast<int>(
      std::find_if(everyday::kChannels.begin(), everyday::kChannels.end(),
                   [](const char* name) { return std::string(name) == everyday::kSubsetChannel; }) -
      everyday::kChannels.begin());
  std::array<double, everyday::kBinCount + 1> edges{};
  for (int i = 0; i <= everyday::kBinCount; ++i) {
    edges[static_cast<std::size_t>(i)] = everyday::kLowEdge + i * everyday::kBinWidth;
  }

  Outcome outcome;
  const Deadline deadline(capSeconds);
  const Stopwatch watch;
  EverydayNode root;
  std::unordered_map<std::uint32_t, EverydayNode> regions;
  std::unordered_map<std::uint64_t, EverydayNode> products;
  const std::size_t rows = table.GetRowCount();
  for (std::size_t row = 0; row < rows; ++row) {
    if (PastCap(row, deadline, watch, outcome)) return outcome;
    const double value = amount[row];
    const int channelOfRow = channelIndex[channel.codes[row]];
    const std::uint32_t yearOfRow = year.codes[row];
    // Bins are [edge i-1, edge i): the first edge above the value.
    const int bin =
        static_cast<int>(std::upper_bound(edges.begin(), edges.end(), value) - edges.begin());
    const std::uint32_t regionOfRow = region.codes[row];
    const std::uint64_t productKey =
        (static_cast<std::uint64_t>(regionOfRow) << 32) | product.codes[row];
    const bool isWeb = channelOfRow == webIndex;
    root.Add(value, channelOfRow, isWeb, yearOfRow, bin);
    regions[regionOfRow].Add(value, channelOfRow, isWeb, yearOfRow, bin);
    products[productKey].Add(value, channelOfRow, isWeb, yearOfRow, bin);
  }
  outcome.seconds = watch.Seconds();
  outcome.status = Outcome::Done;

  EmitEveryday("", root, year, results);
  for (const auto& [code, acc] : regions) {
    EmitEveryday(region.dictionary[code].ToString(), acc, year, results);
  }
  for (const auto& [key, acc] : products) {
    const std::string path =
        NodePath({region.dictionary[static_cast<std::uint32_t>(key >> 32)].ToString(),
                  product.dictionary[static_cast<std::uint32_t>(key & 0xffffffffu)].ToString()});
    EmitEveryday(path, acc, year, results);
  }
  return outcome;
}

struct ProductSums {
  std::array<double, highcard::kProductCount> sums{};
  std::array<bool, highcard::kProductCount> seen{};

  void Add(std::uint32_t product, double amount) {
    sums[product] += amount;
    seen[product] = true;
  }
};

void EmitHighCardinality(const std::string& node, const ProductSums& acc,
                         const Table::Column& productColumn, ResultSet& results) {
  for (std::size_t product = 0; product < acc.sums.size(); ++product) {
    if (!acc.seen[product]) continue;
    results.Set(node, ItemName(names::kSumByProduct, productColumn.dictionary[product].ToString()),
                acc.sums[product]);
  }
}

Outcome RunHighCardinality(const Table& table, double capSeconds, ResultSet& results) {
  const auto& customer = table.GetColumn(highcard::kCustomer);
  const auto& product = table.GetColumn(highcard::kProduct);
  const auto& amount = table.GetColumn(highcard::kAmount).reals;

  Outcome outcome;
  const Deadline deadline(capSeconds);
  const Stopwatch watch;
  ProductSums root;
  std::unordered_map<std::uint32_t, ProductSums> customers;
  const std::size_t rows = table.GetRowCount();
  for (std::size_t row = 0; row < rows; ++row) {
    if (PastCap(row, deadline, watch, outcome)) return outcome;
    root.Add(product.codes[row], amount[row]);
    customers[customer.codes[row]].Add(product.codes[row], amount[row]);
  }
  outcome.seconds = watch.Seconds();
  outcome.status = Outcome::Done;

  EmitHighCardinality("", root, product, results);
  for (const auto& [code, acc] : customers) {
    EmitHighCardinality(customer.dictionary[code].ToString(), acc, product, results);
  }
  return outcome;
}

}  // namespace

Outcome RunFloor(const WorkloadSpec& spec, const Table& table, double capSeconds,
                 ResultSet& results) {
  if (spec.kind == WorkloadKind::Everyday) return RunEveryday(table, capSeconds, results);
  return RunHighCardinality(table, capSeconds, results);
}

}  // namespace stattree_bench
