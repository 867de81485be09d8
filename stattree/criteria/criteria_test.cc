#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria_test_util.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/criteria/range_criteria.h"
#include "stattree/criteria/single_criteria.h"

namespace stattree {
namespace testing {
namespace {

using Describe = MapRecord::Describe;

class CriteriaOperators : public CriteriaTest {};
class CriteriaTerms : public CriteriaTest {};
class CriteriaReadFailure : public CriteriaTest {};
class CriteriaIndexing : public CriteriaTest {};
class CriteriaOrdering : public CriteriaTest {};
class CriteriaDumps : public CriteriaTest {};

SingleCriteria Single(CriteriaOperator op, const Variant& value, int column = 3) {
  SingleCriteria single;
  single.AddNewCriteria(Term(column, op, value));
  return single;
}

RangeCriteria Range(CriteriaOperator lowerOp, const Variant& lower, CriteriaOperator upperOp,
                    const Variant& upper) {
  RangeCriteria range;
  range.AddNewCriteria(Term(3, lowerOp, lower));
  range.AddNewCriteria(Term(3, upperOp, upper));
  return range;
}

// One "=" term per value, on columns 5, 6, ...
MultipleCriteria Multiple(const std::vector<Variant>& values) {
  MultipleCriteria multiple;
  int column = 5;
  for (const Variant& value : values) multiple.AddNewCriteria(Term(column++, Equal, value));
  return multiple;
}

bool Meets(CriteriaOperator op, const Variant& stored, const Variant& value) {
  return Single(op, stored).RecordMeetsCriteria(MapRecord({{3, value}}));
}

TEST_F(CriteriaOperators, EqualIsTextEquivalenceAndNotEqualItsNegation) {
  EXPECT_TRUE(Meets(Equal, Variant("5"), Variant(5)));
  EXPECT_TRUE(Meets(Equal, Variant(5), Variant(5.0)));
  EXPECT_FALSE(Meets(Equal, Variant("North"), Variant("north")));
  for (const Variant& value : {Variant(5), Variant("5"), Variant(6), Variant("x"), Variant()}) {
    EXPECT_NE(Meets(Equal, Variant("5"), value), Meets(NotEqual, Variant("5"), value));
  }
  ExpectNoError();
}

TEST_F(CriteriaOperators, OrderingsPutTheRecordValueOnTheLeft) {
  EXPECT_TRUE(Meets(Less, Variant(20), Variant(19.5)));
  EXPECT_FALSE(Meets(Less, Variant(20), Variant(20)));
  EXPECT_TRUE(Meets(Greater, Variant(20), Variant(21)));
  EXPECT_FALSE(Meets(Greater, Variant(20), Variant(20)));
  EXPECT_TRUE(Meets(LessEqual, Variant(20), Variant(20)));
  EXPECT_FALSE(Meets(LessEqual, Variant(20), Variant(21)));
  EXPECT_TRUE(Meets(GreaterEqual, Variant(20), Variant(20)));
  EXPECT_FALSE(Meets(GreaterEqual, Variant(20), Variant(19)));
  EXPECT_FALSE(Meets(static_cast<CriteriaOperator>(6), Variant(1), Variant(1)));
  ExpectNoError();
}

TEST_F(CriteriaOperators, RangeMeetsFromTheLowerEdgeUpToTheUpperEdge) {
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  EXPECT_TRUE(range.RecordMeetsCriteria(MapRecord({{3, Variant(10)}})));
  EXPECT_TRUE(range.RecordMeetsCriteria(MapRecord({{3, Variant(19.5)}})));
  EXPECT_FALSE(range.RecordMeetsCriteria(MapRecord({{3, Variant(20)}})));
  EXPECT_FALSE(range.RecordMeetsCriteria(MapRecord({{3, Variant(9)}})));
  ExpectNoError();
}

TEST_F(CriteriaOperators, TermsStopAtTheFirstThatFails) {
  RangeCriteria range;
  range.AddNewCriteria(Term(3, GreaterEqual, Variant(10)));
  range.AddNewCriteria(Term(8, Less, Variant(20)));  // column 8 can't be read
  MapRecord low({{3, Variant(5)}});
  EXPECT_FALSE(range.RecordMeetsCriteria(low));
  EXPECT_EQ(low.readColumns, std::vector<int>{3});

  MultipleCriteria multiple = Multiple({Variant("North"), Variant(2004)});
  EXPECT_TRUE(multiple.RecordMeetsCriteria(MapRecord({{5, "North"}, {6, 2004}})));
  EXPECT_FALSE(multiple.RecordMeetsCriteria(MapRecord({{5, "North"}, {6, 2005}})));
  MapRecord south({{5, Variant("South")}});
  EXPECT_FALSE(multiple.RecordMeetsCriteria(south));
  EXPECT_EQ(south.readColumns, std::vector<int>{5});
  EXPECT_TRUE(MultipleCriteria().RecordMeetsCriteria(MapRecord()));
  EXPECT_TRUE(AlwaysPassCriteria().RecordMeetsCriteria(MapRecord()));
  ExpectNoError();
}

TEST_F(CriteriaTerms, TermsWithoutColumnAreRefused) {
  SingleCriteria single;
  EXPECT_FALSE(single.AddNewCriteria(Term(-1, Equal, Variant(1))));
  ExpectError(10595, "-1", {10615});
  EXPECT_FALSE(single.RecordMeetsCriteria(MapRecord({{-1, Variant(1)}})));
  ExpectError(10595, "-1", {10600, 10640});
  EXPECT_FALSE(single.SetValuesFromRecord(MapRecord({{-1, Variant(1)}})));
  ExpectError(10595, "-1", {10620});
  EXPECT_FALSE(RangeCriteria().AddNewCriteria(Term(-1, Less, Variant(1))));
  ExpectError(10595, "-1", {10675});
  MultipleCriteria multiple;
  EXPECT_FALSE(multiple.AddNewCriteria(Term(-1, Equal, Variant(1))));
  ExpectError(10595, "-1", {10715});
  EXPECT_EQ(multiple.GetCriteriaCount(), 0);
}

TEST_F(CriteriaTerms, SingleAndRangeCannotBeReconfigured) {
  SingleCriteria single = Single(Less, Variant(10));
  EXPECT_FALSE(single.AddNewCriteria(Term(4, Equal, Variant(99))));
  ExpectError(10618, "", {});
  std::string text;
  ASSERT_TRUE(single.GetCriteriaText(text, 0, true));
  EXPECT_EQ(text, "<10");

  // The first term is the lower one whatever its operator.
  RangeCriteria range = Range(Less, Variant(20), GreaterEqual, Variant(10));
  EXPECT_FALSE(range.AddNewCriteria(Term(3, Equal, Variant(1))));
  ExpectError(10678, "", {});
  ASSERT_TRUE(range.GetCriteriaText(text, 0, true));
  EXPECT_EQ(text, "<20");
  ASSERT_TRUE(range.GetCriteriaText(text, 1, true));
  EXPECT_EQ(text, ">=10");

  AlwaysPassCriteria always;
  EXPECT_FALSE(always.AddNewCriteria(Term(3, Equal, Variant(1))));
  ExpectNoError();
}

TEST_F(CriteriaTerms, ValuesComeFromARecord) {
  SingleCriteria single = Single(Equal, Variant());
  ASSERT_TRUE(single.SetValuesFromRecord(MapRecord({{3, Variant(2004)}})));
  EXPECT_TRUE(single.RecordMeetsCriteria(MapRecord({{3, Variant("2004")}})));

  MultipleCriteria multiple = Multiple({Variant(), Variant("old")});
  EXPECT_FALSE(multiple.SetValuesFromRecord(MapRecord({{5, "North"}}, Describe::LeavePresets)));
  ExpectError(0, "", {10730});
  std::ostringstream kept;
  multiple.DumpCriteriaValue(kept, nullptr);
  EXPECT_EQ(kept.str(), "North AND old");

  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  EXPECT_TRUE(range.SetValuesFromRecord(MapRecord({{3, Variant(99)}})));
  EXPECT_TRUE(range.RecordMeetsCriteria(MapRecord({{3, Variant(10)}})));
  EXPECT_TRUE(AlwaysPassCriteria().SetValuesFromRecord(MapRecord()));
  ExpectNoError();
}

TEST_F(CriteriaTerms, CloneIsIndependentAndOfTheSameKind) {
  MultipleCriteria multiple = Multiple({Variant("North"), Variant(2004)});
  std::unique_ptr<Criteria> clone(multiple.Clone());
  EXPECT_EQ(clone->GetCriteriaType(), Criteria::kMultipleType);
  ASSERT_TRUE(multiple.SetValuesFromRecord(MapRecord({{5, "South"}, {6, 2010}})));
  EXPECT_TRUE(clone->RecordMeetsCriteria(MapRecord({{5, "North"}, {6, 2004}})));
  EXPECT_EQ(std::unique_ptr<Criteria>(Range(Less, 1, Less, 2).Clone())->GetCriteriaType(), 1);
  EXPECT_EQ(std::unique_ptr<Criteria>(Single(Less, 1).Clone())->GetCriteriaType(), 0);
  EXPECT_EQ(std::unique_ptr<Criteria>(AlwaysPassCriteria().Clone())->GetCriteriaType(), 3);
}

TEST_F(CriteriaReadFailure, DecliningRecordKeepsTheHeldErrorAndAddsLocations) {
  TheErrorManager().Set(10020);
  EXPECT_FALSE(Single(Equal, "x").RecordMeetsCriteria(MapRecord()));
  ExpectError(10020, "", {10610, 10640});
  // With nothing held the failed read looks like a plain mismatch.
  EXPECT_FALSE(Single(Equal, "x").RecordMeetsCriteria(MapRecord()));
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(Locations(), std::vector<int>{10610});
}

TEST_F(CriteriaReadFailure, UntouchedDescriptionGivesTheCriteriaPresets) {
  SingleCriteria single = Single(Equal, "x");
  EXPECT_FALSE(single.SetValuesFromRecord(MapRecord({}, Describe::LeavePresets)));
  int code = -1;
  int second = -1;
  std::string message;
  bool flag = false;
  ASSERT_TRUE(TheErrorManager().Get(code, second, message, flag));
  EXPECT_EQ(code, 0);
  EXPECT_EQ(second, 90000);
  EXPECT_EQ(message, "RecordError");
  EXPECT_TRUE(flag);
  EXPECT_EQ(Locations(), std::vector<int>{10630});
}

TEST_F(CriteriaReadFailure, EachKindAddsItsLocationToTheRecordsError) {
  const MapRecord record({}, Describe::Fill);
  SingleCriteria single = Single(Equal, "x");
  RangeCriteria range = Range(GreaterEqual, 10, Less, 20);
  MultipleCriteria multiple = Multiple({Variant("North")});
  const std::vector<std::pair<const Criteria*, int>> cases = {
      {&single, 10640}, {&range, 10680}, {&multiple, 10740}};
  for (const auto& [criteria, location] : cases) {
    EXPECT_FALSE(criteria->RecordMeetsCriteria(record));
    int code = 0;
    int second = 0;
    std::string message;
    bool flag = true;
    ASSERT_TRUE(TheErrorManager().Get(code, second, message, flag));
    EXPECT_EQ(second, 3);
    EXPECT_EQ(message, "column gone");
    EXPECT_FALSE(flag);
    ExpectError(4711, "", {10610, location});
  }
}

TEST_F(CriteriaIndexing, TextsOfTerms) {
  std::string text;
  ASSERT_TRUE(Single(Equal, "North").GetCriteriaText(text, 0, true));
  EXPECT_EQ(text, "=North");
  ASSERT_TRUE(Single(Equal, "North").GetCriteriaText(text, 0, false));
  EXPECT_EQ(text, "North");
  ASSERT_TRUE(Range(GreaterEqual, 10, Less, 20).GetCriteriaText(text, 1, true));
  EXPECT_EQ(text, "<20");
  text = "stale";
  EXPECT_TRUE(AlwaysPassCriteria().GetCriteriaText(text, 7, true));
  EXPECT_EQ(text, "");
  Variant value;
  CriteriaTerm term;
  EXPECT_FALSE(AlwaysPassCriteria().GetCriteriaValue(value, 0));
  EXPECT_FALSE(AlwaysPassCriteria().GetCriteria(term, 0));
  ExpectNoError();
}

TEST_F(CriteriaIndexing, BadIndexesReportIndexCountAndTheirLocation) {
  SingleCriteria single = Single(Equal, 1);
  RangeCriteria range = Range(GreaterEqual, 10, Less, 20);
  MultipleCriteria multiple = Multiple({Variant(1), Variant(2), Variant(3)});
  struct Case {
    const Criteria* criteria;
    int index;
    const char* detail;
    int valueLocation, textLocation, termLocation;
  };
  for (const Case& c :
       {Case{&single, 1, "1,1", 10650, 10660, 10670},
        Case{&single, -1, "-1,1", 10650, 10660, 10670}, Case{&range, 2, "2,2", 10690, 10700, 10710},
        Case{&multiple, 3, "3,3", 10750, 10760, 10770}}) {
    Variant value;
    std::string text;
    CriteriaTerm term;
    EXPECT_FALSE(c.criteria->GetCriteriaValue(value, c.index));
    ExpectError(10645, c.detail, {c.valueLocation});
    EXPECT_FALSE(c.criteria->GetCriteriaText(text, c.index, true));
    ExpectError(10645, c.detail, {c.textLocation});
    EXPECT_FALSE(c.criteria->GetCriteria(term, c.index));
    ExpectError(10645, c.detail, {c.termLocation});
  }
}

TEST_F(CriteriaOrdering, SameKindsOrderByValueOtherKindsNever) {
  SingleCriteria three = Single(Equal, 3);
  SingleCriteria five = Single(Equal, 5, 9);
  EXPECT_TRUE(three.IsLessThan(&five));
  EXPECT_FALSE(five.IsLessThan(&three));
  EXPECT_FALSE(five.IsLessThan(&five));
  EXPECT_FALSE(five.IsLessThan(nullptr));
  RangeCriteria low = Range(GreaterEqual, 0, Less, 100);
  RangeCriteria high = Range(GreaterEqual, 10, Less, 20);
  EXPECT_TRUE(low.IsLessThan(&high));
  EXPECT_FALSE(high.IsLessThan(&low));
  MultipleCriteria multiple = Multiple({Variant(100)});
  AlwaysPassCriteria always;
  EXPECT_FALSE(five.IsLessThan(&high));
  EXPECT_FALSE(low.IsLessThan(&five));
  EXPECT_FALSE(five.IsLessThan(&multiple));
  EXPECT_FALSE(multiple.IsLessThan(&high));
  EXPECT_FALSE(always.IsLessThan(&five));
}

TEST_F(CriteriaOrdering, MultipleComparesUpToTheShorterTermList) {
  MultipleCriteria north2004 = Multiple({Variant("North"), Variant(2004)});
  MultipleCriteria north2005 = Multiple({Variant("North"), Variant(2005)});
  MultipleCriteria north = Multiple({Variant("North")});
  EXPECT_TRUE(north2004.IsLessThan(&north2005));
  EXPECT_FALSE(north2005.IsLessThan(&north2004));
  EXPECT_FALSE(north.IsLessThan(&north2005));
  EXPECT_FALSE(north2005.IsLessThan(&north));
  EXPECT_FALSE(MultipleCriteria().IsLessThan(&north));
  EXPECT_FALSE(north2004.IsLessThan(&north2004));
}

TEST_F(CriteriaOrdering, SortsGroupingCombinations) {
  std::vector<MultipleCriteria> combos = {Multiple({"South", 2004}), Multiple({"North", 2005}),
                                          Multiple({"North", 2004}), Multiple({"East", 2010})};
  std::sort(combos.begin(), combos.end(),
            [](const MultipleCriteria& a, const MultipleCriteria& b) { return a.IsLessThan(&b); });
  std::ostringstream order;
  for (const MultipleCriteria& combo : combos) combo.DumpCriteriaValue(order, "|");
  EXPECT_EQ(order.str(), "|East AND 2010|North AND 2004|North AND 2005|South AND 2004");
}

TEST_F(CriteriaDumps, ObjectAndValueTexts) {
  RangeCriteria columns;
  columns.AddNewCriteria(Term(3, Greater, 1));
  columns.AddNewCriteria(Term(9, LessEqual, 2));
  struct Case {
    std::unique_ptr<Criteria> criteria;
    const char* object;
    const char* value;
  };
  Case cases[] = {
      {std::make_unique<SingleCriteria>(Single(Equal, "North")), "Col 3 = North", "North"},
      {std::make_unique<SingleCriteria>(), "INVALID COLUMN = ???", ""},
      {std::make_unique<SingleCriteria>(Single(LessEqual, "", 0)), "Col 0 <= ???", ""},
      {std::make_unique<SingleCriteria>(Single(static_cast<CriteriaOperator>(9), 1)), "Col 3  1",
       "1"},
      {std::make_unique<RangeCriteria>(Range(GreaterEqual, 10, Less, 20)), "10 >= Col 3 < 20",
       "[10* - 20]"},
      {std::make_unique<RangeCriteria>(columns), "1 > Col 3 <= 2", "[1 - 2*]"},
      {std::make_unique<RangeCriteria>(Range(GreaterEqual, Variant(), Less, 10)),
       "??? >= Col 3 < 10", "[* - 10]"},
      {std::make_unique<RangeCriteria>(Range(GreaterEqual, 30, Less, Variant())),
       "30 >= Col 3 < ???", "[30* - ]"},
      {std::make_unique<RangeCriteria>(), "??? = INVALID COLUMN = ???", "[ - ]"},
      {std::make_unique<MultipleCriteria>(Multiple({"North", 2004})),
       "(Col 5  = North) AND (Col 6  = 2004)", "North AND 2004"},
      {std::make_unique<MultipleCriteria>(Multiple({"North", Variant()})),
       "(Col 5  = North) AND (Col 6  = ?\?\?)", "North AND "},
      {std::make_unique<MultipleCriteria>(), "", ""},
      {std::make_unique<AlwaysPassCriteria>(), "Col ??? = any value", "all_values"},
  };
  for (const Case& c : cases) {
    for (const char* indent : {static_cast<const char*>(nullptr), "\t> "}) {
      const std::string lead = indent != nullptr ? indent : "";
      std::ostringstream object;
      c.criteria->DumpObject(object, indent);
      EXPECT_EQ(object.str(), lead + c.object);
      std::ostringstream value;
      c.criteria->DumpCriteriaValue(value, indent);
      EXPECT_EQ(value.str(), lead + c.value);
    }
  }
}

}  // namespace
}  // namespace testing
}  // namespace stattree
