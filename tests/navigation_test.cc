// Reading results back through the cursor: the worked path, navigation in
// every state with its failure codes, and a random call storm that must
// never crash and never fail silently.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace {

using testing::ExpectError;
using testing::HeldError;
using testing::MakeDefn;
using testing::MakeField;
using testing::Row;
using testing::TableStats;

// Columns: 0 Year, 1 Channel, 2 Quantity, 3 Amount, 4 unused, 5 Region.
std::vector<Row> Sales() {
  return {
      {2004, "Web", 1, 10, Variant(), "North"},  {2004, "Store", 2, 4, Variant(), "South"},
      {2005, "Web", 3, 7, Variant(), "North"},   {2005, "Web", 1, 2, Variant(), ""},
      {2005, "Phone", 5, 1, Variant(), "North"},
  };
}

std::map<std::string, StatsDefn> Definitions() {
  std::map<std::string, StatsDefn> definitions;
  StatsDefn sales = MakeDefn("Sales", "Amount", 3, StatsDefn::Sum);
  EXPECT_TRUE(sales.CreateGroupingSpec("ByRegion", {MakeField("Region", 5)}));
  definitions["Sales"] = sales;
  StatsDefn channels = MakeDefn("Channels", "Channel", 1, StatsDefn::EnumPercent);
  EXPECT_TRUE(channels.CreateEnumSpec(std::vector<std::string>{"Web", "Store"}));
  definitions["Channels"] = channels;
  StatsDefn southAverage = MakeDefn("SouthAverage", "Amount", 3, StatsDefn::Average);
  EXPECT_TRUE(southAverage.CreateSubsetSpec("South", {{MakeField("Region", 5), "South"}}));
  definitions["SouthAverage"] = southAverage;
  StatsDefn bins = MakeDefn("Bins", "Amount", 3, StatsDefn::Histogram1);
  EXPECT_TRUE(bins.CreateHistogramSpec(Variant(0), Variant(5), 2));
  definitions["Bins"] = bins;
  definitions["Records"] = MakeDefn("Records", "Amount", 3, StatsDefn::Count);
  return definitions;
}

class NavigationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Stats::ClearError();
    ASSERT_TRUE(stats_.Configure(&definitions_, {MakeField("Year", 0), MakeField("Region", 5)}));
    ASSERT_TRUE(stats_.ProcessRecords());
    ASSERT_TRUE(stats_.MoveToRootNode());
  }
  void TearDown() override { Stats::ClearError(); }

  std::string NodeName() {
    std::string name;
    EXPECT_TRUE(stats_.GetNodeName(name));
    return name;
  }

  std::map<std::string, StatsDefn> definitions_ = Definitions();
  TableStats stats_{Sales()};
};

TEST(Navigation, RootNeedsFinishedProcessing) {
  Stats::ClearError();
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
  EXPECT_EQ(NodeName(), "root");
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
  EXPECT_EQ(NodeName(), "2005");
  ASSERT_EQ(stats_.GetChildCount(), 1);
  for (int i = 0; i < stats_.GetChildCount(); ++i) {
    std::string childName;
    ASSERT_TRUE(stats_.GetChildName(childName, i));
    ASSERT_TRUE(stats_.MoveToChild(i));
    EXPECT_EQ(NodeName(), childName);
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
  EXPECT_EQ(NodeName(), "2005");
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
  EXPECT_EQ(HeldError().code, 11920);
  Stats::ClearError();
  ASSERT_TRUE(stats_.GetCurrentStatsType(value));
  EXPECT_EQ(value, "Sum");
  ASSERT_TRUE(stats_.GetCurrentStatsField(value));
  EXPECT_EQ(value, "Amount");
  EXPECT_EQ(stats_.GetRecordsProcessed(7), 0);
  EXPECT_EQ(HeldError().code, 10940);
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

// Random cursor and query calls, bad indexes and names included: nothing
// may crash, and a false answer always comes with an error.
TEST_F(NavigationTest, RandomCallStormNeverFailsSilently) {
  std::mt19937 random(20261122);
  const std::vector<std::string> names = {"Sales",   "Channels", "SouthAverage", "Bins",
                                          "Records", "",         "Nope"};
  auto index = [&] { return static_cast<int>(random() % 14) - 4; };
  for (int call = 0; call < 20000; ++call) {
    Stats::ClearError();
    bool ok = true;
    std::string text;
    Variant value;
    std::vector<std::string> texts;
    int count = 0;
    const unsigned op = random() % 26;
    switch (op) {
      case 0:
        ok = stats_.MoveToRootNode();
        break;
      case 1:
        ok = stats_.MoveToParent();
        break;
      case 2:
        ok = stats_.MoveToChild(index());
        break;
      case 3:
        ok = stats_.MoveToStatsResult(names[random() % names.size()]);
        break;
      case 4:
        ok = stats_.GetChildName(text, index());
        break;
      case 5:
        ok = stats_.GetNodeName(text);
        break;
      case 6:
        ok = stats_.GetNodeField(text);
        break;
      case 7:
        ok = stats_.GetResult(value, index());
        break;
      case 8:
        ok = stats_.GetGroupingTotal(value);
        break;
      case 9:
        ok = stats_.GetGroupingValueCombo(texts, index());
        break;
      case 10:
        ok = stats_.GetGroupingValue(text, index(), index());
        break;
      case 11:
        ok = stats_.GetGroupingField(text, index());
        break;
      case 12:
        ok = stats_.GetSubsetField(text, index());
        break;
      case 13:
        ok = stats_.GetSubsetFieldValue(value, index());
        break;
      case 14:
        ok = stats_.GetCurrentStatsField(text);
        break;
      case 15:
        ok = stats_.GetCurrentStatsType(text);
        break;
      case 16:
        ok = stats_.GetEnumValueCount(count, index());
        break;
      case 17:
        ok = stats_.GetEnumResult(value, index(), index());
        break;
      case 18:
        ok = stats_.GetEnumGroupingTotal(value, index());
        break;
      case 19:
        ok = stats_.GetEnumValue(text, index(), index(), random() % 2 == 0);
        break;
      case 20:
        ok = stats_.GetEnumValue(value, index(), index());
        break;
      case 21:
        ok = stats_.FindEnumIndex(random() % 2 ? "Web" : "zzz") != -1;
        break;
      case 22:
        stats_.IsEnum();
        break;  // a plain false is an answer, not a failure
      case 23:
        stats_.GetChildCount();
        stats_.GetGroupingValueCount();
        break;
      case 24:
        stats_.GetRecordsProcessed(index());
        stats_.GetTotalGroupingRecordsProcessed();
        break;
      default:
        stats_.GetGroupingFieldCount();
        stats_.GetSubsetFieldCount();
        break;
    }
    if (!ok) {
      ASSERT_TRUE(Stats::IsErrorSet()) << "call " << call << " op " << op << " failed silently";
    }
  }
}

}  // namespace
}  // namespace stattree
