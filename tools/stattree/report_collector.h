// ReportCollector: reads the finished results tree out of the engine with
// the cursor and the queries, into a Report the writers render.
//
// Visits every visible node depth first (children in the engine's order,
// the order in which their values first appeared) and, on each, every
// statistic of the job. The engine must be in ProcessingDone or later;
// the cursor ends on the root. Any refused query stops the walk with the
// library's error.
#ifndef STATTREE_TOOLS_REPORT_COLLECTOR_H_
#define STATTREE_TOOLS_REPORT_COLLECTOR_H_

#include <string>
#include <vector>

#include "stattree/stattree.h"
#include "tools/stattree/job.h"
#include "tools/stattree/report.h"

namespace stattree {
namespace cli {

class ReportCollector {
 public:
  static bool Collect(NodeReport& root, std::string& error, Stats& stats, const Job& job,
                      const std::string& recordCountName);

  // The labels of a distribution statistic's bins, in the engine's order:
  // its enumeration values, or its histogram bins ("< 0", "[0, 10)", ...,
  // ">= 30"; with UpperEdgeInclusive "<= 0", "(0, 10]", ..., "> 30").
  static std::vector<std::string> BinLabels(const StatisticSpec& spec);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_REPORT_COLLECTOR_H_
