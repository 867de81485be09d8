// CsvReportWriter: the report as one tidy long table for spreadsheets and
// data frames.
//
// One row per node, statistic, grouping combination (and the totals) and,
// for the distribution types, bin (the N/A bin of the counting types
// included). Columns, in order:
//   - one per tree level, named after its field, holding the node's path
//     (empty above the node's level, and all empty for the root);
//   - statistic, type, field, subset, grouping (names; empty when none);
//   - total: true on the grouping totals (the only row without grouping);
//   - one per grouping field of the job, holding the combination's values;
//   - bin: the bin label, empty for scalar types;
//   - value: integers and reals in full, text as is, empty for no value;
//   - status: ok, none (no value) or invalid (could not be computed);
//   - records: the combination's record count.
// A column name met twice gets " (tree)" or " (group)" appended. Cells are
// quoted as RFC 4180 asks (delimiter, quote, CR or LF inside); rows end in
// CRLF. Stateless.
#ifndef STATTREE_TOOLS_REPORT_CSV_H_
#define STATTREE_TOOLS_REPORT_CSV_H_

#include <ostream>
#include <string>

#include "tools/stattree/report.h"

namespace stattree {
namespace cli {

class CsvReportWriter {
 public:
  static void Write(std::ostream& out, const Report& report);

  // Exposed for tests.
  static std::string Quote(const std::string& cell);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_REPORT_CSV_H_
