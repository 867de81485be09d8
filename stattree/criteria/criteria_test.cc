#include <algorithm>
#include <memory>
#include <string>

#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria_test_util.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/criteria/range_criteria.h"
#include "stattree/criteria/single_criteria.h"

namespace stattree {
namespace testing {
namespace {

class CriteriaOperators : public CriteriaTest {};
class CriteriaReadFailure : public CriteriaTest {};
class SingleCriteriaTest : public CriteriaTest {};
class RangeCriteriaTest : public CriteriaTest {};
class MultipleCriteriaTest : public CriteriaTest {};
class AlwaysPassCriteriaTest : public CriteriaTest {};
class CriteriaOrdering : public CriteriaTest {};
class CriteriaDumps : public CriteriaTest {};

bool Meets(CriteriaOperator op, const Variant& stored, const Variant& recordValue) {
  SingleCriteria single;
  single.AddNewCriteria(Term(2, op, stored));
  return single.RecordMeetsCriteria(RecordWith(2, recordValue));
}

MultipleCriteria Multiple(const std::vector<Variant>& values) {
  MultipleCriteria multiple;
  int column = 5;
  for (const Variant& value : values) multiple.AddNewCriteria(Term(column++, Equal, value));
  return multiple;
}

RangeCriteria Range(CriteriaOperator lowerOp, const Variant& lower, CriteriaOperator upperOp,
                    const Variant& upper, int column = 3) {
  RangeCriteria range;
  range.AddNewCriteria(Term(column, lowerOp, lower));
  range.AddNewCriteria(Term(column, upperOp, upper));
  return range;
}

TEST_F(CriteriaOperators, EqualIsDecidedByTextEquivalence) {
  EXPECT_TRUE(Meets(Equal, Variant("5"), Variant(5)));
  EXPECT_TRUE(Meets(Equal, Variant(5), Variant("5")));
  EXPECT_TRUE(Meets(Equal, Variant(5), Variant(5.0)));
  EXPECT_FALSE(Meets(Equal, Variant("North"), Variant("north")));
  ExpectNoError();
}

TEST_F(CriteriaOperators, NotEqualIsTheNegationOfEqualForReadableValues) {
  const Variant stored("5");
  for (const Variant& value : {Variant(5), Variant("5"), Variant(6), Variant("x"), Variant()}) {
    EXPECT_NE(Meets(Equal, stored, value), Meets(NotEqual, stored, value)) << std::string(value);
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
  ExpectNoError();
}

TEST_F(CriteriaOperators, UnknownOperatorFailsTheTestWithoutError) {
  EXPECT_FALSE(Meets(static_cast<CriteriaOperator>(6), Variant(1), Variant(1)));
  EXPECT_FALSE(Meets(static_cast<CriteriaOperator>(-1), Variant(1), Variant(1)));
  ExpectNoError();
}

TEST_F(CriteriaOperators, OperatorTexts) {
  EXPECT_STREQ(Criteria::GetOperatorText(Equal), "=");
  EXPECT_STREQ(Criteria::GetOperatorText(NotEqual), "<>");
  EXPECT_STREQ(Criteria::GetOperatorText(Less), "<");
  EXPECT_STREQ(Criteria::GetOperatorText(Greater), ">");
  EXPECT_STREQ(Criteria::GetOperatorText(LessEqual), "<=");
  EXPECT_STREQ(Criteria::GetOperatorText(GreaterEqual), ">=");
  EXPECT_STREQ(Criteria::GetOperatorText(6), "");
  EXPECT_STREQ(Criteria::GetOperatorText(-1), "");
}

TEST_F(CriteriaOperators, ErrorRoutinesSetTheirCodesAndReturnFalse) {
  EXPECT_FALSE(Criteria::InvalidColumnError(12345, -7));
  ExpectError(10595, "-7", {12345});
  EXPECT_FALSE(Criteria::InvalidIndexError(12346, 5, 3));
  ExpectError(10645, "5,3", {12346});
}

TEST_F(CriteriaReadFailure, DecliningRecordKeepsThePreviousErrorAndGainsLocations) {
  TheErrorManager().Set(10020);
  SingleCriteria single;
  single.AddNewCriteria(Term(3, Equal, Variant("x")));
  MapRecord record;  // column 3 unreadable, GetError declines
  EXPECT_FALSE(single.RecordMeetsCriteria(record));
  ExpectError(10020, "", {10610, 10640});
}

TEST_F(CriteriaReadFailure, UntouchedDescriptionUsesTheCriteriaPresets) {
  SingleCriteria single;
  single.AddNewCriteria(Term(3, Equal, Variant("x")));
  MapRecord record;
  record.describe = MapRecord::Describe::LeavePresets;
  EXPECT_FALSE(single.RecordMeetsCriteria(record));
  int code = -1;
  int second = -1;
  std::string message;
  bool flag = false;
  ASSERT_TRUE(TheErrorManager().Get(code, second, message, flag));
  EXPECT_EQ(code, 0);
  EXPECT_EQ(second, 90000);
  EXPECT_EQ(message, "RecordError");
  EXPECT_TRUE(flag);
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10640}));
}

TEST_F(CriteriaReadFailure, RecordDescriptionIsTakenAsIs) {
  MultipleCriteria multiple = Multiple({Variant("North")});
  MapRecord record;
  record.describe = MapRecord::Describe::Fill;
  EXPECT_FALSE(multiple.RecordMeetsCriteria(record));
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = true;
  ASSERT_TRUE(TheErrorManager().Get(code, second, message, flag));
  EXPECT_EQ(code, 4711);
  EXPECT_EQ(second, 3);
  EXPECT_EQ(message, "column gone");
  EXPECT_FALSE(flag);
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10740}));
}

