#include "stattree/results/node_results.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::Defn;
using testing::MapRecord;

class NodeResultsTest : public testing::ErrorTest {};

TEST_F(NodeResultsTest, SameSubsetNameKeepsTheFirstSubsetCriteria) {
  StatsDefn first = Defn("A", Field{"Amount", 3}, StatsDefn::Count);
  testing::AddSubset(first, "S", Field{"Region", 5}, Variant("North"));
  StatsDefn second = Defn("B", Field{"Amount", 3}, StatsDefn::Count);
  testing::AddSubset(second, "S", Field{"Region", 5}, Variant("South"));
  NodeResults results;
  ASSERT_TRUE(results.AddNewStatsDefn(first));
  ASSERT_TRUE(results.AddNewStatsDefn(second));
  ASSERT_TRUE(results.ProcessRecord(MapRecord{{5, "South"}}));
  ASSERT_TRUE(results.ProcessRecord(MapRecord{{5, "North"}}));

  const StatsSet* totals =
      results.GetSubsetResults("S")->GetGroupingResults("")->GetTotalsStatsSet();
  Variant count;
  ASSERT_TRUE(totals->GetResult(count, "B"));
  EXPECT_EQ(count.ToString(), "1");  // B counts North, as A does
}

TEST_F(NodeResultsTest, DumpOfOneGroupedAndOneUngroupedStatistic) {
  std::map<std::string, StatsDefn> defns;
  defns.emplace("Rows", Defn("Rows", Field{"", -1}, StatsDefn::Count));
  defns.emplace("Sales", testing::Grouped("Sales", Field{"Amount", 3}, StatsDefn::Sum, "ByRegion",
                                          {Field{"Region", 5}}));
  NodeResults results;
  for (auto& entry : defns) ASSERT_TRUE(results.AddNewStatsDefn(entry.second));
  ASSERT_TRUE(results.ProcessRecord(MapRecord{{3, 10}, {5, "South"}}));
  ASSERT_TRUE(results.ProcessRecord(MapRecord{{3, 4}, {5, "North"}}));
  ASSERT_TRUE(results.ProcessRecord(MapRecord{{3, 1}, {5, "South"}}));
  results.Finalize();

  std::ostringstream os;
  results.DumpObject(os, defns);
  EXPECT_EQ(os.str(),
            "    Subset: all records\r\n"
            "        Grouping: no grouping\r\n"
            "            Stats Name: Rows\r\n"
            "            Subset    : all records\r\n"
            "            Grouping  : no grouping\r\n"
            "            Stats Type: Count\r\n"
            "            Field     : no field\r\n"
            "            Result    : 3\r\n"
            "\r\n"
            "        Grouping: ByRegion, Column=5\r\n"
            "\r\n"
            "            Stats Name: Sales\r\n"
            "            Subset    : all records\r\n"
            "            Grouping  : [Col 5]Region=North\r\n"
            "            Stats Type: Sum\r\n"
            "            Field     : [Col 3]Amount\r\n"
            "            Result    : 4\r\n"
            "\r\n"
            "            Stats Name: Sales\r\n"
            "            Subset    : all records\r\n"
            "            Grouping  : [Col 5]Region=South\r\n"
            "            Stats Type: Sum\r\n"
            "            Field     : [Col 3]Amount\r\n"
            "            Result    : 11\r\n"
            "\r\n");

  results.ClearResults();
  std::ostringstream cleared;
  results.DumpObject(cleared, defns);
  EXPECT_EQ(cleared.str(), "");
}

}  // namespace
}  // namespace stattree
