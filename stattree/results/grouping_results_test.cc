#include "stattree/results/grouping_results.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/results/results_test_util.h"

namespace stattree {
namespace {

using testing::Defn;
using testing::Grouped;
using testing::MapRecord;

class GroupingResultsTest : public testing::ResultsTest {
 protected:
  // A grouping of Count on the definition's grouping criteria.
  GroupingResults Configured(StatsDefn& defn) {
    GroupingResults grouping;
    EXPECT_TRUE(grouping.ConfigureCriteria(defn.GetGroupingCriteria(), &all));
    EXPECT_TRUE(grouping.AddNewStatsDefn(defn));
    return grouping;
  }

  static std::string Combination(const GroupingResults& grouping, int index) {
    std::vector<std::string> texts;
    const StatsSet* set = grouping.GetGroupingStatsSet(index);
    if (set == nullptr || !set->GetCriteriaText(texts)) return "?";
    std::string joined;
    for (const std::string& text : texts) joined += (joined.empty() ? "" : "|") + text;
    return joined;
  }

  AlwaysPassCriteria all;
  StatsDefn byRegion =
      Grouped("N", Field{"Amount", 3}, StatsDefn::Count, "ByRegion", {Field{"Region", 5}});
};

TEST_F(GroupingResultsTest, SortsCombinationsAfterFinalize) {
  GroupingResults grouping = Configured(byRegion);
  for (const char* region : {"B", "A", "B"}) {
    ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, region}}));
  }
  ASSERT_EQ(grouping.GetGroupingsCount(), 2);
  EXPECT_EQ(Combination(grouping, 0), "B");
  EXPECT_EQ(Combination(grouping, 1), "A");

  grouping.Finalize();
  EXPECT_EQ(Combination(grouping, 0), "A");
  EXPECT_EQ(Combination(grouping, 1), "B");
  EXPECT_EQ(grouping.GetGroupingStatsSet(0)->GetRecordsProcessed(), 1);
  EXPECT_EQ(grouping.GetGroupingStatsSet(1)->GetRecordsProcessed(), 2);
  EXPECT_EQ(grouping.GetTotalsStatsSet()->GetRecordsProcessed(), 3);
  Variant count;
  ASSERT_TRUE(grouping.GetGroupingStatsSet(1)->GetResult(count, "N"));
  EXPECT_EQ(count.ToString(), "2");
}

TEST_F(GroupingResultsTest, WithoutGroupingOneCombinationTakesEveryRecord) {
  StatsDefn plain = Defn("N", Field{"Amount", 3}, StatsDefn::Count);
  GroupingResults grouping = Configured(plain);
  for (const char* region : {"B", "A", "C"}) {
    ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, region}}));
  }
  grouping.Finalize();
  ASSERT_EQ(grouping.GetGroupingsCount(), 1);
  EXPECT_EQ(grouping.GetGroupingStatsSet(0)->GetRecordsProcessed(), 3);
  EXPECT_EQ(grouping.GetTotalsStatsSet()->GetRecordsProcessed(), 3);
}

TEST_F(GroupingResultsTest, WithoutRecordsIndexZeroIsThePrototype) {
  GroupingResults grouping = Configured(byRegion);
  EXPECT_EQ(grouping.GetGroupingsCount(), 0);
  const StatsSet* first = grouping.GetGroupingStatsSet(0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->GetRecordsProcessed(), 0);
  EXPECT_EQ(first->GetCriteria(), grouping.GetCriteriaPrototype());
  EXPECT_FALSE(IsErrorSet());

  for (int index : {1, -1}) {
    TheErrorManager().Clear();
    EXPECT_EQ(grouping.GetGroupingStatsSet(index), nullptr);
    EXPECT_EQ(HeldCode(), 10940);
  }
  ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, "A"}}));
  TheErrorManager().Clear();
  EXPECT_EQ(grouping.GetGroupingStatsSet(1), nullptr);
  EXPECT_EQ(HeldCode(), 10940);

  TheErrorManager().Clear();
  std::ostringstream os;
  Configured(byRegion).DumpObject(os, {});
  EXPECT_EQ(os.str(), "");
}

TEST_F(GroupingResultsTest, NullCriteriaLeaveThePrototypeUnconfigured) {
  GroupingResults grouping;
  EXPECT_FALSE(grouping.ConfigureCriteria(byRegion.GetGroupingCriteria(), nullptr));
  EXPECT_EQ(HeldCode(), 10970);
  EXPECT_EQ(grouping.GetCriteriaPrototype(), nullptr);
}

TEST_F(GroupingResultsTest, PrototypeIsACloneNeverFed) {
  GroupingResults grouping = Configured(byRegion);
  EXPECT_NE(grouping.GetCriteriaPrototype(), byRegion.GetGroupingCriteria());
  ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, "A"}}));
  GroupingResults copy(grouping);
  ASSERT_TRUE(copy.ProcessRecord(MapRecord{{5, "B"}}));
  EXPECT_EQ(grouping.GetGroupingsCount(), 1);
  EXPECT_EQ(copy.GetGroupingsCount(), 2);
  std::vector<std::string> texts;
  ASSERT_TRUE(copy.GetGroupingStatsSet(1)->GetCriteriaText(texts));
  EXPECT_EQ(texts, std::vector<std::string>{"B"});
}

TEST_F(GroupingResultsTest, FailedMembershipTestStopsTheRecord) {
  GroupingResults grouping = Configured(byRegion);
  ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, "A"}}));
  EXPECT_FALSE(grouping.ProcessRecord(MapRecord{}));
  EXPECT_EQ(Locations().back(), 11000);
  EXPECT_EQ(grouping.GetTotalsStatsSet()->GetRecordsProcessed(), 1);
}

TEST_F(GroupingResultsTest, SortCopesWithValuesOfEveryKind) {
  StatsDefn twoColumns =
      Grouped("N", Field{"Amount", 3}, StatsDefn::Count, "G", {Field{"A", 1}, Field{"B", 2}});
  GroupingResults grouping = Configured(twoColumns);
  const std::vector<Variant> values{Variant(), Variant::Invalid(), 3, 2.5, "x", "", -7, "3", 1e300};
  int records = 0;
  for (size_t i = 0; i < 40; ++i) {
    const Variant& a = values[(i * 7) % values.size()];
    const Variant& b = values[(i * 5 + 1) % values.size()];
    ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{1, a}, {2, b}}));
    ++records;
  }
  grouping.Finalize();
  int sum = 0;
  for (int i = 0; i < grouping.GetGroupingsCount(); ++i) {
    sum += grouping.GetGroupingStatsSet(i)->GetRecordsProcessed();
    if (i > 0) {
      EXPECT_FALSE(*grouping.GetGroupingStatsSet(i) < *grouping.GetGroupingStatsSet(i - 1));
    }
  }
  EXPECT_EQ(sum, records);
}

}  // namespace
}  // namespace stattree
