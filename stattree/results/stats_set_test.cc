#include "stattree/results/stats_set.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "stattree/boundary/record_cache.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/stats_result.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::Defn;
using testing::HeldError;
using testing::Locations;
using testing::MapRecord;

class StatsSetTest : public testing::ErrorTest {};

// A set whose grouping criteria on `columns` are bound to `record`.
StatsSet BoundSet(const std::vector<int>& columns, const MapRecord& record) {
  MultipleCriteria criteria;
  for (int column : columns) criteria.AddNewCriteria(CriteriaTerm{column, Equal, Variant()});
  StatsSet set;
  EXPECT_TRUE(set.ConfigureCriteria(&criteria));
  EXPECT_TRUE(set.SetGroupingValues(record));
  return set;
}

TEST_F(StatsSetTest, CountsEveryRecordFirstAlsoOnFailure) {
  StatsSet set;
  EXPECT_TRUE(set.ProcessRecord(MapRecord{}));
  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Sum)));
  ASSERT_TRUE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Count)));
  EXPECT_EQ(set.GetStatsResult("Sales")->GetType(), StatsDefn::Sum);  // the first one wins
  EXPECT_FALSE(set.ProcessRecord(MapRecord({}, MapRecord::Describe::LeavePresets)));
  EXPECT_EQ(set.GetRecordsProcessed(), 2);
  EXPECT_EQ(Locations().back(), 11290);
}

TEST_F(StatsSetTest, AddNewStatsDefnTestsTheErrorBeforeTheNullResult) {
  StatsSet set;
  // The factory refuses the type and sets its own code: 11225, not 11226.
  EXPECT_FALSE(set.AddNewStatsDefn(Defn("Bad", Field{"Amount", 3}, StatsDefn::InvalidType)));
  EXPECT_NE(HeldError().code, 11226);
  EXPECT_EQ(Locations().back(), 11225);
  // An error left from elsewhere fails a sound definition too.
  EXPECT_FALSE(set.AddNewStatsDefn(Defn("Sales", Field{"Amount", 3}, StatsDefn::Sum)));
  EXPECT_EQ(Locations().back(), 11225);
  EXPECT_EQ(set.GetStatsResult("Sales"), nullptr);
}

TEST_F(StatsSetTest, OrdersByGroupingValuesPositionByPosition) {
  StatsSet north2004 = BoundSet({5, 7}, MapRecord{{5, "North"}, {7, 2004}});
  StatsSet north2005 = BoundSet({5, 7}, MapRecord{{5, "North"}, {7, 2005}});
  StatsSet north = BoundSet({5}, MapRecord{{5, "North"}});
  StatsSet bare;
  EXPECT_TRUE(north2004 < north2005);
  EXPECT_FALSE(north2005 < north2004);
  EXPECT_FALSE(north2004 < north);
  EXPECT_FALSE(north < north2004);
  EXPECT_FALSE(bare < north2004);
  EXPECT_FALSE(north2004 < bare);
}

TEST_F(StatsSetTest, DumpWritesOneBlockPerStatistic) {
  std::map<std::string, StatsDefn> defns;
  defns.emplace("Sales", testing::Grouped("Sales", Field{"Amount", 3}, StatsDefn::Count, "ByRegion",
                                          {Field{"Region", 5}}));
  testing::AddSubset(defns.at("Sales"), "Big", Field{"Size", 9}, Variant("L"));
  defns.emplace("Rows", Defn("Rows", Field{"", -1}, StatsDefn::Count));

  MapRecord record{{3, 10}, {5, "North"}, {9, "L"}};
  StatsSet set = BoundSet({5}, record);
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

  StatsSet withoutCriteria;
  ASSERT_TRUE(withoutCriteria.AddNewStatsDefn(defns.at("Rows")));
  std::ostringstream shortened;
  withoutCriteria.DumpObject(shortened, defns);
  EXPECT_EQ(shortened.str(),
            "            Stats Name: Rows\r\n"
            "            Subset    : all records\r\n");
}

