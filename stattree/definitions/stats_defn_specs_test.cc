#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/definitions/stats_defn_test_util.h"

namespace stattree {
namespace {

using testing_util::CurrentError;
using testing_util::MakeField;
using testing_util::MakePair;
using testing_util::StatsDefnTest;

constexpr int kCriteriaColumnError = 10595;  // the criteria's own column refusal

class OneRecord : public StatsRecord {
 public:
  explicit OneRecord(std::map<int, Variant> values) : values_(std::move(values)) {}
  bool GetValue(Variant& value, int colNum) const override {
    auto it = values_.find(colNum);
    if (it == values_.end()) return false;
    value = it->second;
    return true;
  }
  bool GetError(int&, int&, std::string&, bool&) const override { return false; }

 private:
  std::map<int, Variant> values_;
};

void ExpectError(int code, const std::vector<int>& locations, const std::string& detail = "") {
  const auto held = CurrentError();
  EXPECT_TRUE(held.set);
  EXPECT_EQ(held.code, code);
  EXPECT_EQ(held.locations, locations);
  if (!detail.empty()) {
    EXPECT_EQ(held.detail, detail);
  }
}

StatsDefn AmountDefn(StatsDefn::StatsType type) {
  return StatsDefn("Sales", MakeField("Amount", 4), type);
}

using GroupingSpec = StatsDefnTest;

TEST_F(GroupingSpec, StoresNameFieldsAndOneEmptyEqualTermPerField) {
  StatsDefn defn = AmountDefn(StatsDefn::Sum);
  ASSERT_TRUE(defn.CreateGroupingSpec("ByYear", {MakeField("Year", 0), MakeField("Month", 1)}));
  EXPECT_FALSE(CurrentError().set);
  EXPECT_EQ(defn.GetGroupingName(), "ByYear");
  EXPECT_EQ(defn.GetGroupingFieldCount(), 2);
  Criteria* criteria = defn.GetGroupingCriteria();
  EXPECT_NE(criteria, defn.GetSubsetCriteria());
  ASSERT_EQ(criteria->GetCriteriaType(), Criteria::kMultipleType);
  ASSERT_EQ(criteria->GetCriteriaCount(), 2);
  for (int i = 0; i < 2; ++i) {
    CriteriaTerm term;
    ASSERT_TRUE(criteria->GetCriteria(term, i));
    EXPECT_EQ(term.column, i);
    EXPECT_EQ(term.op, Equal);
    EXPECT_TRUE(term.value.IsEmpty());
  }
}

TEST_F(GroupingSpec, ColumnMinusOneLeavesNoSpecAndACorrectedCallSucceeds) {
  StatsDefn defn = AmountDefn(StatsDefn::Sum);
  Criteria* ownAlwaysPass = defn.GetGroupingCriteria();
  EXPECT_FALSE(defn.CreateGroupingSpec("ByYear", {MakeField("Year", 0), MakeField("Bad", -1)}));
  ExpectError(11930, {11615}, "-1");
  EXPECT_EQ(defn.GetGroupingCriteria(), ownAlwaysPass);
  EXPECT_EQ(defn.GetGroupingName(), "");
  EXPECT_EQ(defn.GetGroupingFieldCount(), 0);
  TheErrorManager().Clear();
  EXPECT_TRUE(defn.CreateGroupingSpec("ByYear", {MakeField("Year", 0), MakeField("Month", 1)}));
  EXPECT_EQ(defn.GetGroupingCriteria()->GetCriteriaCount(), 2);
}

TEST_F(GroupingSpec, SecondSpecIsRefusedAndTheFirstKept) {
  StatsDefn defn = AmountDefn(StatsDefn::Sum);
  ASSERT_TRUE(defn.CreateGroupingSpec("ByYear", {MakeField("Year", 0)}));
  Criteria* first = defn.GetGroupingCriteria();
  EXPECT_FALSE(defn.CreateGroupingSpec("ByRegion", {MakeField("Region", 5), MakeField("X", 6)}));
  ExpectError(11900, {11600});
  EXPECT_EQ(defn.GetGroupingCriteria(), first);
  EXPECT_EQ(defn.GetGroupingName(), "ByYear");
  EXPECT_EQ(defn.GetGroupingFieldCount(), 1);
  EXPECT_EQ(first->GetCriteriaCount(), 1);
}

TEST_F(GroupingSpec, EmptyFieldListIsRefused) {
  StatsDefn defn = AmountDefn(StatsDefn::Sum);
  EXPECT_FALSE(defn.CreateGroupingSpec("ByYear", {}));
  ExpectError(11910, {11610});
}

TEST_F(GroupingSpec, DoesNotDependOnTypeOrInitialization) {
  StatsDefn defn;
  EXPECT_TRUE(defn.CreateGroupingSpec("", {MakeField("", 3)}));
  EXPECT_EQ(defn.GetGroupingFieldCount(), 1);
}

using SubsetSpec = StatsDefnTest;

TEST_F(SubsetSpec, MatchesRecordsByTextEquivalentValues) {
  StatsDefn defn = AmountDefn(StatsDefn::Count);
  ASSERT_TRUE(defn.CreateSubsetSpec(
      "Five", {MakePair("Qty", 2, Variant("5")), MakePair("Region", 5, Variant("North"))}));
  EXPECT_EQ(defn.GetSubsetName(), "Five");
  EXPECT_EQ(defn.GetSubsetFieldCount(), 2);
  const Criteria* criteria = defn.GetSubsetCriteria();
  EXPECT_NE(criteria, defn.GetGroupingCriteria());
  EXPECT_TRUE(criteria->RecordMeetsCriteria(OneRecord({{2, Variant(5)}, {5, Variant("North")}})));
  EXPECT_FALSE(criteria->RecordMeetsCriteria(OneRecord({{2, Variant(6)}, {5, Variant("North")}})));
  EXPECT_FALSE(criteria->RecordMeetsCriteria(OneRecord({{2, Variant(5)}, {5, Variant("South")}})));
  EXPECT_FALSE(CurrentError().set);
}

TEST_F(SubsetSpec, FailuresCarryTheirOwnLocations) {
  StatsDefn defn = AmountDefn(StatsDefn::Count);
  Criteria* ownAlwaysPass = defn.GetSubsetCriteria();
  EXPECT_FALSE(defn.CreateSubsetSpec("S", {}));
  ExpectError(11910, {11630});
  TheErrorManager().Clear();
  EXPECT_FALSE(
      defn.CreateSubsetSpec("S", {MakePair("A", 1, Variant(1)), MakePair("B", -1, Variant(2))}));
  ExpectError(11930, {11635}, "-1");
  EXPECT_EQ(defn.GetSubsetCriteria(), ownAlwaysPass);
  EXPECT_EQ(defn.GetSubsetFieldCount(), 0);
  EXPECT_EQ(defn.GetSubsetName(), "");
  TheErrorManager().Clear();
  ASSERT_TRUE(defn.CreateSubsetSpec("S", {MakePair("A", 1, Variant(1))}));
  EXPECT_FALSE(defn.CreateSubsetSpec("T", {MakePair("A", 1, Variant(2))}));
  ExpectError(11900, {11620});
  EXPECT_EQ(defn.GetSubsetName(), "S");
}

using EnumSpec = StatsDefnTest;

TEST_F(EnumSpec, EmptyListIsRefusedButEmptySetIsAccepted) {
  StatsDefn defn = AmountDefn(StatsDefn::EnumCount);
  EXPECT_FALSE(defn.CreateEnumSpec(std::vector<std::string>{}));
  ExpectError(11910, {11650});
  EXPECT_EQ(defn.GetEnumCriteriaSet(), nullptr);
  TheErrorManager().Clear();
  EXPECT_TRUE(defn.CreateEnumSpec(std::set<std::string>{}));
  ASSERT_NE(defn.GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(defn.GetEnumCriteriaSet()->GetCriteriaCount(), 0);
}

TEST_F(EnumSpec, ColumnOfTheFieldAtCallTimeIsTested) {
  StatsDefn defn;
  EXPECT_FALSE(defn.CreateEnumSpec(std::vector<std::string>{"a"}));
  ExpectError(kCriteriaColumnError, {10780, 11660});
  EXPECT_EQ(defn.GetEnumCriteriaSet(), nullptr);
  TheErrorManager().Clear();
  EXPECT_FALSE(defn.CreateEnumSpec(std::set<std::string>{"a"}));
  ExpectError(kCriteriaColumnError, {10800, 11690});
  EXPECT_EQ(defn.GetEnumCriteriaSet(), nullptr);
  TheErrorManager().Clear();
  defn.Initialize("Sales", MakeField("Region", 5), StatsDefn::EnumCount);
  EXPECT_TRUE(defn.CreateEnumSpec(std::vector<std::string>{"North"}));
  int index = -2;
  ASSERT_TRUE(
      defn.GetEnumCriteriaSet()->RecordMeetsCriteria(index, OneRecord({{5, Variant("North")}})));
  EXPECT_EQ(index, 0);
}

TEST_F(EnumSpec, OnlyOneDistributionSpecPerDefinition) {
  StatsDefn defn = AmountDefn(StatsDefn::EnumCount);
  ASSERT_TRUE(defn.CreateEnumSpec(std::vector<std::string>{"a"}));
  const CriteriaSet* first = defn.GetEnumCriteriaSet();
  std::vector<Variant> edges{Variant(0), Variant(10)};
  const auto expectRefused = [&](bool result, int location) {
    EXPECT_FALSE(result);
    ExpectError(11900, {location});
    EXPECT_EQ(defn.GetEnumCriteriaSet(), first);
    TheErrorManager().Clear();
  };
  expectRefused(defn.CreateEnumSpec(std::vector<std::string>{"b"}), 11640);
  expectRefused(defn.CreateEnumSpec(std::set<std::string>{"b"}), 11670);
  expectRefused(defn.CreateHistogramSpec(edges, LowerEdgeInclusive), 11700);
  expectRefused(defn.CreateHistogramSpec(Variant(0), Variant(10), 3), 11730);
  EXPECT_EQ(first->GetCriteriaCount(), 1);
}

using HistogramSpec = StatsDefnTest;

TEST_F(HistogramSpec, RangeBuildsCountPlusTwoBinsOfTheGivenWidth) {
  StatsDefn defn = AmountDefn(StatsDefn::Histogram1);
  ASSERT_TRUE(defn.CreateHistogramSpec(Variant(0), Variant(10), 3));
  CriteriaSet* set = defn.GetEnumCriteriaSet();
  ASSERT_EQ(set->GetCriteriaCount(), 5);
  // The second value is a width: the third bin starts at 20, not at 2*hi.
  Variant lower;
  ASSERT_TRUE(set->GetCriteriaValue(lower, 3, 0));
  EXPECT_EQ(lower.ToString(), "20");
  int index = -1;
  ASSERT_TRUE(set->RecordMeetsCriteria(index, OneRecord({{4, Variant(30)}})));
  EXPECT_EQ(index, 4);
}

TEST_F(HistogramSpec, RangeRefusesBinCountsBelowOne) {
  StatsDefn defn = AmountDefn(StatsDefn::Histogram1);
  for (int count : {0, -3}) {
    EXPECT_FALSE(defn.CreateHistogramSpec(Variant(0), Variant(10), count));
    ExpectError(11910, {11740});
    EXPECT_EQ(defn.GetEnumCriteriaSet(), nullptr);
    TheErrorManager().Clear();
  }
}

TEST_F(HistogramSpec, EdgesBuildOneBinMoreThanEdgesAndStayUnchanged) {
  StatsDefn defn = AmountDefn(StatsDefn::Histogram1);
  std::vector<Variant> edges{Variant(0), Variant(10), Variant(20)};
  ASSERT_TRUE(defn.CreateHistogramSpec(edges, UpperEdgeInclusive));
  EXPECT_EQ(defn.GetEnumCriteriaSet()->GetCriteriaCount(), 4);
  ASSERT_EQ(edges.size(), 3u);
  EXPECT_EQ(edges[2].ToString(), "20");
  int index = -1;
  ASSERT_TRUE(defn.GetEnumCriteriaSet()->RecordMeetsCriteria(index, OneRecord({{4, Variant(10)}})));
  EXPECT_EQ(index, 1);
}

TEST_F(HistogramSpec, RefusalsCarryTheDefinitionsLocation) {
  StatsDefn defn = AmountDefn(StatsDefn::Histogram1);
  std::vector<Variant> none;
  EXPECT_FALSE(defn.CreateHistogramSpec(none, LowerEdgeInclusive));
  ExpectError(11910, {11710});
  TheErrorManager().Clear();

  StatsDefn noColumn;
  std::vector<Variant> edges{Variant(1)};
  EXPECT_FALSE(noColumn.CreateHistogramSpec(edges, LowerEdgeInclusive));
  ExpectError(kCriteriaColumnError, {10860, 11720});
  TheErrorManager().Clear();
  EXPECT_FALSE(noColumn.CreateHistogramSpec(Variant(0), Variant(1), 2));
  ExpectError(kCriteriaColumnError, {10840, 11750});
  EXPECT_EQ(noColumn.GetEnumCriteriaSet(), nullptr);
}

}  // namespace
}  // namespace stattree
