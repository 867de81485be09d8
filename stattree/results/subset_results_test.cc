#include "stattree/results/subset_results.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "stattree/boundary/error_reporting.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::Grouped;
using testing::MapRecord;

class SubsetResultsTest : public testing::ErrorTest {};

TEST_F(SubsetResultsTest, RecordOutsideTheSubsetChangesNoCount) {
  StatsDefn defn = testing::Defn("N", Field{"Amount", 3}, StatsDefn::Count);
  testing::AddSubset(defn, "Northern", Field{"Region", 5}, Variant("North"));
  SubsetResults subset;
  ASSERT_TRUE(subset.ConfigureCriteria(defn.GetSubsetCriteria()));
  ASSERT_TRUE(subset.AddNewStatsDefn(defn));
  const StatsSet* totals = subset.GetGroupingResults("")->GetTotalsStatsSet();

  EXPECT_TRUE(subset.ProcessRecord(MapRecord{{5, "South"}}));
  EXPECT_EQ(totals->GetRecordsProcessed(), 0);
  EXPECT_TRUE(subset.ProcessRecord(MapRecord{{5, "North"}}));
  EXPECT_EQ(totals->GetRecordsProcessed(), 1);
  // A failed test counts as outside; its error stays for the caller.
  EXPECT_TRUE(subset.ProcessRecord(MapRecord({}, MapRecord::Describe::LeavePresets)));
  EXPECT_TRUE(IsErrorSet());
  EXPECT_EQ(totals->GetRecordsProcessed(), 1);
}

TEST_F(SubsetResultsTest, SameGroupingNameKeepsTheFirstCriteria) {
  StatsDefn first = Grouped("A", Field{"Amount", 3}, StatsDefn::Count, "G", {Field{"Region", 5}});
  StatsDefn second = Grouped("B", Field{"Amount", 3}, StatsDefn::Sum, "G", {Field{"Year", 0}});
  AlwaysPassCriteria all;
  SubsetResults subset;
  ASSERT_TRUE(subset.ConfigureCriteria(&all));
  ASSERT_TRUE(subset.AddNewStatsDefn(first));
  ASSERT_TRUE(subset.AddNewStatsDefn(second));
  ASSERT_TRUE(subset.ProcessRecord(MapRecord{{0, 2004}, {3, 1}, {5, "North"}}));
  ASSERT_TRUE(subset.ProcessRecord(MapRecord{{0, 2005}, {3, 2}, {5, "North"}}));

  GroupingResults* grouping = subset.GetGroupingResults("G");
  ASSERT_EQ(grouping->GetGroupingsCount(), 1);  // grouped by Region, not Year
  Variant sum;
  ASSERT_TRUE(grouping->GetGroupingStatsSet(0)->GetResult(sum, "B"));
  EXPECT_EQ(sum.ToString(), "3");
}

TEST_F(SubsetResultsTest, DumpHeadsEachGroupingInItsForm) {
  std::map<std::string, StatsDefn> defns;
  defns.emplace("A", testing::Defn("A", Field{"Amount", 3}, StatsDefn::Count));
  defns.emplace("B",
                Grouped("B", Field{"Amount", 3}, StatsDefn::Count, "Region", {Field{"Region", 5}}));
  defns.emplace("C", Grouped("C", Field{"Amount", 3}, StatsDefn::Count, "RegionYear",
                             {Field{"Region", 5}, Field{"Year", 7}}));
  AlwaysPassCriteria all;
  SubsetResults subset;
  ASSERT_TRUE(subset.ConfigureCriteria(&all));
  for (auto& entry : defns) ASSERT_TRUE(subset.AddNewStatsDefn(entry.second));
  std::ostringstream os;
  subset.DumpObject(os, defns);
  EXPECT_EQ(os.str(),
            "        Grouping: no grouping\r\n"
            "        Grouping: Region, Column=5\r\n"
            "\r\n"
            "        Grouping: RegionYear, RegionYearColumns=5 ,7 \r\n");
}

}  // namespace
}  // namespace stattree
