// Reading results back through the cursor: the tree grows one level per
// tree field, empty nodes are transparent, every visible node holds the
// statistics of its own records per grouping value combination; navigation
// in every state with its failure codes, and a random call storm that must
// never crash and never fail silently.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace {

using testing::ExpectError;
using testing::HeldError;
using testing::kAmount;
using testing::kYear;
using testing::MakeDefn;
using testing::MakeField;
using testing::Row;
using testing::SalesByRegion;
using testing::TableStats;

std::vector<Row> Sales() {
  return {{2004, "Web", 10, "North"},
          {2004, "Store", 4, "South"},
          {2005, "Web", 7, "North"},
          {2005, "Web", 2, ""},
          {2005, "Phone", 1, "North"}};
}

std::map<std::string, StatsDefn> Definitions() {
  return {{"Sales", SalesByRegion(StatsDefn::Sum)},
          {"Channels", testing::ChannelShares()},
          {"SouthAverage", testing::SouthAverage("SouthAverage")},
          {"Bins", testing::AmountBins()},
          {"Records", MakeDefn("Records", "Amount", kAmount, StatsDefn::Count)}};
}

std::string NodeName(const Stats& stats) {
  std::string name;
  return stats.GetNodeName(name) ? name : "?";
}

class NavigationTest : public testing::ErrorTest {
 protected:
  void SetUp() override {
    ErrorTest::SetUp();
    ASSERT_TRUE(stats_.Configure(&definitions_, testing::YearsAndRegions()));
    ASSERT_TRUE(stats_.ProcessRecords());
    ASSERT_TRUE(stats_.MoveToRootNode());
  }

  std::map<std::string, StatsDefn> definitions_ = Definitions();
  TableStats stats_{Sales()};
};

using Navigation = testing::ErrorTest;

TEST_F(Navigation, RootNeedsFinishedProcessing) {
  const auto definitions = Definitions();
  TableStats stats(Sales());
  ASSERT_TRUE(stats.Configure(&definitions, {}));
  EXPECT_FALSE(stats.MoveToRootNode());
  ExpectError(10075, "2", {10080});
}

TEST_F(NavigationTest, MovesOffTheTreeFailAndTheCursorStays) {
  EXPECT_FALSE(stats_.MoveToParent());
  ExpectError(10570, "", {10096});
  EXPECT_EQ(stats_.GetChildCount(), 2);
  EXPECT_FALSE(stats_.MoveToChild(2));
  ExpectError(10105, "2,2", {10104});
  EXPECT_FALSE(stats_.MoveToChild(-1));
  ExpectError(10105, "-1,2", {10104});
  EXPECT_EQ(NodeName(stats_), "root");
}

TEST_F(NavigationTest, StaleErrorFailsMoveToChildButNotGetChildName) {
  Stats::SetError(42, 0, "stale", false);
  EXPECT_FALSE(stats_.MoveToChild(0));
  EXPECT_EQ(HeldError().locations, std::vector<int>({10102}));
  std::string name;
  EXPECT_TRUE(stats_.GetChildName(name, 0));
  EXPECT_EQ(name, "2004");
}

TEST_F(NavigationTest, ChildNamesMatchTheNodesAndEmptyNodesAreSkipped) {
  // 2005 has North and an empty region; the empty node is transparent.
  ASSERT_TRUE(stats_.MoveToChild(1));
  EXPECT_EQ(NodeName(stats_), "2005");
  ASSERT_EQ(stats_.GetChildCount(), 1);
  for (int i = 0; i < stats_.GetChildCount(); ++i) {
    std::string childName;
    ASSERT_TRUE(stats_.GetChildName(childName, i));
    ASSERT_TRUE(stats_.MoveToChild(i));
    EXPECT_EQ(NodeName(stats_), childName);
    std::string field;
    ASSERT_TRUE(stats_.GetNodeField(field));
    EXPECT_EQ(field, "Region");
    ASSERT_TRUE(stats_.MoveToParent());
  }
  EXPECT_EQ(stats_.GetNodeCount(), 6);  // root, 2004, North, South, 2005, North
  ASSERT_TRUE(stats_.MoveToRootNode());
  ASSERT_TRUE(stats_.MoveToChild(1));
  ASSERT_TRUE(stats_.MoveToChild(0));
  ASSERT_TRUE(stats_.MoveToStatsResult("Records"));
  Variant count;
  ASSERT_TRUE(stats_.GetResult(count, 0));
  EXPECT_EQ(std::string(count), "2");  // the empty-region record is not here
  ASSERT_TRUE(stats_.MoveToParent());
  EXPECT_EQ(NodeName(stats_), "2005");
}