// The engine feeds a set through its record cache, which takes the
// library's accumulators without their virtual calls: every kind must take
// values of every kind, and fail on a failed read, as record by record.
TEST_F(StatsSetTest, FedThroughTheRecordCacheAsRecordByRecord) {
  const Field amount{"Amount", 3};
  std::map<std::string, StatsDefn> defns;
  const StatsDefn::StatsType scalars[] = {
      StatsDefn::Count, StatsDefn::CountValid, StatsDefn::Min,   StatsDefn::Max,
      StatsDefn::Sum,   StatsDefn::Average,    StatsDefn::StdDev};
  for (const StatsDefn::StatsType type : scalars) {
    const std::string name = "S" + std::to_string(static_cast<int>(type));
    defns.emplace(name, Defn(name, amount, type));
  }
  defns.emplace("Enum", Defn("Enum", amount, StatsDefn::EnumCount));
  defns.emplace("Percent", Defn("Percent", amount, StatsDefn::EnumPercent));
  defns.emplace("Histogram", Defn("Histogram", amount, StatsDefn::Histogram1));
  ASSERT_TRUE(testing::EnumList({"4", "x"})(defns.at("Enum")));
  ASSERT_TRUE(testing::EnumList({"4", "x"})(defns.at("Percent")));
  ASSERT_TRUE(testing::Edges({Variant(0), Variant(5)})(defns.at("Histogram")));

  // `byRecord` is fed the host's record; `first` and `second`, copies
  // sharing the criteria sets, the engine's cache over it, so that
  // `second` finds the distributions' bins already known.
  StatsSet byRecord;
  for (const auto& entry : defns) ASSERT_TRUE(byRecord.AddNewStatsDefn(entry.second));
  StatsSet first = byRecord;
  StatsSet second = byRecord;
  const Variant values[] = {Variant(4),      Variant(2.5), Variant(),  Variant::Invalid(),
                            Variant("x"),    Variant(""),  Variant(9), Variant(-1.25),
                            Variant("12.5"), Variant(4)};
  auto fed = [&](StatsSet& set, const StatsRecord& record) {
    testing::ClearHeldError();
    const bool taken = set.ProcessRecord(record);
    return std::make_pair(taken, HeldError());
  };
  for (int i = 0; i <= 10; ++i) {
    // Past the values: a record whose column fails to read.
    MapRecord record = i < 10 ? MapRecord{{3, values[i]}} : MapRecord{{4, 1}};
    const auto expected = fed(byRecord, record);
    RecordCache cache(record, true);
    EXPECT_EQ(fed(first, cache), expected) << i;
    // The engine stops at a record that fails: no second set sees it.
    if (expected.first) {
      EXPECT_EQ(fed(second, cache), expected) << i;
    }
  }
  testing::ClearHeldError();
  for (StatsSet* set : {&byRecord, &first, &second}) set->Finalize();
  // Every result, its kind and text; every bin of the distributions.
  auto shown = [&](const StatsSet& set) {
    std::string text;
    auto add = [&](const Variant& value) {
      text += std::to_string(static_cast<int>(value.GetKind())) + ":" + std::string(value) + " ";
    };
    for (const auto& entry : defns) {
      StatsResult* result = set.GetStatsResult(entry.first);
      Variant value;
      EXPECT_TRUE(result->GetResult(value));
      add(value);
      if (!result->IsEnum()) continue;
      auto* bins = static_cast<EnumResult*>(result);
      for (int i = 0; i < bins->GetEnumValueCount(); ++i) {
        EXPECT_TRUE(bins->GetEnumResult(value, i));
        add(value);
      }
      if (bins->GetType() == StatsDefn::EnumCount) {
        EXPECT_TRUE(bins->GetEnumResult(value, EnumResult::NotAvailableIndex));
        add(value);
      }
    }
    return text;
  };
  EXPECT_EQ(shown(first), shown(byRecord));
  EXPECT_EQ(shown(second), shown(byRecord));
}

}  // namespace
}  // namespace stattree
