// Report: the results tree as the tool hands it to its writers, read out
// of the engine once by ReportCollector. Plain data; copy freely.
#ifndef STATTREE_TOOLS_REPORT_H_
#define STATTREE_TOOLS_REPORT_H_

#include <string>
#include <utility>
#include <vector>

#include "stattree/boundary/variant.h"

namespace stattree {
namespace cli {

// The results of one statistic for one grouping value combination, or for
// all of them (the totals).
struct CombinationReport {
  std::vector<std::string> values;  // one text per grouping field; empty for totals
  long long records = 0;
  Variant result;             // scalar statistics
  std::vector<Variant> bins;  // distribution statistics: one per bin label
  // EnumCount and Histogram1: empty cells that fell in no bin.
  bool hasNotAvailable = false;
  long long notAvailable = 0;
};

struct StatisticReport {
  std::string name;
  std::string type;
  std::string field;
  std::string groupingName;  // empty: no grouping
  std::vector<std::string> groupingFields;
  std::string subsetName;  // empty: no subset
  std::vector<std::pair<std::string, Variant>> subset;
  bool distribution = false;  // EnumCount, EnumPercent, Histogram1
  bool percent = false;       // EnumPercent: bins hold percentages
  std::vector<std::string> binLabels;
  std::vector<CombinationReport> combinations;  // only with a grouping
  CombinationReport total;
};

struct NodeReport {
  std::string field;  // empty for the root
  std::string value;  // the node's value text; empty for the root
  long long records = 0;
  std::vector<StatisticReport> statistics;
  std::vector<NodeReport> children;
};

// Something the job computed that is probably not what its author meant.
// Warnings never change a number of the report.
struct ReportWarning {
  std::string kind;       // stable: see WarningCollector
  std::string statistic;  // empty when the warning is about a subset
  std::string column;
  std::string message;  // one line, for people
};

struct Report {
  std::string dataName;
  std::string jobName;
  long long records = 0;
  long long skippedRows = 0;
  std::vector<std::string> treeFields;
  NodeReport root;
  std::vector<ReportWarning> warnings;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_REPORT_H_
