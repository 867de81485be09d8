#include "stattree/results/stats_set.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/results/results_test_util.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {
namespace {

using testing::Defn;
using testing::Grouped;
using testing::MapRecord;

class StatsSetTest : public testing::ResultsTest {};

// A grouping criteria on the given columns, bound to `record`.
MultipleCriteria BoundGrouping(const std::vector<int>& columns, const MapRecord& record) {
  MultipleCriteria criteria;
  for (int column : columns) criteria.AddNewCriteria(CriteriaTerm{column, Equal, Variant()});
  EXPECT_TRUE(criteria.SetValuesFromRecord(record));
  return criteria;
}

StatsSet SetFor(Criteria* criteria) {
  StatsSet set;
  EXPECT_TRUE(set.ConfigureCriteria(criteria));
  return set;
}

TEST_F(StatsSetTest, CountsEveryRecordFirstAlsoWithoutAccumulatorsOrOnFailure) {
  StatsSet set;
  MapRecord record{{3, 10}};
  EXPECT_TRUE(set.ProcessRecord(record));
  EXPECT_TRUE(set.ProcessRecord(record));
  EXPECT_EQ(set.GetRecordsProcessed(), 2);

  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Sum)));
  MapRecord unreadable;
  EXPECT_FALSE(set.ProcessRecord(unreadable));
  EXPECT_EQ(set.GetRecordsProcessed(), 3);
  ASSERT_FALSE(Locations().empty());
  EXPECT_EQ(Locations().back(), 11290);
}

TEST_F(StatsSetTest, FirstDefinitionOfANameWins) {
  StatsSet set;
  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Sum)));
  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Count)));
  StatsResult* result = set.GetStatsResult("Sales");
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->GetType(), StatsDefn::Sum);
}

TEST_F(StatsSetTest, AddNewStatsDefnTestsTheErrorBeforeTheNullResult) {
  StatsSet set;
  // The factory refuses the type and sets its own code: the leftover-error
  // location wins over 11226.
  EXPECT_FALSE(set.AddNewStatsDefn(Defn("Bad", Field{"Amount", 3}, StatsDefn::InvalidType)));
  EXPECT_NE(HeldCode(), 11226);
  EXPECT_EQ(Locations().back(), 11225);
  EXPECT_EQ(set.GetStatsResult("Bad"), nullptr);

  // An error left from elsewhere fails a sound definition too.
  TheErrorManager().Clear();
  SetErrorCode(10020);
  EXPECT_FALSE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Sum)));
  EXPECT_EQ(Locations().back(), 11225);
}

TEST_F(StatsSetTest, UnknownNameLeaves11320With11310) {
  StatsSet set;
  Variant value;
  EXPECT_FALSE(set.GetResult(value, "Nope"));
  EXPECT_EQ(HeldCode(), 11320);
  EXPECT_EQ(Locations(), std::vector<int>{11310});
}

TEST_F(StatsSetTest, MembershipTellsAFailureFromAPlainNo) {
  MapRecord north{{5, "North"}};
  MultipleCriteria criteria = BoundGrouping({5}, north);
  StatsSet set = SetFor(&criteria);

  EXPECT_TRUE(set.RecordMeetsCriteria(north));
  EXPECT_FALSE(set.RecordMeetsCriteria(MapRecord{{5, "South"}}));
  EXPECT_FALSE(IsErrorSet());

  EXPECT_FALSE(set.RecordMeetsCriteria(MapRecord{}));
  EXPECT_TRUE(IsErrorSet());
  EXPECT_EQ(Locations().back(), 11270);

  TheErrorManager().Clear();
  StatsSet unconfigured;
  EXPECT_FALSE(unconfigured.RecordMeetsCriteria(north));
  EXPECT_EQ(HeldCode(), 11260);
  EXPECT_FALSE(unconfigured.SetGroupingValues(north));
  EXPECT_EQ(HeldCode(), 11240);
}

TEST_F(StatsSetTest, CriteriaTextGivesTheCombination) {
  MultipleCriteria criteria = BoundGrouping({5, 7}, MapRecord{{5, "North"}, {7, 2004}});
  StatsSet set = SetFor(&criteria);
  std::vector<std::string> texts{"stale"};
  ASSERT_TRUE(set.GetCriteriaText(texts));
  EXPECT_EQ(texts, (std::vector<std::string>{"North", "2004"}));

  AlwaysPassCriteria all;
  StatsSet totals = SetFor(&all);
  ASSERT_TRUE(totals.GetCriteriaText(texts));
  EXPECT_TRUE(texts.empty());

  EXPECT_FALSE(StatsSet().GetCriteriaText(texts));
  EXPECT_EQ(HeldCode(), 11340);
}

