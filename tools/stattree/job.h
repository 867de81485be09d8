// Job: what the tool computes, as loaded from a job file (see JobLoader).
//
// Column references carry the name from the job and, once resolved against
// a CSV header, the column number (from 0); `path` members are the JSON
// pointers that messages cite. Plain data; copy freely.
#ifndef STATTREE_TOOLS_JOB_H_
#define STATTREE_TOOLS_JOB_H_

#include <string>
#include <vector>

#include "stattree/boundary/variant.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/definitions/stats_defn.h"

namespace stattree {
namespace cli {

struct ColumnRef {
  std::string name;
  int column = -1;
  std::string path;
};

struct SubsetCondition {
  ColumnRef column;
  Variant value;  // empty for JSON null: the cell must be empty
};

struct HistogramSpec {
  bool present = false;
  bool byEdges = false;
  // Equal-width bins: one open bin below `start`, `count` bins of `width`,
  // one open bin above.
  Variant start;
  Variant width;
  int count = 0;
  // Bins between edges: one below the first, one above the last.
  std::vector<Variant> edges;
  HistogramBinLogic logic = LowerEdgeInclusive;
};

struct StatisticSpec {
  std::string name;
  StatsDefn::StatsType type = StatsDefn::InvalidType;
  ColumnRef field;
  std::string path;  // "/statistics/<name>"

  bool hasGrouping = false;
  std::string groupingName;
  std::vector<ColumnRef> groupingFields;

  bool hasSubset = false;
  std::string subsetName;
  std::vector<SubsetCondition> where;

  // Enumeration values; only set on the types that count them.
  bool hasValues = false;
  std::vector<std::string> values;
  // Only set on Histogram1.
  HistogramSpec histogram;

  // The type's name as the library spells it; "" for InvalidType.
  std::string TypeName() const {
    std::string name;
    StatsDefn::GetTypeString(name, type);
    return name;
  }
};

struct Job {
  std::vector<ColumnRef> tree;
  // In the order of the job file.
  std::vector<StatisticSpec> statistics;
  std::vector<std::string> warnings;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_JOB_H_
