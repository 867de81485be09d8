#include "stattree/results/grouping_results.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::HeldError;
using testing::Locations;
using testing::MapRecord;

class GroupingResultsTest : public testing::ErrorTest {
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
  EXPECT_EQ(HeldError().code, 10940);
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

// Past a few combinations the sets are found through an index; these pin
// that it answers exactly as the walk in first-met order.
TEST_F(GroupingResultsTest, ManyCombinationsKeepFirstMetOrderAndTextEquivalence) {
  StatsDefn twoColumns = testing::Grouped("N", Field{"Amount", 3}, StatsDefn::Count, "G",
                                          {Field{"A", 1}, Field{"B", 2}});
  GroupingResults grouping = Configured(twoColumns);
  constexpr int kCombinations = 30;
  for (int round = 0; round < 3; ++round) {
    for (int i = kCombinations - 1; i >= 0; --i) {
      // (i, "i") and ("i", i) are the same texts: one combination.
      const MapRecord record = round == 1 ? MapRecord{{1, std::to_string(i)}, {2, i}}
                                          : MapRecord{{1, i}, {2, std::to_string(i)}};
      ASSERT_TRUE(grouping.ProcessRecord(record));
    }
  }
  // Texts that only join to the same string stay apart.
  ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{1, "1"}, {2, "11"}}));
  ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{1, "11"}, {2, "1"}}));
  ASSERT_EQ(grouping.GetGroupingsCount(), kCombinations + 2);
  for (int index = 0; index < kCombinations; ++index) {
    const StatsSet* set = grouping.GetGroupingStatsSet(index);
    EXPECT_EQ(Combination(grouping, index), std::to_string(kCombinations - 1 - index));
    EXPECT_EQ(set->GetRecordsProcessed(), 3);
  }
  EXPECT_EQ(grouping.GetTotalsStatsSet()->GetRecordsProcessed(), 3 * kCombinations + 2);
  EXPECT_FALSE(IsErrorSet());
}

TEST_F(GroupingResultsTest, ManyCombinationsStillFailOnAnErrorOrAFailedRead) {
  GroupingResults grouping = Configured(byRegion);
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(grouping.ProcessRecord(MapRecord{{5, i}}));
  // An error already set: the first set matches, the second test fails.
  TheErrorManager().Set(10940);
  EXPECT_TRUE(grouping.ProcessRecord(MapRecord{{5, 0}}));
  EXPECT_FALSE(grouping.ProcessRecord(MapRecord{{5, 12}}));
  EXPECT_EQ(Locations(), (std::vector<int>{10740, 11270, 11000}));
  TheErrorManager().Clear();
  EXPECT_FALSE(grouping.ProcessRecord(MapRecord({{4, 12}}, MapRecord::Describe::LeavePresets)));
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10740, 11270, 11000}));
  EXPECT_EQ(grouping.GetGroupingsCount(), 20);
  EXPECT_EQ(grouping.GetGroupingStatsSet(12)->GetRecordsProcessed(), 1);
  EXPECT_EQ(grouping.GetTotalsStatsSet()->GetRecordsProcessed(), 21);
}

// Few combinations of one field are found by comparing the record cache's
// value with each set's: as the walk does, for every kind of value, and
// leaving failures to the walk.
TEST_F(GroupingResultsTest, FewCombinationsThroughTheCacheMatchTheWalk) {
  const std::vector<Variant> values{
      5,    "5", 5.0, 5.5, "05",  "",    Variant(), Variant::Invalid(),
      -0.0, 0,   "x", 5,   "5.5", "0.0", 1e21,      "1e+21"};
  GroupingResults walked = Configured(byRegion);
  GroupingResults scanned = Configured(byRegion);
  for (std::size_t i = 0; i < 2 * values.size(); ++i) {
    const MapRecord record{{5, values[(i * 5) % values.size()]}};
    ASSERT_TRUE(walked.ProcessRecord(record));
    RecordCache cache(record, true);
    cache.NextRecord();
    ASSERT_TRUE(scanned.ProcessRecord(cache));
  }
  ASSERT_LE(walked.GetGroupingsCount(), 16);
  ASSERT_EQ(scanned.GetGroupingsCount(), walked.GetGroupingsCount());
  for (int i = 0; i < walked.GetGroupingsCount(); ++i) {
    EXPECT_EQ(Combination(scanned, i), Combination(walked, i));
    EXPECT_EQ(scanned.GetGroupingStatsSet(i)->GetRecordsProcessed(),
              walked.GetGroupingStatsSet(i)->GetRecordsProcessed());
  }
  // A failed read and an error held are the walk's to report.
  for (bool errorHeld : {false, true}) {
    std::vector<int> locations[2];
    for (int run = 0; run < 2; ++run) {
      GroupingResults& grouping = run == 0 ? walked : scanned;
      if (errorHeld) TheErrorManager().Set(10940);
      const MapRecord record =
          errorHeld ? MapRecord{{5, "x"}} : MapRecord({{4, 1}}, MapRecord::Describe::LeavePresets);
      RecordCache cache(record, true);
      cache.NextRecord();
      EXPECT_FALSE(run == 0 ? grouping.ProcessRecord(record) : grouping.ProcessRecord(cache));
      locations[run] = Locations();
      TheErrorManager().Clear();
    }
    EXPECT_EQ(locations[1], locations[0]);
    EXPECT_FALSE(locations[0].empty());
  }
}

}  // namespace
}  // namespace stattree