TEST_F(StatsSetTest, OrdersByGroupingValuesPositionByPosition) {
  MultipleCriteria a = BoundGrouping({5, 7}, MapRecord{{5, "North"}, {7, 2004}});
  MultipleCriteria b = BoundGrouping({5, 7}, MapRecord{{5, "North"}, {7, 2005}});
  MultipleCriteria prefix = BoundGrouping({5}, MapRecord{{5, "North"}});
  StatsSet setA = SetFor(&a);
  StatsSet setB = SetFor(&b);
  StatsSet setPrefix = SetFor(&prefix);
  StatsSet bare;

  EXPECT_TRUE(setA < setB);
  EXPECT_FALSE(setB < setA);
  EXPECT_FALSE(setA < setPrefix);
  EXPECT_FALSE(setPrefix < setA);
  EXPECT_FALSE(bare < setA);
  EXPECT_FALSE(setA < bare);
}

TEST_F(StatsSetTest, CopiesAreDeepAndKeepRunningState) {
  MultipleCriteria criteria = BoundGrouping({5}, MapRecord{{5, "North"}});
  StatsSet set = SetFor(&criteria);
  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Sum)));
  ASSERT_TRUE(set.ProcessRecord(MapRecord{{3, 10}, {5, "North"}}));

  StatsSet copy(set);
  ASSERT_TRUE(set.ProcessRecord(MapRecord{{3, 5}, {5, "North"}}));
  Variant sum;
  ASSERT_TRUE(copy.GetResult(sum, "Sales"));
  EXPECT_EQ(sum.ToString(), "10");
  EXPECT_EQ(copy.GetRecordsProcessed(), 1);
  EXPECT_NE(copy.GetCriteria(), set.GetCriteria());
  EXPECT_NE(copy.GetStatsResult("Sales"), set.GetStatsResult("Sales"));

  copy = set;
  ASSERT_TRUE(copy.GetResult(sum, "Sales"));
  EXPECT_EQ(sum.ToString(), "15");
  EXPECT_EQ(copy.GetRecordsProcessed(), 2);
}

TEST_F(StatsSetTest, DumpWritesOneBlockPerStatistic) {
  std::map<std::string, StatsDefn> defns;
  defns.emplace("Sales", Grouped("Sales", Field{"Amount", 3}, StatsDefn::Count, "ByRegion",
                                 {Field{"Region", 5}}));
  testing::AddSubset(defns.at("Sales"), "Big", Field{"Size", 9}, Variant("L"));

  MapRecord record{{3, 10}, {5, "North"}, {9, "L"}};
  MultipleCriteria criteria = BoundGrouping({5}, record);
  StatsSet set = SetFor(&criteria);
  ASSERT_TRUE(set.AddNewStatsDefn(defns.at("Sales")));
  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Orphan", Field{"", -1}, StatsDefn::Count)));
  ASSERT_TRUE(set.ProcessRecord(record));

  std::ostringstream os;
  set.DumpObject(os, defns);
  EXPECT_EQ(os.str(),
            "            Stats Name: Orphan\r\n"
            "            NO STATS DEFN FOR THIS NAME\r\n"
            "            Stats Name: Sales\r\n"
            "            Subset    : [Col 9]Size=L\r\n"
            "            Grouping  : [Col 5]Region=North\r\n"
            "            Stats Type: Count\r\n"
            "            Field     : [Col 3]Amount\r\n"
            "            Result    : 1\r\n\r\n");
}

TEST_F(StatsSetTest, DumpOfASetWithoutCriteriaStopsAfterTheSubset) {
  std::map<std::string, StatsDefn> defns;
  defns.emplace("Rows", Defn("Rows", Field{"", -1}, StatsDefn::Count));
  StatsSet set;
  ASSERT_TRUE(set.AddNewStatsDefn(defns.at("Rows")));
  std::ostringstream os;
  set.DumpObject(os, defns);
  EXPECT_EQ(os.str(),
            "            Stats Name: Rows\r\n"
            "            Subset    : all records\r\n");

  AlwaysPassCriteria all;
  StatsSet totals = SetFor(&all);
  ASSERT_TRUE(totals.AddNewStatsDefn(defns.at("Rows")));
  std::ostringstream full;
  totals.DumpObject(full, defns);
  EXPECT_EQ(full.str(),
            "            Stats Name: Rows\r\n"
            "            Subset    : all records\r\n"
            "            Grouping  : no grouping\r\n"
            "            Stats Type: Count\r\n"
            "            Field     : no field\r\n"
            "            Result    : 0\r\n\r\n");
}

}  // namespace
}  // namespace stattree
