// The results tree as a host sees it through Stats: the tree grows one
// level per tree field, empty nodes are transparent, and every visible node
// holds the statistics of its own records per grouping value combination.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace {

using testing::MakeDefn;
using testing::MakeField;
using testing::Row;
using testing::TableStats;

class ResultsTreeTest : public ::testing::Test {
 protected:
  void SetUp() override { Stats::ClearError(); }
  void TearDown() override { Stats::ClearError(); }

  static std::string NodeName(const Stats& stats) {
    std::string name;
    return stats.GetNodeName(name) ? name : "?";
  }
  static std::string Text(const Variant& value) { return value.ToString(); }
};

// Year, -, -, Amount, -, Region.
Row Sale(int year, const char* region, int amount) { return {year, 0, 0, amount, 0, region}; }

std::map<std::string, StatsDefn> SalesByRegion() {
  std::map<std::string, StatsDefn> definitions;
  definitions.emplace("Sales", MakeDefn("Sales", "Amount", 3, StatsDefn::Sum));
  EXPECT_TRUE(definitions.at("Sales").CreateGroupingSpec("ByRegion", {MakeField("Region", 5)}));
  return definitions;
}

TEST_F(ResultsTreeTest, WorkedPathOfOneRecord) {
  TableStats stats({Sale(2004, "North", 10)});
  const auto definitions = SalesByRegion();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", 0)}));
  ASSERT_TRUE(stats.ProcessRecords());

  ASSERT_TRUE(stats.MoveToRootNode());
  ASSERT_TRUE(stats.MoveToChild(0));
  EXPECT_EQ(NodeName(stats), "2004");
  ASSERT_TRUE(stats.MoveToStatsResult("Sales"));
  EXPECT_EQ(stats.GetGroupingValueCount(), 1);
  std::string region;
  ASSERT_TRUE(stats.GetGroupingValue(region, 0, 0));
  EXPECT_EQ(region, "North");
  Variant value;
  ASSERT_TRUE(stats.GetResult(value, 0));
  EXPECT_EQ(Text(value), "10");
  ASSERT_TRUE(stats.GetGroupingTotal(value));
  EXPECT_EQ(Text(value), "10");
  EXPECT_EQ(stats.GetNodeCount(), 2);
}

TEST_F(ResultsTreeTest, EveryNodeSumsItsOwnRecordsByCombination) {
  TableStats stats({Sale(2004, "South", 5), Sale(2005, "North", 7), Sale(2004, "North", 10),
                    Sale(2004, "South", 1)});
  const auto definitions = SalesByRegion();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", 0)}));
  ASSERT_TRUE(stats.ProcessRecords());
  Variant value;
  ASSERT_TRUE(stats.MoveToRootNode());
  ASSERT_TRUE(stats.MoveToStatsResult("Sales"));
  ASSERT_TRUE(stats.GetResult(value, 0));  // North, sorted ahead of South
  EXPECT_EQ(Text(value), "17");
  ASSERT_TRUE(stats.MoveToChild(0));  // 2004, met first
  ASSERT_TRUE(stats.MoveToStatsResult("Sales"));
  ASSERT_TRUE(stats.GetResult(value, 1));
  EXPECT_EQ(Text(value), "6");
  ASSERT_TRUE(stats.GetGroupingTotal(value));
  EXPECT_EQ(Text(value), "16");
}

TEST_F(ResultsTreeTest, EmptyNodesAreTransparent) {
  // Region in column 2, Product in column 5.
  TableStats stats({{0, 0, "North", 0, 0, "A"},
                    {0, 0, "South", 0, 0, "B"},
                    {0, 0, "North", 0, 0, "B"},
                    {0, 0, Variant(), 0, 0, "A"}});
  std::map<std::string, StatsDefn> definitions;
  definitions.emplace("Rows", MakeDefn("Rows", "Product", 5, StatsDefn::Count));
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Region", 2), MakeField("Product", 5)}));
  ASSERT_TRUE(stats.ProcessRecords());
  EXPECT_EQ(stats.GetNodeCount(), 7);

  ASSERT_TRUE(stats.MoveToRootNode());
  ASSERT_EQ(stats.GetChildCount(), 3);
  std::vector<std::string> names;
  for (int i = 0; i < 3; ++i) {
    std::string name;
    ASSERT_TRUE(stats.GetChildName(name, i));
    names.push_back(name);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"North", "South", "A"}));

  // The A under the empty node keeps its own statistics and reports the
  // root as its parent.
  ASSERT_TRUE(stats.MoveToChild(2));
  std::string field;
  ASSERT_TRUE(stats.GetNodeField(field));
  EXPECT_EQ(field, "Product");
  ASSERT_TRUE(stats.MoveToStatsResult("Rows"));
  EXPECT_EQ(stats.GetTotalGroupingRecordsProcessed(), 1);
  ASSERT_TRUE(stats.MoveToParent());
  EXPECT_EQ(NodeName(stats), "root");

  ASSERT_TRUE(stats.MoveToChild(0));
  EXPECT_EQ(stats.GetChildCount(), 2);
  ASSERT_TRUE(stats.MoveToStatsResult("Rows"));
  EXPECT_EQ(stats.GetTotalGroupingRecordsProcessed(), 2);
  EXPECT_FALSE(Stats::IsErrorSet());
}

}  // namespace
}  // namespace stattree