TEST_F(CriteriaReadFailure, RangeAddsItsLocation) {
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  MapRecord record;
  record.describe = MapRecord::Describe::LeavePresets;
  EXPECT_FALSE(range.RecordMeetsCriteria(record));
  ExpectError(0, "", {10610, 10680});
}

TEST_F(CriteriaReadFailure, DecliningRecordWithNoHeldErrorLooksLikeAMismatch) {
  SingleCriteria single;
  single.AddNewCriteria(Term(3, Equal, Variant("x")));
  EXPECT_FALSE(single.RecordMeetsCriteria(MapRecord()));
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(Locations(), std::vector<int>{10610});
}

TEST_F(CriteriaReadFailure, AnOlderHeldErrorMakesAPlainMismatchAddALocation) {
  TheErrorManager().Set(10020);
  SingleCriteria single;
  single.AddNewCriteria(Term(3, Equal, Variant("x")));
  EXPECT_FALSE(single.RecordMeetsCriteria(RecordWith(3, Variant("y"))));
  ExpectError(10020, "", {10640});
}

TEST_F(SingleCriteriaTest, TestsItsTermAndSetsNoErrorOnMismatch) {
  SingleCriteria single;
  ASSERT_TRUE(single.AddNewCriteria(Term(3, Equal, Variant("North"))));
  EXPECT_TRUE(single.RecordMeetsCriteria(RecordWith(3, Variant("North"))));
  EXPECT_FALSE(single.RecordMeetsCriteria(RecordWith(3, Variant("South"))));
  ExpectNoError();
}

TEST_F(SingleCriteriaTest, RefusesATermWithoutColumn) {
  SingleCriteria single;
  EXPECT_FALSE(single.AddNewCriteria(Term(-1, Equal, Variant("x"))));
  ExpectError(10595, "-1", {10615});
  CriteriaTerm term;
  ASSERT_TRUE(single.GetCriteria(term, 0));
  EXPECT_EQ(term.column, -1);
}

TEST_F(SingleCriteriaTest, SecondTermIsRefusedAndLeavesItUnchanged) {
  SingleCriteria single;
  ASSERT_TRUE(single.AddNewCriteria(Term(3, Less, Variant(10))));
  EXPECT_FALSE(single.AddNewCriteria(Term(4, Equal, Variant(99))));
  ExpectError(10618, "", {});
  CriteriaTerm term;
  ASSERT_TRUE(single.GetCriteria(term, 0));
  EXPECT_EQ(term.column, 3);
  EXPECT_EQ(term.op, Less);
  EXPECT_EQ(std::string(term.value), "10");
}

TEST_F(SingleCriteriaTest, UnsetTermFailsToEvaluateWithColumnError) {
  SingleCriteria single;
  MapRecord record = RecordWith(-1, Variant(1));
  EXPECT_FALSE(single.RecordMeetsCriteria(record));
  ExpectError(10595, "-1", {10600, 10640});
  EXPECT_TRUE(record.readColumns.empty());
}

