#include "tools/stattree/report_collector.h"

#include "tools/stattree/library_error.h"

namespace stattree {
namespace cli {
namespace {

class Walker {
 public:
  Walker(Stats& stats, const Job& job, const std::string& recordCountName, std::string& error)
      : stats_(stats), job_(job), recordCountName_(recordCountName), error_(error) {
    for (const StatisticSpec& spec : job.statistics) {
      binLabels_.push_back(ReportCollector::BinLabels(spec));
    }
  }

  bool Node(NodeReport& node, bool isRoot);

 private:
  bool Fail(const std::string& what) {
    error_ = "reading the results (" + what + "): " + LibraryError::TakeText();
    return false;
  }
  bool Statistic(StatisticReport& report, const StatisticSpec& spec,
                 const std::vector<std::string>& binLabels);
  bool Distribution(CombinationReport& combination, const StatisticReport& report, int comboIndex);

  Stats& stats_;
  const Job& job_;
  const std::string& recordCountName_;
  std::string& error_;
  // Per statistic of the job: the same on every node.
  std::vector<std::vector<std::string>> binLabels_;
};

bool Walker::Node(NodeReport& node, bool isRoot) {
  if (!isRoot) {
    if (!stats_.GetNodeField(node.field)) return Fail("node field");
    if (!stats_.GetNodeName(node.value)) return Fail("node value");
  }
  if (!stats_.MoveToStatsResult(recordCountName_)) return Fail("statistic " + recordCountName_);
  node.records = stats_.GetTotalGroupingRecordsProcessed();
  for (std::size_t i = 0; i < job_.statistics.size(); ++i) {
    node.statistics.emplace_back();
    if (!Statistic(node.statistics.back(), job_.statistics[i], binLabels_[i])) return false;
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

bool Walker::Statistic(StatisticReport& report, const StatisticSpec& spec,
                       const std::vector<std::string>& binLabels) {
  if (!stats_.MoveToStatsResult(spec.name)) return Fail("statistic " + spec.name);
  report.name = spec.name;
  report.type = spec.TypeName();
  report.field = spec.field.name;
  report.groupingName = spec.hasGrouping ? spec.groupingName : "";
  for (const ColumnRef& ref : spec.groupingFields) report.groupingFields.push_back(ref.name);
  report.subsetName = spec.hasSubset ? spec.subsetName : "";
  for (const SubsetCondition& c : spec.where) report.subset.emplace_back(c.column.name, c.value);
  report.distribution = spec.hasValues || spec.histogram.present;
  report.percent = spec.type == StatsDefn::EnumPercent;
  if (report.distribution) report.binLabels = binLabels;

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
    Variant value;
    const int index = EnumResult::NotAvailableIndex;
    const bool ok = comboIndex < 0 ? stats_.GetEnumGroupingTotal(value, index)
                                   : stats_.GetEnumResult(value, index, comboIndex);
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
  // The edges of the engine's own bins: a set built as the definition
  // builds it, read back. Every bin but the first starts at an edge; the
  // column plays no part.
  CriteriaSet bins;
  const bool built = h.byEdges ? bins.CreateHistogram(h.edges, h.logic, 0)
                               : bins.CreateHistogram(h.start, h.width, h.count, 0);
  std::vector<Variant> edges;
  for (int i = 1; built && i < bins.GetCriteriaCount(); ++i) {
    edges.emplace_back();
    if (!bins.GetCriteriaValue(edges.back(), i, 0)) return labels;
  }
  if (edges.empty()) return labels;
  const bool upper = h.byEdges && h.logic != LowerEdgeInclusive;
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
