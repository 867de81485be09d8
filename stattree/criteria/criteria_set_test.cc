#include "stattree/criteria/criteria_set.h"

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "tests/test_util.h"

namespace stattree {
namespace testing {
namespace {

using CriteriaSetCreation = ErrorTest;
using CriteriaSetLookup = ErrorTest;
using CriteriaSetValues = ErrorTest;
using CriteriaSetCopy = ErrorTest;
using CriteriaSetDumps = ErrorTest;

// The bins of each value, in order.
std::vector<int> BinsOf(CriteriaSet& set, const std::vector<Variant>& values) {
  std::vector<int> bins;
  for (const Variant& value : values) {
    int index = -99;
    EXPECT_TRUE(set.RecordMeetsCriteria(index, MapRecord({{4, value}})));
    bins.push_back(index);
  }
  return bins;
}

std::string Values(CriteriaSet& set, const char* prefix = nullptr, bool oneLine = true) {
  std::ostringstream out;
  set.DumpCriteraValues(out, prefix, oneLine);
  return out.str();
}

std::string Objects(CriteriaSet& set, const char* indent = nullptr) {
  std::ostringstream out;
  set.DumpObject(out, indent);
  return out.str();
}

CriteriaSet EnumOf(const std::vector<std::string>& values) {
  CriteriaSet set;
  set.CreateEnum(values, 4);
  return set;
}

CriteriaSet EdgesOf(HistogramBinLogic logic) {
  CriteriaSet set;
  EXPECT_TRUE(set.CreateHistogram({Variant(0), Variant(10), Variant(20)}, logic, 4));
  return set;
}

TEST_F(CriteriaSetCreation, EnumKeepsListOrderOrSortsASetAndAppends) {
  CriteriaSet set = EnumOf({"b", "a", "b"});
  EXPECT_EQ(set.GetCriteriaValueCount(), 1);
  EXPECT_EQ(Objects(set), "Col 4 = b\r\nCol 4 = a\r\nCol 4 = b\r\n");
  ASSERT_TRUE(set.CreateEnum(std::set<std::string>{"d", "c"}, 4));
  EXPECT_TRUE(set.CreateEnum(std::vector<std::string>{}, 4));
  EXPECT_TRUE(set.CreateEnum(std::set<std::string>{}, 4));
  EXPECT_EQ(Values(set), "b, a, b, c, d");
  EXPECT_EQ(BinsOf(set, {"c"}), std::vector<int>{3});
  ExpectNoError();
}

TEST_F(CriteriaSetCreation, RefusalsCarryTheirLocations) {
  CriteriaSet set;
  ExpectRefused(set.CreateEnum(std::vector<std::string>{"a"}, -1), 10595, "-1", {10780});
  ExpectRefused(set.CreateEnum(std::set<std::string>{"a"}, -1), 10595, "-1", {10800});
  ExpectRefused(set.CreateHistogram(Variant(0), Variant(10), 3, -1), 10595, "-1", {10840});
  ExpectRefused(set.CreateHistogram(Variant(0), Variant(10), 0, 4), 10785, "", {10850});
  ExpectRefused(set.CreateHistogram({Variant(1)}, LowerEdgeInclusive, -1), 10595, "-1", {10860});
  EXPECT_FALSE(set.CreateHistogram(std::vector<Variant>{}, LowerEdgeInclusive, 4));
  EXPECT_EQ(HeldError().message, "Can't create  criteria set with 0 values specified");
  ExpectError(10785, "", {10870});
  EXPECT_EQ(set.GetCriteriaCount(), 0);
}

TEST_F(CriteriaSetCreation, EqualWidthHistogramHasTwoOpenBins) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram(Variant(0), Variant(10), 3, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 5);
  EXPECT_EQ(set.GetCriteriaValueCount(), 2);
  EXPECT_EQ(BinsOf(set, {30, -5, 10, 0, 29.99, 1e9}), (std::vector<int>{4, 0, 2, 1, 3, 4}));
  EXPECT_EQ(Values(set), "[* - 0], [0* - 10], [10* - 20], [20* - 30], [30* - ]");
  CriteriaSet fractions;
  ASSERT_TRUE(fractions.CreateHistogram(Variant(1.5), Variant(0.25), 2, 4));
  EXPECT_EQ(Objects(fractions, "  "),
            "  ??? >= Col 4 < 1.5\r\n  1.5 >= Col 4 < 1.75\r\n"
            "  1.75 >= Col 4 < 2\r\n  2 >= Col 4 < ???\r\n");
}

TEST_F(CriteriaSetCreation, EdgeListHistogramWithBothBinLogics) {
  CriteriaSet lower = EdgesOf(LowerEdgeInclusive);
  EXPECT_EQ(lower.GetCriteriaValueCount(), 1);
  EXPECT_EQ(Objects(lower), "Col 4 < 0\r\n0 >= Col 4 < 10\r\n10 >= Col 4 < 20\r\nCol 4 >= 20\r\n");
  EXPECT_EQ(Values(lower), "0, [0* - 10], [10* - 20], 20");
  EXPECT_EQ(BinsOf(lower, {-1, 0, 10, 20}), (std::vector<int>{0, 1, 2, 3}));
  CriteriaSet upper = EdgesOf(UpperEdgeInclusive);
  EXPECT_EQ(Objects(upper), "Col 4 <= 0\r\n0 > Col 4 <= 10\r\n10 > Col 4 <= 20\r\nCol 4 > 20\r\n");
  EXPECT_EQ(Values(upper), "0, [0 - 10*], [10 - 20*], 20");
  EXPECT_EQ(BinsOf(upper, {0, 1, 10, 20, 21}), (std::vector<int>{0, 1, 1, 2, 3}));
  CriteriaSet other = EdgesOf(static_cast<HistogramBinLogic>(7));
  EXPECT_EQ(Objects(other), Objects(upper));
}

// The engine's record cache lets a set find a bin from flattened terms;
// every set shape and value kind must land where the walk lands.
TEST_F(CriteriaSetLookup, TheQuickWalkThroughTheRecordCacheFindsTheWalksBin) {
  std::vector<std::unique_ptr<CriteriaSet>> sets;
  const auto add = [&sets]() -> CriteriaSet& {
    sets.push_back(std::make_unique<CriteriaSet>());
    return *sets.back();
  };
  add().CreateHistogram(Variant(0), Variant(100), 10, 4);
  add().CreateHistogram(Variant(5.5), Variant(-2), 4, 4);  // bins that overlap
  add().CreateHistogram({Variant(-1), Variant(2.5), Variant("k"), Variant(7)}, LowerEdgeInclusive,
                        4);
  add().CreateHistogram({Variant(3), Variant(3), Variant(9007199254740993LL)}, UpperEdgeInclusive,
                        4);
  // Ascending number edges: found by their place among the edges.
  for (HistogramBinLogic logic : {LowerEdgeInclusive, UpperEdgeInclusive}) {
    add().CreateHistogram({Variant(-1), Variant(2.5), Variant(3), Variant(9007199254740992LL),
                           Variant(9007199254740993LL)},
                          logic, 4);
  }
  add().CreateHistogram(Variant(-0.5), Variant(0.25), 8, 4);
  add().CreateEnum(std::vector<std::string>{"Web", "5", "2.5", "", "Web"}, 4);
  CriteriaSet& mixed = add();
  mixed.CreateEnum(std::set<std::string>{"b", "a"}, 4);
  mixed.CreateHistogram(Variant(1), Variant(1), 2, 4);
  const std::vector<Variant> values = {Variant(),
                                       Variant::Invalid(),
                                       Variant(-5),
                                       Variant(0),
                                       Variant(0.0),
                                       Variant(-0.0),
                                       Variant(2.5),
                                       Variant(3),
                                       Variant(99.99),
                                       Variant(100),
                                       Variant(1e300),
                                       Variant(5),
                                       Variant("5"),
                                       Variant("Web"),
                                       Variant("a"),
                                       Variant(""),
                                       Variant("k"),
                                       Variant(9007199254740992LL),
                                       Variant(9007199254740993LL),
                                       Variant(9007199254740992.0),
                                       Variant(9007199254740994LL),
                                       Variant(-1),
                                       Variant(-1.0),
                                       Variant(-0.5),
                                       Variant(0.25),
                                       Variant(1.5),
                                       Variant(-1e300)};
  for (const auto& set : sets) {
    for (const Variant& value : values) {
      const MapRecord record({{4, value}});
      int walked = -99;
      ASSERT_TRUE(set->RecordMeetsCriteria(walked, record));
      RecordCache cache(record, true);
      cache.NextRecord();
      int quick = -99;
      ASSERT_TRUE(set->RecordMeetsCriteria(quick, cache));
      EXPECT_EQ(quick, walked) << std::string(value);
    }
  }
}

TEST_F(CriteriaSetLookup, FirstMatchWinsAndNoMatchIsMinusOne) {
  CriteriaSet empty;
  int index = 7;
  EXPECT_TRUE(empty.RecordMeetsCriteria(index, MapRecord()));
  EXPECT_EQ(index, -1);
  CriteriaSet overlapping;
  overlapping.CreateHistogram({Variant(10)}, LowerEdgeInclusive, 4);  // < 10, >= 10
  overlapping.CreateHistogram({Variant(0)}, LowerEdgeInclusive, 4);   // < 0, >= 0
  EXPECT_EQ(BinsOf(overlapping, {5, 15}), (std::vector<int>{0, 1}));
  CriteriaSet set = EnumOf({"5", "North"});
  EXPECT_EQ(BinsOf(set, {5, "South"}), (std::vector<int>{0, -1}));
  ExpectNoError();
}

TEST_F(CriteriaSetLookup, FailedTestStopsTheSearchOnlyWithAnErrorHeld) {
  CriteriaSet set = EnumOf({"a", "b"});
  int index = 3;
  MapRecord described({}, MapRecord::Describe::LeavePresets);
  EXPECT_FALSE(set.RecordMeetsCriteria(index, described));
  EXPECT_EQ(index, -1);
  EXPECT_EQ(described.readColumns, std::vector<int>{4});
  ExpectError(0, "", {10610, 10640, 10880});
  EXPECT_TRUE(set.RecordMeetsCriteria(index, MapRecord()));
  EXPECT_EQ(index, -1);
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10610}));
}

