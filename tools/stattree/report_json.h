// JsonReportWriter: the report as one JSON document for scripts.
//
// Key names are stable; numbers are JSON numbers, empty values (nothing to
// compute) null, invalid values (a result that could not be computed, such
// as a Sum over text) {"invalid": true}. Schema (see tools/README.md):
//   { "data", "job", "records", "skipped_rows", "tree": [field...],
//     "warnings": [{"kind", "statistic" | null, "column", "message"}...],
//     "root": node }
//   node: { "field", "value", "records", "statistics": {name: statistic},
//           "children": [node...] }            (root: field and value null)
//   statistic: { "type", "field", "grouping": {"name", "fields"} | null,
//                "subset": {"name", "where": {column: value}} | null,
//                "bins": [label...]            (distribution types only)
//                "combinations": [combination...], "total": combination }
//   combination: { "group": [value text...], "records",
//                  "result" (scalar types) | "distribution": [number...]
//                  and "not_available" (distribution types) }
// Stateless.
#ifndef STATTREE_TOOLS_REPORT_JSON_H_
#define STATTREE_TOOLS_REPORT_JSON_H_

#include <ostream>

#include "tools/stattree/report.h"

namespace stattree {
namespace cli {

class JsonReportWriter {
 public:
  static void Write(std::ostream& out, const Report& report);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_REPORT_JSON_H_