TEST_F(SingleCriteriaTest, TakesItsValueFromARecord) {
  SingleCriteria single;
  single.AddNewCriteria(Term(2, Equal, Variant()));
  ASSERT_TRUE(single.SetValuesFromRecord(RecordWith(2, Variant(2004))));
  EXPECT_TRUE(single.RecordMeetsCriteria(RecordWith(2, Variant("2004"))));
  Variant value;
  ASSERT_TRUE(single.GetCriteriaValue(value, 0));
  EXPECT_EQ(std::string(value), "2004");

  MapRecord unreadable;
  unreadable.describe = MapRecord::Describe::LeavePresets;
  EXPECT_FALSE(single.SetValuesFromRecord(unreadable));
  ExpectError(0, "", {10630});
  ASSERT_TRUE(single.GetCriteriaValue(value, 0));
  EXPECT_EQ(std::string(value), "2004");
}

TEST_F(SingleCriteriaTest, SetValuesWithoutColumnFails) {
  SingleCriteria single;
  EXPECT_FALSE(single.SetValuesFromRecord(RecordWith(-1, Variant(1))));
  ExpectError(10595, "-1", {10620});
}

TEST_F(SingleCriteriaTest, TextsAndIndexErrors) {
  SingleCriteria single;
  single.AddNewCriteria(Term(3, Equal, Variant("North")));
  std::string text;
  ASSERT_TRUE(single.GetCriteriaText(text, 0, true));
  EXPECT_EQ(text, "=North");
  ASSERT_TRUE(single.GetCriteriaText(text, 0, false));
  EXPECT_EQ(text, "North");
  EXPECT_EQ(single.GetCriteriaCount(), 1);
  ExpectNoError();

  Variant value;
  EXPECT_FALSE(single.GetCriteriaValue(value, 1));
  ExpectError(10645, "1,1", {10650});
  EXPECT_FALSE(single.GetCriteriaText(text, -1, false));
  ExpectError(10645, "-1,1", {10660});
  CriteriaTerm term;
  EXPECT_FALSE(single.GetCriteria(term, 2));
  ExpectError(10645, "2,1", {10670});
}

TEST_F(RangeCriteriaTest, MeetsFromTheLowerEdgeUpToTheUpperEdge) {
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  EXPECT_TRUE(range.RecordMeetsCriteria(RecordWith(3, Variant(10))));
  EXPECT_TRUE(range.RecordMeetsCriteria(RecordWith(3, Variant(19.5))));
  EXPECT_FALSE(range.RecordMeetsCriteria(RecordWith(3, Variant(20))));
  EXPECT_FALSE(range.RecordMeetsCriteria(RecordWith(3, Variant(9))));
  ExpectNoError();
}

TEST_F(RangeCriteriaTest, TermsFillLowerThenUpperWhateverTheirOperators) {
  RangeCriteria range;
  ASSERT_TRUE(range.AddNewCriteria(Term(3, Less, Variant(20))));
  ASSERT_TRUE(range.AddNewCriteria(Term(3, GreaterEqual, Variant(10))));
  CriteriaTerm lower;
  ASSERT_TRUE(range.GetCriteria(lower, 0));
  EXPECT_EQ(lower.op, Less);
  EXPECT_FALSE(range.AddNewCriteria(Term(3, Equal, Variant(1))));
  ExpectError(10678, "", {});
  CriteriaTerm upper;
  ASSERT_TRUE(range.GetCriteria(upper, 1));
  EXPECT_EQ(upper.op, GreaterEqual);
  EXPECT_EQ(std::string(upper.value), "10");
}

TEST_F(RangeCriteriaTest, RefusesATermWithoutColumn) {
  RangeCriteria range;
  EXPECT_FALSE(range.AddNewCriteria(Term(-1, Less, Variant(1))));
  ExpectError(10595, "-1", {10675});
}

TEST_F(RangeCriteriaTest, UpperTermIsNotReadWhenTheLowerFails) {
  RangeCriteria range;
  range.AddNewCriteria(Term(3, GreaterEqual, Variant(10)));
  range.AddNewCriteria(Term(8, Less, Variant(20)));  // column 8 can't be read
  MapRecord record = RecordWith(3, Variant(5));
  EXPECT_FALSE(range.RecordMeetsCriteria(record));
  ExpectNoError();
  EXPECT_EQ(record.readColumns, std::vector<int>{3});
}

TEST_F(RangeCriteriaTest, SetValuesFromRecordKeepsTheBounds) {
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  EXPECT_TRUE(range.SetValuesFromRecord(MapRecord()));
  Variant value;
  ASSERT_TRUE(range.GetCriteriaValue(value, 1));
  EXPECT_EQ(std::string(value), "20");
  ExpectNoError();
}

