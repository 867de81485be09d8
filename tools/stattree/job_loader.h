// JobLoader: reads a job file (JSON) into a Job and checks it against the
// header of a CSV file.
//
// Job file:
//   { "tree": ["region", "year"],
//     "statistics": {
//       "Revenue": { "type": "Sum", "field": "amount",
//                    "grouping": { "name": "by channel", "fields": ["channel"] },
//                    "subset": { "name": "2023", "where": { "year": 2023 } } },
//       "Channels": { "type": "EnumCount", "field": "channel",
//                     "values": ["Online", "Retail"] },
//       "Prices": { "type": "Histogram1", "field": "unit_price",
//                   "histogram": { "start": 0, "width": 50, "count": 4 } } } }
// "tree" is optional (default: no levels below the root); "description"
// is allowed at the top level and in a statistic. A grouping or subset
// without a name is named after its fields ("channel", "year=2023").
// Statistics and subset conditions keep the order of the file.
//
// Every problem is reported, not only the first, as "<JSON pointer>:
// <what is wrong and what was expected>"; the caller prefixes the file
// name. Arrays and objects nesting more than 100 levels deep stop parsing
// with an error at the first one too deep. Loading takes O(n log n) at worst
// in the size of the file. Warnings (a spec that the statistic's type does not use) go to
// Job::warnings and that part of the job is ignored.
//
// Stateless; safe to call from any thread.
#ifndef STATTREE_TOOLS_JOB_LOADER_H_
#define STATTREE_TOOLS_JOB_LOADER_H_

#include <string>
#include <vector>

#include "tools/stattree/job.h"
#include "tools/stattree/job_text.h"

namespace stattree {
namespace cli {

class JobLoader {
 public:
  // Reads and parses a file; a read failure is one error without a pointer.
  static bool Load(Job& job, std::vector<std::string>& errors, const std::string& path);
  static bool Parse(Job& job, std::vector<std::string>& errors, const std::string& text);
  // Fills the column numbers from the header; errors for unknown and
  // ambiguous (repeated in the header) column names.
  static bool Resolve(Job& job, std::vector<std::string>& errors,
                      const std::vector<std::string>& header);

  // For hosts of the loader that word their own column messages alike.
  static std::string QuotedList(const std::vector<std::string>& names) {
    return JobText::QuotedList(names);
  }
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_JOB_LOADER_H_
