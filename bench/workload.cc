#include "workload.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace stattree_bench {
namespace {

constexpr std::uint64_t kEverydaySeed = 0x5eed0001;
constexpr std::uint64_t kHighCardinalitySeed = 0x5eed0002;

// splitmix64: tiny, fast, and fully specified, unlike the standard
// library's distributions, whose output differs between implementations.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state(seed) {}
  std::uint64_t Next() {
    std::uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
  }
  // 0 .. bound-1; the modulo bias is far below anything measured here.
  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(Next() % bound); }

 private:
  std::uint64_t state;
};

std::vector<stattree::Variant> Texts(const char* prefix, int count, int digits) {
  std::vector<stattree::Variant> values;
  values.reserve(static_cast<std::size_t>(count));
  for (int i = 1; i <= count; ++i) {
    char text[32];
    std::snprintf(text, sizeof(text), "%s%0*d", prefix, digits, i);
    values.emplace_back(std::string(text));
  }
  return values;
}

// Cents, triangular between -20.00 and 1070.00: mostly inside the
// histogram's range, with some records in both open bins.
double Amount(Random& random) {
  const std::int64_t cents = static_cast<std::int64_t>(random.Below(54500)) +
                             static_cast<std::int64_t>(random.Below(54500)) - 2000;
  return static_cast<double>(cents) / 100.0;
}

Table GenerateEveryday(std::size_t records) {
  Table table;
  table.AddCodedColumn("Region", {stattree::Variant("North"), stattree::Variant("South"),
                                  stattree::Variant("East"), stattree::Variant("West"),
                                  stattree::Variant("Central"), stattree::Variant("Northeast"),
                                  stattree::Variant("Southwest"), stattree::Variant("Islands")});
  table.AddCodedColumn("Product", Texts("P", everyday::kProductCount, 2));
  std::vector<stattree::Variant> years;
  years.reserve(everyday::kYearCount);
  for (int i = 0; i < everyday::kYearCount; ++i) years.emplace_back(everyday::kFirstYear + i);
  table.AddCodedColumn("Year", std::move(years));
  std::vector<stattree::Variant> channels;
  channels.reserve(everyday::kChannels.size());
  for (const char* channel : everyday::kChannels) channels.emplace_back(channel);
  table.AddCodedColumn("Channel", std::move(channels));
  table.AddRealColumn("Amount");
  table.AddOptionalIntegerColumn("Quantity");
  table.Reserve(records);

  auto& region = table.GetColumn(everyday::kRegion).codes;
  auto& product = table.GetColumn(everyday::kProduct).codes;
  auto& year = table.GetColumn(everyday::kYear).codes;
  auto& channel = table.GetColumn(everyday::kChannel).codes;
  auto& amount = table.GetColumn(everyday::kAmount).reals;
  auto& quantity = table.GetColumn(everyday::kQuantity).integers;
  Random random(kEverydaySeed);
  for (std::size_t i = 0; i < records; ++i) {
    region.push_back(random.Below(everyday::kRegionCount));
    product.push_back(random.Below(everyday::kProductCount));
    year.push_back(random.Below(everyday::kYearCount));
    channel.push_back(random.Below(static_cast<std::uint32_t>(everyday::kChannels.size())));
    amount.push_back(Amount(random));
    // 2 in 100 empty.
    quantity.push_back(random.Below(100) < 2 ? Table::kEmptyInteger
                                             : static_cast<std::int32_t>(1 + random.Below(20)));
    table.EndRow();
  }
  return table;
}

Table GenerateHighCardinality(std::size_t records, int distinctCustomers) {
  Table table;
  table.AddCodedColumn("Customer", Texts("C", distinctCustomers, 6));
  table.AddCodedColumn("Product", Texts("P", highcard::kProductCount, 2));
  table.AddRealColumn("Amount");
  table.Reserve(records);

  auto& customer = table.GetColumn(highcard::kCustomer).codes;
  auto& product = table.GetColumn(highcard::kProduct).codes;
  auto& amount = table.GetColumn(highcard::kAmount).reals;
  Random random(kHighCardinalitySeed ^ static_cast<std::uint64_t>(distinctCustomers));
  for (std::size_t i = 0; i < records; ++i) {
    customer.push_back(random.Below(static_cast<std::uint32_t>(distinctCustomers)));
    product.push_back(random.Below(highcard::kProductCount));
    amount.push_back(Amount(random));
    table.EndRow();
  }
  return table;
}

}  // namespace

std::string WorkloadSpec::Label() const {
  if (kind == WorkloadKind::Everyday) return "W1";
  return "W2 D=" + std::to_string(distinctCustomers);
}

std::string ItemName(const char* statistic, const std::string& value) {
  return std::string(statistic) + "[" + value + "]";
}

Table GenerateRows(const WorkloadSpec& spec) {
  if (spec.kind == WorkloadKind::Everyday) return GenerateEveryday(spec.records);
  return GenerateHighCardinality(spec.records, spec.distinctCustomers);
}

double SampleStdDev(double count, double sum, double sumOfSquares) {
  if (count <= 0) return std::numeric_limits<double>::quiet_NaN();
  if (count == 1) return 0.0;
  const double spread = count * sumOfSquares - sum * sum;
  if (spread < 0) return 0.0;
  return std::sqrt(spread / ((count - 1.0) * count));
}

}  // namespace stattree_bench