TEST_F(RangeCriteriaTest, TextsAndIndexErrors) {
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  std::string text;
  ASSERT_TRUE(range.GetCriteriaText(text, 1, true));
  EXPECT_EQ(text, "<20");
  ASSERT_TRUE(range.GetCriteriaText(text, 0, true));
  EXPECT_EQ(text, ">=10");
  EXPECT_EQ(range.GetCriteriaCount(), 2);

  EXPECT_FALSE(range.GetCriteriaText(text, 2, true));
  ExpectError(10645, "2,2", {10700});
  Variant value;
  EXPECT_FALSE(range.GetCriteriaValue(value, -1));
  ExpectError(10645, "-1,2", {10690});
  CriteriaTerm term;
  EXPECT_FALSE(range.GetCriteria(term, 2));
  ExpectError(10645, "2,2", {10710});
}

TEST_F(MultipleCriteriaTest, WithoutTermsEveryRecordMeetsIt) {
  MultipleCriteria multiple;
  EXPECT_TRUE(multiple.RecordMeetsCriteria(MapRecord()));
  EXPECT_EQ(Dump(multiple, "  "), "  ");
  EXPECT_EQ(DumpValue(multiple), "");
  ExpectNoError();
}

TEST_F(MultipleCriteriaTest, JoinsTermsByAndAndStopsAtTheFirstFailure) {
  MultipleCriteria multiple;
  multiple.AddNewCriteria(Term(5, Equal, Variant("North")));
  multiple.AddNewCriteria(Term(7, Equal, Variant(2004)));
  MapRecord both;
  both.Set(5, Variant("North")).Set(7, Variant(2004));
  EXPECT_TRUE(multiple.RecordMeetsCriteria(both));
  MapRecord wrongYear;
  wrongYear.Set(5, Variant("North")).Set(7, Variant(2005));
  EXPECT_FALSE(multiple.RecordMeetsCriteria(wrongYear));
  MapRecord south = RecordWith(5, Variant("South"));  // column 7 unreadable
  EXPECT_FALSE(multiple.RecordMeetsCriteria(south));
  EXPECT_EQ(south.readColumns, std::vector<int>{5});
  ExpectNoError();
}

TEST_F(MultipleCriteriaTest, RefusesATermWithoutColumn) {
  MultipleCriteria multiple;
  EXPECT_FALSE(multiple.AddNewCriteria(Term(-1, Equal, Variant(1))));
  ExpectError(10595, "-1", {10715});
  EXPECT_EQ(multiple.GetCriteriaCount(), 0);
}

TEST_F(MultipleCriteriaTest, SetValuesKeepsTheValuesTakenBeforeAFailure) {
  MultipleCriteria multiple;
  multiple.AddNewCriteria(Term(5, Equal, Variant()));
  multiple.AddNewCriteria(Term(7, Equal, Variant("old")));
  MapRecord record = RecordWith(5, Variant("North"));  // column 7 unreadable
  record.describe = MapRecord::Describe::LeavePresets;
  EXPECT_FALSE(multiple.SetValuesFromRecord(record));
  ExpectError(0, "", {10730});
  std::string text;
  ASSERT_TRUE(multiple.GetCriteriaText(text, 0, false));
  EXPECT_EQ(text, "North");
  ASSERT_TRUE(multiple.GetCriteriaText(text, 1, true));
  EXPECT_EQ(text, "=old");
}

TEST_F(MultipleCriteriaTest, IndexErrorsCarryTheTermCount) {
  MultipleCriteria multiple = Multiple({Variant("North"), Variant(2004)});
  Variant value;
  EXPECT_FALSE(multiple.GetCriteriaValue(value, 2));
  ExpectError(10645, "2,2", {10750});
  std::string text;
  EXPECT_FALSE(multiple.GetCriteriaText(text, -1, false));
  ExpectError(10645, "-1,2", {10760});
  CriteriaTerm term;
  EXPECT_FALSE(multiple.GetCriteria(term, 3));
  ExpectError(10645, "3,2", {10770});
}

