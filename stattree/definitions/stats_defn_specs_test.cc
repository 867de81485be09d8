#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::ExpectRefused;

using namespace testing;
using testing::MapRecord;

int BinOf(StatsDefn& defn, const Variant& value) {
  int index = -2;
  EXPECT_TRUE(defn.GetEnumCriteriaSet()->RecordMeetsCriteria(index, MapRecord({{4, value}})));
  return index;
}

using SpecBuilders = testing::ErrorTest;

TEST_F(SpecBuilders, FailuresReportCodeDetailAndLocationsAndChangeNothing) {
  enum Start { kFresh, kFull, kNoColumn };
  const std::tuple<Start, Build, int, std::vector<int>, const char*> cases[] = {
      {kFresh, Grouping({}), 11910, {11610}, ""},
      {kFresh, Grouping({MakeField("Year", 0), MakeField("Bad", -1)}), 11930, {11615}, "-1"},
      {kFresh, Subset({}), 11910, {11630}, ""},
      {kFresh, Subset({MakePair("A", 1, 1), MakePair("B", -1, 2)}), 11930, {11635}, "-1"},
      {kFresh, EnumList({}), 11910, {11650}, ""},
      {kFresh, Edges({}), 11910, {11710}, ""},
      {kFresh, Bins(0), 11910, {11740}, ""},
      {kFull, Grouping({MakeField("Region", 5)}), 11900, {11600}, ""},
      {kFull, Subset({MakePair("A", 1, Variant(2))}), 11900, {11620}, ""},
      {kFull, EnumList({"c"}), 11900, {11640}, ""},
      {kFull, EnumSet({"c"}), 11900, {11670}, ""},
      {kFull, Edges({Variant(0), Variant(10)}), 11900, {11700}, ""},
      {kFull, Bins(3), 11900, {11730}, ""},
      // The distribution builders test the field's column as it stands.
      {kNoColumn, EnumList({"a"}), 10595, {10780, 11660}, "-1"},
      {kNoColumn, EnumSet({"a"}), 10595, {10800, 11690}, "-1"},
      {kNoColumn, Edges({Variant(1)}), 10595, {10860, 11720}, "-1"},
      {kNoColumn, Bins(2), 10595, {10840, 11750}, "-1"},
  };
  for (const auto& [start, build, code, locations, detail] : cases) {
    SCOPED_TRACE(locations.back());
    auto defn = start == kFull ? FullDefn() : std::make_unique<StatsDefn>();
    if (start == kFresh) defn->Initialize("Sales", MakeField("Amount", 4), StatsDefn::Histogram1);
    // The dump leaves out the names and fields of a spec that is not there.
    const auto state = [&defn] {
      return Dump(*defn, "") + defn->GetGroupingName() + defn->GetSubsetName() +
             std::to_string(defn->GetGroupingFieldCount() + defn->GetSubsetFieldCount());
    };
    const std::string before = state();
    const CriteriaSet* set = defn->GetEnumCriteriaSet();
    ExpectRefused(build(*defn), code, detail, locations);
    EXPECT_EQ(state(), before);
    EXPECT_EQ(defn->GetEnumCriteriaSet(), set);
  }
}

TEST_F(SpecBuilders, GroupingHasOneEmptyEqualTermPerField) {
  auto defn = FullDefn();
  Criteria* criteria = defn->GetGroupingCriteria();
  ASSERT_EQ(criteria->GetCriteriaCount(), 2);
  for (int i = 0; i < 2; ++i) {
    CriteriaTerm term;
    ASSERT_TRUE(criteria->GetCriteria(term, i));
    EXPECT_TRUE(term.column == i && term.op == Equal && term.value.IsEmpty()) << i;
  }
}

TEST_F(SpecBuilders, SubsetMatchesRecordsByTextEquivalentValues) {
  StatsDefn defn;
  ASSERT_TRUE(defn.CreateSubsetSpec(
      "Five", {MakePair("Qty", 2, Variant("5")), MakePair("Region", 5, Variant("North"))}));
  const Criteria* criteria = defn.GetSubsetCriteria();
  EXPECT_NE(criteria, defn.GetGroupingCriteria());
  EXPECT_TRUE(criteria->RecordMeetsCriteria(MapRecord({{2, Variant(5)}, {5, Variant("North")}})));
  EXPECT_FALSE(criteria->RecordMeetsCriteria(MapRecord({{2, Variant(6)}, {5, Variant("North")}})));
  EXPECT_FALSE(criteria->RecordMeetsCriteria(MapRecord({{2, Variant(5)}, {5, Variant("South")}})));
}

TEST_F(SpecBuilders, EnumSetMayBeEmptyWhereTheListMayNot) {
  StatsDefn defn("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
  ASSERT_TRUE(defn.CreateEnumSpec(std::set<std::string>{}));
  EXPECT_EQ(defn.GetEnumCriteriaSet()->GetCriteriaCount(), 0);
  defn.Initialize("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
  ASSERT_TRUE(defn.CreateEnumSpec(std::vector<std::string>{"South", "5"}));
  EXPECT_EQ(BinOf(defn, Variant(5)), 1);
}

TEST_F(SpecBuilders, HistogramsAreBuiltOnTheFieldsColumn) {
  StatsDefn range("Sales", MakeField("Amount", 4), StatsDefn::Histogram1);
  ASSERT_TRUE(range.CreateHistogramSpec(Variant(0), Variant(10), 3));
  EXPECT_EQ(range.GetEnumCriteriaSet()->GetCriteriaCount(), 5);
  EXPECT_EQ(BinOf(range, Variant(30)), 4);
  StatsDefn edged("Sales", MakeField("Amount", 4), StatsDefn::Histogram1);
  std::vector<Variant> edges{Variant(0), Variant(10), Variant(20)};
  ASSERT_TRUE(edged.CreateHistogramSpec(edges, UpperEdgeInclusive));
  EXPECT_EQ(edged.GetEnumCriteriaSet()->GetCriteriaCount(), 4);
  ASSERT_EQ(edges.size(), 3u);
  EXPECT_EQ(edges[2].ToString(), "20");
  EXPECT_EQ(BinOf(edged, Variant(10)), 1);
}

}  // namespace
}  // namespace stattree