TEST_F(NavigationTest, MovingTheCursorDropsTheStatistic) {
  ASSERT_TRUE(stats_.MoveToStatsResult("Sales"));
  ASSERT_TRUE(stats_.MoveToChild(0));
  Variant result;
  EXPECT_FALSE(stats_.GetResult(result, 0));
  ExpectError(10075, "5", {10220});
  ASSERT_TRUE(stats_.MoveToStatsResult("Sales"));
  ASSERT_TRUE(stats_.MoveToRootNode());
  std::string field;
  EXPECT_FALSE(stats_.GetCurrentStatsField(field));
  ExpectError(10075, "5", {10510, 10390});
}

TEST_F(NavigationTest, UnknownStatisticKeepsThePreviousSelection) {
  ASSERT_TRUE(stats_.MoveToStatsResult("Sales"));
  EXPECT_FALSE(stats_.MoveToStatsResult("Nope"));
  ExpectError(10500, "Nope", {10180});
  EXPECT_TRUE(stats_.StateIs(Stats::AtStatsResult));
  Variant total;
  ASSERT_TRUE(stats_.GetGroupingTotal(total));
  EXPECT_EQ(std::string(total), "24");
}

TEST_F(NavigationTest, ReadsGroupingCombinationsSortedWithTotals) {
  ASSERT_TRUE(stats_.MoveToStatsResult("Sales"));
  ASSERT_EQ(stats_.GetGroupingValueCount(), 3);
  std::vector<std::string> combo;
  ASSERT_TRUE(stats_.GetGroupingValueCombo(combo, 2));
  EXPECT_EQ(combo, std::vector<std::string>({"South"}));
  EXPECT_EQ(stats_.GetRecordsProcessed(1), 3);
  EXPECT_EQ(stats_.GetTotalGroupingRecordsProcessed(), 5);
  std::string value;
  EXPECT_FALSE(stats_.GetGroupingValue(value, 0, 1));
  ExpectError(10105, "1,1", {10330});
  EXPECT_EQ(stats_.GetGroupingFieldCount(), 1);
  ASSERT_TRUE(stats_.GetGroupingField(value, 0));
  EXPECT_EQ(value, "Region");
  EXPECT_FALSE(stats_.GetGroupingField(value, 1));
  ExpectError(11920, "1,1", {11770, 10340});
  ASSERT_TRUE(stats_.GetCurrentStatsType(value));
  EXPECT_EQ(value, "Sum");
  ASSERT_TRUE(stats_.GetCurrentStatsField(value));
  EXPECT_EQ(value, "Amount");
  EXPECT_EQ(stats_.GetRecordsProcessed(7), 0);
  ExpectError(10940, "", {});
}

TEST_F(NavigationTest, SubsetThatSawNoRecordReadsThePrototype) {
  ASSERT_TRUE(stats_.MoveToChild(1));  // 2005: no South record
  ASSERT_TRUE(stats_.MoveToStatsResult("SouthAverage"));
  EXPECT_EQ(stats_.GetGroupingValueCount(), 0);
  EXPECT_EQ(stats_.GetRecordsProcessed(0), 0);
  Variant result("untouched");
  EXPECT_TRUE(stats_.GetResult(result, 0));
  EXPECT_TRUE(result.IsEmpty());
  EXPECT_FALSE(Stats::IsErrorSet());
  EXPECT_FALSE(stats_.GetResult(result, 1));
  ExpectError(10940, "", {10230});
  EXPECT_EQ(stats_.GetSubsetFieldCount(), 1);
  ASSERT_TRUE(stats_.GetSubsetFieldValue(result, 0));
  EXPECT_EQ(std::string(result), "South");
}

TEST_F(NavigationTest, EnumerationQueries) {
  ASSERT_TRUE(stats_.MoveToStatsResult("Sales"));
  EXPECT_FALSE(stats_.IsEnum());
  EXPECT_FALSE(Stats::IsErrorSet());
  int count = -1;
  EXPECT_FALSE(stats_.GetEnumValueCount(count, 0));
  ExpectError(10560, "", {10240});

  ASSERT_TRUE(stats_.MoveToStatsResult("Channels"));
  EXPECT_TRUE(stats_.IsEnum());
  ASSERT_TRUE(stats_.GetEnumValueCount(count, 0));
  EXPECT_EQ(count, 2);
  std::string text;
  ASSERT_TRUE(stats_.GetEnumValue(text, 1, 0, false));
  EXPECT_EQ(text, "Store");
  EXPECT_EQ(stats_.FindEnumIndex("Store"), 1);
  EXPECT_EQ(stats_.FindEnumIndex("Phone"), EnumResult::NoMatchIndex);
  Variant percent;
  ASSERT_TRUE(stats_.GetEnumResult(percent, 0, 0));
  EXPECT_NEAR(percent.ToDouble(), 75.0, 1e-4);  // 3 Web of 4 matched
  ASSERT_TRUE(stats_.GetEnumGroupingTotal(percent, 1));
  EXPECT_NEAR(percent.ToDouble(), 25.0, 1e-4);

  ASSERT_TRUE(stats_.MoveToStatsResult("Bins"));
  ASSERT_TRUE(stats_.GetEnumValueCount(count, 0));
  EXPECT_EQ(count, 4);  // open below, [0-5), [5-10), open above
  Variant bin;
  ASSERT_TRUE(stats_.GetEnumResult(bin, 3, 0));
  EXPECT_EQ(std::string(bin), "1");  // 10
}