TEST_F(MultipleCriteriaTest, CloneIsIndependentAndKeepsTermOrder) {
  MultipleCriteria multiple = Multiple({Variant("North"), Variant(2004)});
  std::unique_ptr<Criteria> clone(multiple.Clone());
  EXPECT_EQ(clone->GetCriteriaType(), Criteria::kMultipleType);
  MapRecord record;
  record.Set(5, Variant("South")).Set(6, Variant(2010));
  ASSERT_TRUE(multiple.SetValuesFromRecord(record));
  EXPECT_EQ(DumpValue(*clone), "North AND 2004");
  EXPECT_EQ(DumpValue(multiple), "South AND 2010");
}

TEST_F(AlwaysPassCriteriaTest, PassesEverythingAndTakesNoTerms) {
  AlwaysPassCriteria always;
  EXPECT_TRUE(always.RecordMeetsCriteria(MapRecord()));
  EXPECT_FALSE(always.AddNewCriteria(Term(3, Equal, Variant(1))));
  EXPECT_TRUE(always.SetValuesFromRecord(MapRecord()));
  EXPECT_EQ(always.GetCriteriaCount(), 0);
  EXPECT_EQ(always.GetCriteriaType(), Criteria::kAlwaysPassType);
  ExpectNoError();
}

TEST_F(AlwaysPassCriteriaTest, IndexedAccessFailsQuietlyButTextIsEmpty) {
  AlwaysPassCriteria always;
  Variant value;
  EXPECT_FALSE(always.GetCriteriaValue(value, 0));
  CriteriaTerm term;
  EXPECT_FALSE(always.GetCriteria(term, 0));
  std::string text = "stale";
  EXPECT_TRUE(always.GetCriteriaText(text, 7, true));
  EXPECT_EQ(text, "");
  ExpectNoError();
}

TEST_F(CriteriaOrdering, SingleOrdersByValue) {
  SingleCriteria three;
  three.AddNewCriteria(Term(1, Equal, Variant(3)));
  SingleCriteria five;
  five.AddNewCriteria(Term(2, Equal, Variant(5)));
  EXPECT_TRUE(three.IsLessThan(&five));
  EXPECT_FALSE(five.IsLessThan(&three));
  EXPECT_FALSE(three.IsLessThan(&three));
  EXPECT_FALSE(three.IsLessThan(nullptr));
}

TEST_F(CriteriaOrdering, DifferentKindsAreNeverLess) {
  SingleCriteria single;
  single.AddNewCriteria(Term(3, Equal, Variant(1)));
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  MultipleCriteria multiple = Multiple({Variant(100)});
  AlwaysPassCriteria always;
  EXPECT_FALSE(single.IsLessThan(&range));
  EXPECT_FALSE(range.IsLessThan(&single));
  EXPECT_FALSE(single.IsLessThan(&multiple));
  EXPECT_FALSE(multiple.IsLessThan(&range));
  EXPECT_FALSE(always.IsLessThan(&single));
  EXPECT_FALSE(single.IsLessThan(&always));
}

TEST_F(CriteriaOrdering, RangeOrdersByLowerValue) {
  RangeCriteria low = Range(GreaterEqual, Variant(0), Less, Variant(100));
  RangeCriteria high = Range(GreaterEqual, Variant(10), Less, Variant(20));
  EXPECT_TRUE(low.IsLessThan(&high));
  EXPECT_FALSE(high.IsLessThan(&low));
}

TEST_F(CriteriaOrdering, MultipleComparesPositionByPosition) {
  MultipleCriteria north2004 = Multiple({Variant("North"), Variant(2004)});
  MultipleCriteria north2005 = Multiple({Variant("North"), Variant(2005)});
  MultipleCriteria south2004 = Multiple({Variant("South"), Variant(2004)});
  MultipleCriteria north = Multiple({Variant("North")});
  MultipleCriteria none;
  EXPECT_TRUE(north2004.IsLessThan(&north2005));
  EXPECT_FALSE(north2005.IsLessThan(&north2004));
  EXPECT_TRUE(north2005.IsLessThan(&south2004));
  EXPECT_FALSE(south2004.IsLessThan(&north2005));
  EXPECT_FALSE(north.IsLessThan(&north2005));
  EXPECT_FALSE(north2005.IsLessThan(&north));
  EXPECT_FALSE(none.IsLessThan(&north));
  EXPECT_FALSE(north2004.IsLessThan(&north2004));
  ExpectNoError();
}

