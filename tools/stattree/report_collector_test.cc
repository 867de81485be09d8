#include "tools/stattree/report_collector.h"

#include <gtest/gtest.h>

namespace stattree {
namespace cli {
namespace {

using Labels = std::vector<std::string>;

StatisticSpec Histogram(const HistogramSpec& histogram) {
  StatisticSpec spec;
  spec.type = StatsDefn::Histogram1;
  spec.histogram = histogram;
  spec.histogram.present = true;
  return spec;
}

HistogramSpec ByWidth(const Variant& start, const Variant& width, int count) {
  HistogramSpec h;
  h.start = start;
  h.width = width;
  h.count = count;
  return h;
}

HistogramSpec ByEdges(const std::vector<Variant>& edges, HistogramBinLogic logic) {
  HistogramSpec h;
  h.byEdges = true;
  h.edges = edges;
  h.logic = logic;
  return h;
}

TEST(ReportCollector, BinLabelsNameTheEnginesBins) {
  const std::pair<HistogramSpec, Labels> cases[] = {
      {ByWidth(Variant(0LL), Variant(10LL), 2), {"< 0", "[0, 10)", "[10, 20)", ">= 20"}},
      // Edges by repeated addition, as the engine builds its bins.
      {ByWidth(Variant(0.1), Variant(0.1), 2),
       {"< " + Variant(0.1).ToString(), "[0.1, 0.2)",
        "[0.2, " + (Variant(0.2) + Variant(0.1)).ToString() + ")",
        ">= " + (Variant(0.2) + Variant(0.1)).ToString()}},
      {ByEdges({Variant(10LL), Variant(25LL)}, UpperEdgeInclusive), {"<= 10", "(10, 25]", "> 25"}},
      {ByEdges({Variant(-1.5)}, LowerEdgeInclusive), {"< -1.5", ">= -1.5"}},
  };
  for (const auto& [histogram, labels] : cases) {
    EXPECT_EQ(ReportCollector::BinLabels(Histogram(histogram)), labels);
  }
  EXPECT_FALSE(Stats::IsErrorSet());

  StatisticSpec values;
  values.type = StatsDefn::EnumCount;
  values.hasValues = true;
  values.values = {"b", "a"};
  EXPECT_EQ(ReportCollector::BinLabels(values), (Labels{"b", "a"}));
  EXPECT_EQ(ReportCollector::BinLabels(StatisticSpec()), Labels());
}

}  // namespace
}  // namespace cli
}  // namespace stattree
