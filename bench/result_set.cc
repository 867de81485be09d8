#include "result_set.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "workload.h"

namespace stattree_bench {
namespace {

constexpr char kKeySeparator = '\t';
constexpr int kReportedDifferences = 5;
constexpr double kRealTolerance = 1e-9;
constexpr double kPercentTolerance = 1e-5;

bool StartsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// The tolerance of one item, from its definition name (after the node).
double ToleranceOf(const std::string& key) {
  const std::string item = key.substr(key.find(kKeySeparator) + 1);
  if (item == names::kCount || item == names::kCountValid ||
      StartsWith(item, names::kChannelCount) || StartsWith(item, names::kAmountHistogram)) {
    return 0.0;
  }
  if (StartsWith(item, names::kChannelPercent)) return kPercentTolerance;
  return kRealTolerance;
}

bool Close(double a, double b, double tolerance) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  if (tolerance == 0.0) return a == b;
  return std::fabs(a - b) <= tolerance * std::max({1.0, std::fabs(a), std::fabs(b)});
}

std::string Readable(const std::string& key) {
  std::string text = key;
  std::replace(text.begin(), text.end(), kKeySeparator, ' ');
  if (!text.empty() && text[0] == ' ') text = "(root)" + text;
  return text;
}

}  // namespace

std::string ResultSet::Key(const std::string& node, const std::string& item) {
  return node + kKeySeparator + item;
}

void ResultSet::Set(const std::string& node, const std::string& item, double value) {
  values[Key(node, item)] = value;
}

bool ResultSet::Agrees(const ResultSet& other, const std::string& thisName,
                       const std::string& otherName, std::string& report) const {
  int differences = 0;
  auto note = [&](const std::string& line) {
    if (differences++ < kReportedDifferences) report += line + "\n";
  };
  char number[128];
  for (const auto& [key, value] : values) {
    const auto found = other.values.find(key);
    if (found == other.values.end()) {
      note("  " + Readable(key) + ": only in " + thisName);
      continue;
    }
    if (!Close(value, found->second, ToleranceOf(key))) {
      std::snprintf(number, sizeof(number), ": %s %.17g, %s %.17g", thisName.c_str(), value,
                    otherName.c_str(), found->second);
      note("  " + Readable(key) + number);
    }
  }
  for (const auto& entry : other.values) {
    if (values.find(entry.first) == values.end()) {
      note("  " + Readable(entry.first) + ": only in " + otherName);
    }
  }
  if (differences > kReportedDifferences) {
    report += "  ... " + std::to_string(differences - kReportedDifferences) + " more\n";
  }
  return differences == 0;
}

std::string NodePath(const std::vector<std::string>& levelValues) {
  std::string path;
  for (std::size_t i = 0; i < levelValues.size(); ++i) {
    if (i > 0) path += '/';
    path += levelValues[i];
  }
  return path;
}

}  // namespace stattree_bench
