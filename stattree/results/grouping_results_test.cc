#include "stattree/results/grouping_results.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/results/results_test_util.h"

namespace stattree {
namespace {

using testing::MapRecord;

class GroupingResultsTest : public testing::ResultsTest {
 protected:
  GroupingResults Configured(StatsDefn& defn) {
    GroupingResults grouping;
    EXPECT_TRUE(grouping.ConfigureCriteria(defn.GetGroupingCriteria(), &all));
    EXPECT_TRUE(grouping.AddNewStatsDefn(defn));
    return grouping;
  }
  static std::string Combination(const GroupingResults& grouping, int index) {
    std::vector<std::string> texts;
    grouping.GetGroupingStatsSet(index)->GetCriteriaText(texts);
    return texts.empty() ? "" : texts[0];
  }

  AlwaysPassCriteria all;
  StatsDefn byRegion =
      testing::Grouped("N", Field{"Amount", 3}, StatsDefn::Count, "ByRegion", {Field{"Region", 5}});
};

TEST_F(GroupingResultsTest, SortsCombinationsAfterFinalize) {
  GroupingResults grouping = Configured(byRegion);
  for (const char* region : {"B", "A", "B"})
    ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, region}}));
  ASSERT_EQ(grouping.GetGroupingsCount(), 2);
  EXPECT_EQ(Combination(grouping, 0), "B");
  EXPECT_EQ(Combination(grouping, 1), "A");
  grouping.Finalize();
  EXPECT_EQ(Combination(grouping, 0), "A");
  EXPECT_EQ(Combination(grouping, 1), "B");
  EXPECT_EQ(grouping.GetGroupingStatsSet(0)->GetRecordsProcessed(), 1);
  EXPECT_EQ(grouping.GetGroupingStatsSet(1)->GetRecordsProcessed(), 2);
  EXPECT_EQ(grouping.GetTotalsStatsSet()->GetRecordsProcessed(), 3);
}

TEST_F(GroupingResultsTest, WithoutGroupingOneCombinationTakesEveryRecord) {
  StatsDefn plain = testing::Defn("N", Field{"Amount", 3}, StatsDefn::Count);
  GroupingResults grouping = Configured(plain);
  for (const char* region : {"B", "A", "C"})
    ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, region}}));
  grouping.Finalize();
  ASSERT_EQ(grouping.GetGroupingsCount(), 1);
  EXPECT_EQ(grouping.GetGroupingStatsSet(0)->GetRecordsProcessed(), 3);
}

TEST_F(GroupingResultsTest, WithoutRecordsIndexZeroIsThePrototype) {
  GroupingResults grouping = Configured(byRegion);
  const StatsSet* first = grouping.GetGroupingStatsSet(0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->GetCriteria(), grouping.GetCriteriaPrototype());
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(grouping.GetGroupingStatsSet(-1), nullptr);
  EXPECT_EQ(HeldCode(), 10940);
}

TEST_F(GroupingResultsTest, SortCopesWithValuesOfEveryKind) {
  StatsDefn twoColumns = testing::Grouped("N", Field{"Amount", 3}, StatsDefn::Count, "G",
                                          {Field{"A", 1}, Field{"B", 2}});
  GroupingResults grouping = Configured(twoColumns);
  const std::vector<Variant> values{Variant(), Variant::Invalid(), 3, 2.5, "x", "", -7, "3", 1e300};
  for (size_t i = 0; i < 40; ++i) {
    ASSERT_TRUE(grouping.ProcessRecord(
        MapRecord{{1, values[(i * 7) % values.size()]}, {2, values[(i * 5 + 1) % values.size()]}}));
  }
  grouping.Finalize();
  int sum = 0;
  for (int i = 0; i < grouping.GetGroupingsCount(); ++i) {
    sum += grouping.GetGroupingStatsSet(i)->GetRecordsProcessed();
    if (i > 0) {
      EXPECT_FALSE(*grouping.GetGroupingStatsSet(i) < *grouping.GetGroupingStatsSet(i - 1));
    }
  }
  EXPECT_EQ(sum, 40);
}

}  // namespace
}  // namespace stattree