using ResultsTreeTest = testing::ErrorTest;

Row Sale(int year, const char* region, int amount) { return {year, 0, amount, region}; }

std::map<std::string, StatsDefn> SalesByRegionOnly() {
  return {{"Sales", SalesByRegion(StatsDefn::Sum)}};
}

TEST_F(ResultsTreeTest, WorkedPathOfOneRecord) {
  TableStats stats({Sale(2004, "North", 10)});
  const auto definitions = SalesByRegionOnly();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
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
  EXPECT_EQ(value.ToString(), "10");
  ASSERT_TRUE(stats.GetGroupingTotal(value));
  EXPECT_EQ(value.ToString(), "10");
  EXPECT_EQ(stats.GetNodeCount(), 2);
}

TEST_F(ResultsTreeTest, EveryNodeSumsItsOwnRecordsByCombination) {
  TableStats stats({Sale(2004, "South", 5), Sale(2005, "North", 7), Sale(2004, "North", 10),
                    Sale(2004, "South", 1)});
  const auto definitions = SalesByRegionOnly();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
  ASSERT_TRUE(stats.ProcessRecords());
  Variant value;
  ASSERT_TRUE(stats.MoveToRootNode());
  ASSERT_TRUE(stats.MoveToStatsResult("Sales"));
  ASSERT_TRUE(stats.GetResult(value, 0));  // North, sorted ahead of South
  EXPECT_EQ(value.ToString(), "17");
  ASSERT_TRUE(stats.MoveToChild(0));  // 2004, met first
  ASSERT_TRUE(stats.MoveToStatsResult("Sales"));
  ASSERT_TRUE(stats.GetResult(value, 1));
  EXPECT_EQ(value.ToString(), "6");
  ASSERT_TRUE(stats.GetGroupingTotal(value));
  EXPECT_EQ(value.ToString(), "16");
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

// Random cursor and query calls, bad indexes and names included: nothing
// may crash, and a false answer always comes with an error.
TEST_F(NavigationTest, RandomCallStormNeverFailsSilently) {
  std::mt19937 random(20261122);
  const std::vector<std::string> names = {"Sales",   "Channels", "SouthAverage", "Bins",
                                          "Records", "",         "Nope"};
  auto index = [&] { return static_cast<int>(random() % 14) - 4; };
  std::string text;
  Variant value;
  std::vector<std::string> texts;
  int count = 0;
  // A plain false from IsEnum is an answer, and the counts have none.
  const std::vector<std::function<bool()>> calls = {
      [&] { return stats_.MoveToRootNode(); },
      [&] { return stats_.MoveToParent(); },
      [&] { return stats_.MoveToChild(index()); },
      [&] { return stats_.MoveToStatsResult(names[random() % names.size()]); },
      [&] { return stats_.GetChildName(text, index()); },
      [&] { return stats_.GetNodeName(text); },
      [&] { return stats_.GetNodeField(text); },
      [&] { return stats_.GetResult(value, index()); },
      [&] { return stats_.GetGroupingTotal(value); },
      [&] { return stats_.GetGroupingValueCombo(texts, index()); },
      [&] { return stats_.GetGroupingValue(text, index(), index()); },
      [&] { return stats_.GetGroupingField(text, index()); },
      [&] { return stats_.GetSubsetField(text, index()); },
      [&] { return stats_.GetSubsetFieldValue(value, index()); },
      [&] { return stats_.GetCurrentStatsField(text); },
      [&] { return stats_.GetCurrentStatsType(text); },
      [&] { return stats_.GetEnumValueCount(count, index()); },
      [&] { return stats_.GetEnumResult(value, index(), index()); },
      [&] { return stats_.GetEnumGroupingTotal(value, index()); },
      [&] { return stats_.GetEnumValue(text, index(), index(), random() % 2 == 0); },
      [&] { return stats_.GetEnumValue(value, index(), index()); },
      [&] { return stats_.FindEnumIndex(random() % 2 ? "Web" : "zzz") != -1; },
      [&] { return stats_.IsEnum() || true; },
      [&] { return stats_.GetChildCount() + stats_.GetGroupingValueCount() >= 0; },
      [&] {
        return stats_.GetRecordsProcessed(index()) + stats_.GetTotalGroupingRecordsProcessed() >= 0;
      },
      [&] { return stats_.GetGroupingFieldCount() + stats_.GetSubsetFieldCount() >= 0; },
  };
  for (int call = 0; call < 20000; ++call) {
    Stats::ClearError();
    const unsigned op = random() % calls.size();
    if (!calls[op]()) {
      ASSERT_TRUE(Stats::IsErrorSet()) << "call " << call << " op " << op << " failed silently";
    }
  }
}

}  // namespace
}  // namespace stattree