TEST_F(CriteriaOrdering, SortsGroupingCombinations) {
  std::vector<MultipleCriteria> combos = {
      Multiple({Variant("South"), Variant(2004)}), Multiple({Variant("North"), Variant(2005)}),
      Multiple({Variant("North"), Variant(2004)}), Multiple({Variant("East"), Variant(2010)})};
  std::sort(combos.begin(), combos.end(),
            [](const MultipleCriteria& a, const MultipleCriteria& b) { return a.IsLessThan(&b); });
  std::string order;
  for (const MultipleCriteria& combo : combos) order += DumpValue(combo, "|");
  EXPECT_EQ(order, "|East AND 2010|North AND 2004|North AND 2005|South AND 2004");
}

TEST_F(CriteriaDumps, Single) {
  SingleCriteria single;
  EXPECT_EQ(Dump(single), "INVALID COLUMN = ???");
  single.AddNewCriteria(Term(3, Equal, Variant("North")));
  EXPECT_EQ(Dump(single), "Col 3 = North");
  EXPECT_EQ(Dump(single, "    "), "    Col 3 = North");
  EXPECT_EQ(DumpValue(single, "> "), "> North");

  SingleCriteria blank;
  blank.AddNewCriteria(Term(0, LessEqual, Variant("")));
  EXPECT_EQ(Dump(blank), "Col 0 <= ???");
  EXPECT_EQ(DumpValue(blank, "p"), "p");
}

TEST_F(CriteriaDumps, SingleWithUnknownOperator) {
  SingleCriteria single;
  single.AddNewCriteria(Term(3, static_cast<CriteriaOperator>(9), Variant(1)));
  EXPECT_EQ(Dump(single), "Col 3  1");
}

TEST_F(CriteriaDumps, Range) {
  RangeCriteria range = Range(GreaterEqual, Variant(10), Less, Variant(20));
  EXPECT_EQ(Dump(range, "\t"), "\t10 >= Col 3 < 20");
  EXPECT_EQ(DumpValue(range), "[10* - 20]");
  EXPECT_EQ(DumpValue(Range(Greater, Variant(10), LessEqual, Variant(20))), "[10 - 20*]");
  EXPECT_EQ(DumpValue(Range(GreaterEqual, Variant(), Less, Variant(10))), "[* - 10]");
  EXPECT_EQ(Dump(Range(GreaterEqual, Variant(), Less, Variant(10))), "??? >= Col 3 < 10");
  EXPECT_EQ(DumpValue(Range(GreaterEqual, Variant(30), Less, Variant())), "[30* - ]");
  EXPECT_EQ(Dump(RangeCriteria()), "??? = INVALID COLUMN = ???");
}

TEST_F(CriteriaDumps, RangeWritesOnlyTheLowerColumn) {
  RangeCriteria range;
  range.AddNewCriteria(Term(3, Greater, Variant(1)));
  range.AddNewCriteria(Term(9, LessEqual, Variant(2)));
  EXPECT_EQ(Dump(range), "1 > Col 3 <= 2");
}

TEST_F(CriteriaDumps, Multiple) {
  MultipleCriteria multiple = Multiple({Variant("North"), Variant(2004)});
  EXPECT_EQ(Dump(multiple), "(Col 5  = North) AND (Col 6  = 2004)");
  EXPECT_EQ(DumpValue(multiple, "P"), "PNorth AND 2004");

  MultipleCriteria withBlank = Multiple({Variant("North"), Variant()});
  EXPECT_EQ(Dump(withBlank, " "), " (Col 5  = North) AND (Col 6  = ?\?\?)");
  EXPECT_EQ(DumpValue(withBlank), "North AND ");
}

TEST_F(CriteriaDumps, AlwaysPass) {
  AlwaysPassCriteria always;
  EXPECT_EQ(Dump(always), "Col ??? = any value");
  EXPECT_EQ(Dump(always, "  "), "  Col ??? = any value");
  EXPECT_EQ(DumpValue(always, "x="), "x=all_values");
}

TEST_F(CriteriaDumps, ClonesDumpAlike) {
  SingleCriteria single;
  single.AddNewCriteria(Term(3, NotEqual, Variant("North")));
  RangeCriteria range = Range(Greater, Variant(1), LessEqual, Variant(2));
  AlwaysPassCriteria always;
  for (const Criteria* original : std::vector<const Criteria*>{&single, &range, &always}) {
    std::unique_ptr<Criteria> clone(original->Clone());
    EXPECT_EQ(clone->GetCriteriaType(), original->GetCriteriaType());
    EXPECT_EQ(Dump(*clone), Dump(*original));
    EXPECT_EQ(DumpValue(*clone), DumpValue(*original));
  }
}

}  // namespace
}  // namespace testing
}  // namespace stattree