TEST_F(CriteriaSetValues, ValuesAndTextsOfBinsAndTheirIndexErrors) {
  CriteriaSet bins;
  bins.CreateHistogram(Variant(0), Variant(10), 3, 4);
  Variant value;
  std::string text;
  ASSERT_TRUE(bins.GetCriteriaValue(value, 2, 1) && bins.GetCriteriaValueText(text, 1, 1, true));
  EXPECT_EQ(std::string(value) + text, "20<10");
  // A bad term index is reported with the criteria index and count for a
  // text, with the term index and value count for a value.
  CriteriaSet set = EnumOf({"a", "b"});
  ExpectRefused(set.GetCriteriaValueText(text, 1, 5, false), 10645, "1,2", {10930});
  ExpectRefused(set.GetCriteriaValue(value, 1, 5), 10645, "5,1", {10900});
  ExpectRefused(set.GetCriteriaValue(value, 2, 0), 10645, "2,2", {10910});
  ExpectRefused(set.GetCriteriaValueText(text, -1, 0, false), 10645, "-1,2", {10930});
  // Only the first bin's term count is known to the set.
  CriteriaSet mixed;
  mixed.CreateHistogram(Variant(0), Variant(10), 1, 4);
  mixed.CreateEnum(std::vector<std::string>{"x"}, 4);
  ExpectRefused(mixed.GetCriteriaValue(value, 3, 1), 10645, "1,2", {10900});
  ExpectRefused(mixed.GetCriteriaValueText(text, 3, 1, false), 10645, "1,2", {10920});
}

