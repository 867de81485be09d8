#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "stattree/boundary/error_reporting.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/criteria/range_criteria.h"
#include "stattree/criteria/single_criteria.h"
#include "tests/test_util.h"

namespace stattree {
namespace testing {
namespace {

using Describe = MapRecord::Describe;

using CriteriaOperators = ErrorTest;
using CriteriaTerms = ErrorTest;
using CriteriaReadFailure = ErrorTest;
using CriteriaIndexing = ErrorTest;
using CriteriaOrdering = ErrorTest;
using CriteriaDumps = ErrorTest;

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

template <typename Kind>
std::unique_ptr<Criteria> Own(Kind criteria) {
  return std::make_unique<Kind>(std::move(criteria));
}

// The object text, "|", then the value text.
std::string Dumped(const Criteria& criteria, const char* indent) {
  std::ostringstream out;
  criteria.DumpObject(out, indent);
  out << '|';
  criteria.DumpCriteriaValue(out, indent);
  return out.str();
}

// The term's text, or "failed".
std::string Text(const Criteria& criteria, int index, bool withOperator) {
  std::string text = "stale";
  return criteria.GetCriteriaText(text, index, withOperator) ? text : "failed";
}

CriteriaOperator Operator(int code) { return static_cast<CriteriaOperator>(code); }

bool Meets(const Criteria& criteria, const Variant& value) {
  return criteria.RecordMeetsCriteria(MapRecord({{3, value}}));
}

TEST_F(CriteriaOperators, EachComparesTheRecordValueOnTheLeftAndEqualGoesByText) {
  const std::tuple<CriteriaOperator, Variant, Variant, bool> cases[] = {
      {Equal, "5", 5, true},        {Equal, 5, 5.0, true},         {Equal, "North", "north", false},
      {Less, 20, 19.5, true},       {Less, 20, 20, false},         {Greater, 20, 21, true},
      {Greater, 20, 20, false},     {LessEqual, 20, 20, true},     {LessEqual, 20, 21, false},
      {GreaterEqual, 20, 20, true}, {GreaterEqual, 20, 19, false}, {Operator(6), 1, 1, false}};
  for (const auto& [op, stored, value, meets] : cases) {
    EXPECT_EQ(Meets(Single(op, stored), value), meets) << op << std::string(value);
  }
  for (const Variant& value : {Variant(5), Variant("5"), Variant(6), Variant("x"), Variant()}) {
    EXPECT_NE(Meets(Single(Equal, "5"), value), Meets(Single(NotEqual, "5"), value));
  }
  // A range holds from its lower edge up to, not including, its upper edge.
  RangeCriteria range = Range(GreaterEqual, 10, Less, 20);
  const std::vector<bool> meets = {Meets(range, 9), Meets(range, 10), Meets(range, 19.5),
                                   Meets(range, 20)};
  EXPECT_EQ(meets, (std::vector<bool>{false, true, true, false}));
  ExpectNoError();
}

TEST_F(CriteriaOperators, TermsAreJoinedByAndAndStopAtTheFirstThatFails) {
  RangeCriteria range;
  range.AddNewCriteria(Term(3, GreaterEqual, 10));
  range.AddNewCriteria(Term(8, Less, 20));  // column 8 can't be read
  MapRecord low({{3, Variant(5)}});
  EXPECT_FALSE(range.RecordMeetsCriteria(low));
  EXPECT_EQ(low.readColumns, std::vector<int>{3});
  MultipleCriteria multiple = Multiple({"North", 2004});
  EXPECT_TRUE(multiple.RecordMeetsCriteria(MapRecord({{5, "North"}, {6, 2004}})));
  EXPECT_FALSE(multiple.RecordMeetsCriteria(MapRecord({{5, "North"}, {6, 2005}})));
  MapRecord south({{5, "South"}});
  EXPECT_FALSE(multiple.RecordMeetsCriteria(south));
  EXPECT_EQ(south.readColumns, std::vector<int>{5});
  EXPECT_TRUE(MultipleCriteria().RecordMeetsCriteria(MapRecord()));
  ExpectNoError();
}

TEST_F(CriteriaTerms, TermsWithoutColumnAreRefusedAtEachKindsLocation) {
  SingleCriteria single;
  ExpectRefused(single.AddNewCriteria(Term(-1, Equal, 1)), 10595, "-1", {10615});
  ExpectRefused(Meets(single, 1), 10595, "-1", {10600, 10640});
  ExpectRefused(single.SetValuesFromRecord(MapRecord({{-1, Variant(1)}})), 10595, "-1", {10620});
  ExpectRefused(RangeCriteria().AddNewCriteria(Term(-1, Less, 1)), 10595, "-1", {10675});
  MultipleCriteria multiple;
  ExpectRefused(multiple.AddNewCriteria(Term(-1, Equal, 1)), 10595, "-1", {10715});
  EXPECT_EQ(multiple.GetCriteriaCount(), 0);
}

TEST_F(CriteriaTerms, SingleAndRangeKeepTheirFirstTerms) {
  SingleCriteria single = Single(Less, 10);
  ExpectRefused(single.AddNewCriteria(Term(4, Equal, 99)), 10618, "", {});
  EXPECT_EQ(Text(single, 0, true), "<10");
  EXPECT_EQ(Text(single, 0, false), "10");
  // The first term is the lower one whatever its operator.
  RangeCriteria range = Range(Less, 20, GreaterEqual, 10);
  ExpectRefused(range.AddNewCriteria(Term(3, Equal, 1)), 10678, "", {});
  EXPECT_EQ(Text(range, 0, true) + Text(range, 1, true), "<20>=10");
}

TEST_F(CriteriaTerms, AlwaysPassHasNoTermsAndPassesEverything) {
  AlwaysPassCriteria always;
  Variant value;
  CriteriaTerm term;
  EXPECT_TRUE(always.RecordMeetsCriteria(MapRecord()) && always.SetValuesFromRecord(MapRecord()));
  EXPECT_EQ(Text(always, 7, true), "");
  EXPECT_FALSE(always.AddNewCriteria(Term(3, Equal, 1)) || always.GetCriteriaValue(value, 0) ||
               always.GetCriteria(term, 0));
  ExpectNoError();
}

TEST_F(CriteriaTerms, ValuesComeFromARecordAndAFailedReadKeepsThoseTakenBefore) {
  SingleCriteria single = Single(Equal, Variant());
  ASSERT_TRUE(single.SetValuesFromRecord(MapRecord({{3, Variant(2004)}})));
  EXPECT_TRUE(Meets(single, "2004"));
  RangeCriteria range = Range(GreaterEqual, 10, Less, 20);
  EXPECT_TRUE(range.SetValuesFromRecord(MapRecord({{3, Variant(99)}})));
  EXPECT_TRUE(Meets(range, 10));
  MultipleCriteria multiple = Multiple({Variant(), "old"});
  const std::unique_ptr<Criteria> clone(multiple.Clone());
  const MapRecord partial({{5, "North"}}, Describe::LeavePresets);
  ExpectRefused(multiple.SetValuesFromRecord(partial), 0, "", {10730});
  EXPECT_EQ(Dumped(multiple, nullptr) + Dumped(*clone, nullptr),
            "(Col 5  = North) AND (Col 6  = old)|North AND old"
            "(Col 5  = ?\?\?) AND (Col 6  = old)| AND old");
}

TEST_F(CriteriaReadFailure, TheRecordDescribesItAndEachKindAddsItsLocation) {
  TheErrorManager().Set(10020);
  ExpectRefused(Single(Equal, "x").RecordMeetsCriteria(MapRecord()), 10020, "", {10610, 10640});
  // Declined with nothing held, the failed read looks like a plain mismatch.
  EXPECT_FALSE(Single(Equal, "x").RecordMeetsCriteria(MapRecord()));
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(Locations(), std::vector<int>{10610});
  TheErrorManager().Clear();
  // Answered without filling in: the criteria-side presets.
  EXPECT_FALSE(Single(Equal, "x").SetValuesFromRecord(MapRecord({}, Describe::LeavePresets)));
  ErrorSnapshot held = HeldError();
  EXPECT_EQ(std::tie(held.code, held.second, held.message, held.flag),
            std::make_tuple(0, 90000, std::string("RecordError"), true));
  ExpectError(0, "", {10630});
  SingleCriteria single = Single(Equal, "x");
  RangeCriteria range = Range(GreaterEqual, 10, Less, 20);
  MultipleCriteria multiple = Multiple({"North"});
  const std::pair<const Criteria*, int> kinds[] = {
      {&single, 10640}, {&range, 10680}, {&multiple, 10740}};
  for (const auto& [criteria, location] : kinds) {
    EXPECT_FALSE(criteria->RecordMeetsCriteria(MapRecord({}, Describe::Fill)));
    held = HeldError();
    EXPECT_EQ(std::tie(held.second, held.message, held.flag),
              std::make_tuple(3, std::string("column gone"), false));
    ExpectError(4711, "", {10610, location});
  }
}

TEST_F(CriteriaIndexing, BadIndexesReportIndexCountAndTheirLocation) {
  SingleCriteria single = Single(Equal, 1);
  RangeCriteria range = Range(GreaterEqual, 10, Less, 20);
  MultipleCriteria multiple = Multiple({1, 2, 3});
  // The locations of the value guard; the text and term guards follow 10 and 20 above.
  const std::tuple<const Criteria*, int, const char*, int> cases[] = {{&single, 1, "1,1", 10650},
                                                                      {&single, -1, "-1,1", 10650},
                                                                      {&range, 2, "2,2", 10690},
                                                                      {&multiple, 3, "3,3", 10750}};
  Variant value;
  std::string text;
  CriteriaTerm term;
  for (const auto& [criteria, index, detail, location] : cases) {
    ExpectRefused(criteria->GetCriteriaValue(value, index), 10645, detail, {location});
    ExpectRefused(criteria->GetCriteriaText(text, index, true), 10645, detail, {location + 10});
    ExpectRefused(criteria->GetCriteria(term, index), 10645, detail, {location + 20});
  }
}

TEST_F(CriteriaOrdering, SameKindsOrderByValueOtherKindsNever) {
  SingleCriteria three = Single(Equal, 3);
  SingleCriteria five = Single(Equal, 5, 9);
  RangeCriteria low = Range(GreaterEqual, 0, Less, 100);
  RangeCriteria high = Range(GreaterEqual, 10, Less, 20);
  MultipleCriteria north2004 = Multiple({"North", 2004});
  MultipleCriteria north2005 = Multiple({"North", 2005});
  MultipleCriteria north = Multiple({"North"});
  MultipleCriteria empty;
  AlwaysPassCriteria always;
  const std::pair<const Criteria*, const Criteria*> ordered[] = {
      {&three, &five}, {&low, &high}, {&north2004, &north2005}};
  for (const auto& [less, more] : ordered) {
    EXPECT_TRUE(less->IsLessThan(more));
    EXPECT_FALSE(more->IsLessThan(less));
    EXPECT_FALSE(more->IsLessThan(more));
    EXPECT_FALSE(more->IsLessThan(nullptr));
  }
  // Multiple compares up to the shorter term list.
  const std::pair<const Criteria*, const Criteria*> unordered[] = {
      {&five, &high},   {&low, &five},        {&five, &north},      {&north, &high},
      {&always, &five}, {&north, &north2005}, {&north2005, &north}, {&empty, &north}};
  for (const auto& [a, b] : unordered) EXPECT_FALSE(a->IsLessThan(b));
  ExpectNoError();
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

// Object and value texts after the indent, the clone's with an indent. The
// open-ended ranges are dumped with the histograms of CriteriaSet.
TEST_F(CriteriaDumps, ObjectAndValueTextsOfEachKindAndOfItsClone) {
  const std::tuple<std::unique_ptr<Criteria>, const char*, const char*> cases[] = {
      {Own(Single(Equal, "North")), "Col 3 = North", "North"},
      {Own(SingleCriteria()), "INVALID COLUMN = ???", ""},
      {Own(Single(LessEqual, "", 0)), "Col 0 <= ???", ""},
      {Own(Single(Operator(9), 1)), "Col 3  1", "1"},
      {Own(Range(GreaterEqual, 10, Less, 20)), "10 >= Col 3 < 20", "[10* - 20]"},
      {Own(RangeCriteria()), "??? = INVALID COLUMN = ???", "[ - ]"},
      {Own(Multiple({"North", Variant()})), "(Col 5  = North) AND (Col 6  = ?\?\?)", "North AND "},
      {Own(MultipleCriteria()), "", ""},
      {Own(AlwaysPassCriteria()), "Col ??? = any value", "all_values"},
  };
  for (const auto& [criteria, object, value] : cases) {
    const std::unique_ptr<Criteria> clone(criteria->Clone());
    EXPECT_EQ(clone->GetCriteriaType(), criteria->GetCriteriaType());
    EXPECT_EQ(Dumped(*criteria, nullptr), std::string(object) + "|" + value);
    EXPECT_EQ(Dumped(*clone, "\t> "), std::string("\t> ") + object + "|\t> " + value);
  }
}

}  // namespace
}  // namespace testing
}  // namespace stattree
