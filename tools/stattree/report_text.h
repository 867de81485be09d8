// TextReportWriter: the report as an indented text a person reads.
//
// Each node shows its field, value and record count; below it each
// statistic with its type, field, grouping and subset, then either its
// value, a table of grouping combinations and the total, or, for the
// distribution types, labelled bars of Unicode block characters with
// counts or percentages. Numbers are grouped by thousands; reals show two
// decimals (four significant digits below 1).
// Stateless.
#ifndef STATTREE_TOOLS_REPORT_TEXT_H_
#define STATTREE_TOOLS_REPORT_TEXT_H_

#include <ostream>
#include <string>
#include <vector>

#include "tools/stattree/report.h"

namespace stattree {
namespace cli {

class TextReportWriter {
 public:
  static void Write(std::ostream& out, const Report& report);

  // Shared with the other writers for people, so that numbers read alike.
  static std::string FormatValue(const Variant& value);
  static std::string FormatCount(long long count);
  // "1 record", "1,234 records".
  static std::string FormatRecords(long long records);
  // A bin's count, or its percentage ("49.0%") for EnumPercent.
  static std::string FormatBin(const Variant& value, bool percent);
  // A grouping combination's values, "(empty)" for an empty one: "North, 2024".
  static std::string FormatCombination(const std::vector<std::string>& values);
  // "Revenue — Sum of amount by channel where year = 2024".
  static std::string Describe(const StatisticReport& statistic);
  // `width` cells of full blocks and one eighth-step partial block for
  // value/maximum.
  static std::string Bar(double value, double maximum, int width);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_REPORT_TEXT_H_
