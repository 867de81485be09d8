#include "tools/stattree/report_collector.h"

#include "tools/stattree/library_error.h"

namespace stattree {
namespace cli {
namespace {

class Walker {
 public:
  Walker(Stats& stats, const Job& job, const std::string& recordCountName, std::string& error)
      : stats_(stats), job_(job), recordCountName_(recordCountName), error_(error) {}

  bool Node(NodeReport& node, bool isRoot);

 private:
  bool Fail(const std::string& what) {
    error_ = "reading the results (" + what + "): " + LibraryError::TakeText();
    return false;
  }
  bool Statistic(StatisticReport& report, const StatisticSpec& spec);
  bool Distribution(CombinationReport& combination, const StatisticReport& report, int comboIndex);

  Stats& stats_;
  const Job& job_;
  const std::string& recordCountName_;
  std::string& error_;
};

bool Walker::Node(NodeReport& node, bool isRoot) {
  if (!isRoot) {
    if (!stats_.GetNodeField(node.field)) return Fail("node field");
    if (!stats_.GetNodeName(node.value)) return Fail("node value");
  }
  if (!stats_.MoveToStatsResult(recordCountName_)) return Fail("statistic " + recordCountName_);
  node.records = stats_.GetTotalGroupingRecordsProcessed();
  for (const StatisticSpec& spec : job_.statistics) {
    node.statistics.emplace_back();
    if (!Statistic(node.statistics.back(), spec)) return false;
  }
  const int children = stats_.GetChildCount();
  if (Stats::IsErrorSet()) return Fail("child count");
  for (int i = 0; i < children; ++i) {
    if (!stats_.MoveToChild(i)) return Fail("child " + std::to_string(i));
    node.children.emplace_back();
    if (!Node(node.children.back(), false)) return false;
    if (!stats_.MoveToParent()) return Fail("parent");
  }
  return true;
}

bool Walker::Statistic(StatisticReport& report, const StatisticSpec& spec) {
  if (!stats_.MoveToStatsResult(spec.name)) return Fail("statistic " + spec.name);
  report.name = spec.name;
  report.type = spec.type;
  report.field = spec.field.name;
  report.groupingName = spec.hasGrouping ? spec.groupingName : "";
  for (const ColumnRef& ref : spec.groupingFields) report.groupingFields.push_back(ref.name);
  report.subsetName = spec.hasSubset ? spec.subsetName : "";
  for (const SubsetCondition& c : spec.where) report.subset.emplace_back(c.column.name, c.value);
  report.distribution = spec.hasValues || spec.histogram.present;
  report.percent = spec.type == "EnumPercent";
  if (report.distribution) report.binLabels = ReportCollector::BinLabels(spec);

  const std::string what = "statistic " + spec.name;
  if (spec.hasGrouping) {
    const int count = stats_.GetGroupingValueCount();
    if (Stats::IsErrorSet()) return Fail(what);
    for (int c = 0; c < count; ++c) {
      CombinationReport combination;
      if (!stats_.GetGroupingValueCombo(combination.values, c)) return Fail(what);
      combination.records = stats_.GetRecordsProcessed(c);
      if (report.distribution) {
        if (!Distribution(combination, report, c)) return false;
      } else if (!stats_.GetResult(combination.result, c)) {
        return Fail(what);
      }
      report.combinations.push_back(combination);
    }
  }
  report.total.records = stats_.GetTotalGroupingRecordsProcessed();
  if (report.distribution) return Distribution(report.total, report, -1);
  if (!stats_.GetGroupingTotal(report.total.result)) return Fail(what);
  return !Stats::IsErrorSet() || Fail(what);
}

// comboIndex -1: the grouping totals.
bool Walker::Distribution(CombinationReport& combination, const StatisticReport& report,
                          int comboIndex) {
  const std::string what = "distribution " + report.name;
  const int bins = static_cast<int>(report.binLabels.size());
  for (int v = 0; v < bins; ++v) {
    Variant value;
    const bool ok = comboIndex < 0 ? stats_.GetEnumGroupingTotal(value, v)
                                   : stats_.GetEnumResult(value, v, comboIndex);
    if (!ok) return Fail(what);
    combination.bins.push_back(value);
  }
  // Only counts keep the empty cells that matched no bin.
  if (!report.percent) {
    constexpr int kNotAvailableIndex = 10001;
    Variant value;
    const bool ok = comboIndex < 0 ? stats_.GetEnumGroupingTotal(value, kNotAvailableIndex)
                                   : stats_.GetEnumResult(value, kNotAvailableIndex, comboIndex);
    if (!ok) return Fail(what);
    combination.hasNotAvailable = true;
    combination.notAvailable = value.IsInteger() ? value.GetInteger() : 0;
  }
  return true;
}

std::string Text(const Variant& v) { return v.ToString(); }

}  // namespace

std::vector<std::string> ReportCollector::BinLabels(const StatisticSpec& spec) {
  if (spec.hasValues) return spec.values;
  std::vector<std::string> labels;
  const HistogramSpec& h = spec.histogram;
  if (!h.present) return labels;
  std::vector<Variant> edges = h.edges;
  bool upper = h.byEdges && h.logic != LowerEdgeInclusive;
  if (!h.byEdges) {
    // The same additions the engine makes, so labels match its bins.
    Variant edge = h.start;
    edges.push_back(edge);
    for (int i = 0; i < h.count; ++i) {
      edge = edge + h.width;
      edges.push_back(edge);
    }
  }
  if (edges.empty()) return labels;
  labels.push_back((upper ? "<= " : "< ") + Text(edges.front()));
  for (std::size_t i = 1; i < edges.size(); ++i) {
    labels.push_back((upper ? "(" : "[") + Text(edges[i - 1]) + ", " + Text(edges[i]) +
                     (upper ? "]" : ")"));
  }
  labels.push_back((upper ? "> " : ">= ") + Text(edges.back()));
  return labels;
}

bool ReportCollector::Collect(NodeReport& root, std::string& error, Stats& stats, const Job& job,
                              const std::string& recordCountName) {
  Stats::ClearError();
  if (!stats.MoveToRootNode()) {
    error = "reading the results (root): " + LibraryError::TakeText();
    return false;
  }
  return Walker(stats, job, recordCountName, error).Node(root, true);
}

}  // namespace cli
}  // namespace stattree