TEST_F(CriteriaSetCopy, CopiesAreClonesAndAssignmentLeavesTheOldEntriesEmpty) {
  auto original = std::make_unique<CriteriaSet>(EnumOf({"a", "b"}));
  CriteriaSet copy(*original);
  CriteriaSet set = EnumOf({"old"});
  set = *original;  // kept: the old bin's entry stays in place, empty
  original.reset();
  CriteriaSet& alias = set;
  set = alias;
  EXPECT_EQ(Values(copy), "a, b");
  EXPECT_EQ(set.GetCriteriaCount(), 3);
  EXPECT_EQ(set.GetCriteriaValueCount(), 0);
  EXPECT_EQ(BinsOf(set, {"old", "a"}), (std::vector<int>{-1, 1}));
  EXPECT_EQ(Objects(set), "Col 4 = a\r\nCol 4 = b\r\n");
  // The separator goes by position, so the empty entry still leaves one.
  EXPECT_EQ(Values(set, "P"), "P, a, b");
  EXPECT_EQ(Values(set, "P", false), "P\r\nPa\r\nPb");
  Variant value;
  ExpectRefused(set.GetCriteriaValue(value, 1, 0), 10645, "0,0", {10900});
  std::ostringstream out;
  set.DumpCriteria(out, "", 0);
  set.DumpCriteriaValue(out, "", 0);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(CriteriaSet(set).GetCriteriaCount(), 2);
}

TEST_F(CriteriaSetDumps, ValueListsAndSingleBins) {
  CriteriaSet set = EnumOf({"a", "b"});
  EXPECT_EQ(Values(set, "P", false), "PPa\r\nPb");
  EXPECT_EQ(Values(set, "P: "), "P: a, b");
  CriteriaSet empty;
  EXPECT_EQ(Values(empty, "P", false), "P");
  EXPECT_EQ(Objects(empty), "");
  std::ostringstream out;
  set.DumpCriteria(out, "  ", 1);
  set.DumpCriteriaValue(out, "|> ", 0);
  set.DumpCriteria(out, "  ", 2);
  set.DumpCriteriaValue(out, "  ", -1);
  set.DumpCriteria(out, nullptr, 0);
  EXPECT_EQ(out.str(), "  Col 4 = b|> aCol 4 = a");
  ExpectNoError();
}

}  // namespace
}  // namespace testing
}  // namespace stattree
