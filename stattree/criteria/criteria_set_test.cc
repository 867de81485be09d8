#include "stattree/criteria/criteria_set.h"

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/criteria/criteria_test_util.h"

namespace stattree {
namespace testing {
namespace {

class CriteriaSetCreation : public CriteriaTest {};
class CriteriaSetLookup : public CriteriaTest {};
class CriteriaSetValues : public CriteriaTest {};
class CriteriaSetCopy : public CriteriaTest {};
class CriteriaSetDumps : public CriteriaTest {};

int BinOf(CriteriaSet& set, const Variant& value) {
  int index = -99;
  EXPECT_TRUE(set.RecordMeetsCriteria(index, MapRecord({{4, value}})));
  return index;
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
  EXPECT_EQ(set.GetCriteriaCount(), 3);
  EXPECT_EQ(set.GetCriteriaValueCount(), 1);
  EXPECT_EQ(Objects(set), "Col 4 = b\r\nCol 4 = a\r\nCol 4 = b\r\n");
  ASSERT_TRUE(set.CreateEnum(std::set<std::string>{"d", "c"}, 4));
  EXPECT_EQ(Values(set), "b, a, b, c, d");
  EXPECT_TRUE(set.CreateEnum(std::vector<std::string>{}, 4));
  EXPECT_TRUE(set.CreateEnum(std::set<std::string>{}, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 5);
  EXPECT_EQ(BinOf(set, Variant("c")), 3);
  ExpectNoError();
}

TEST_F(CriteriaSetCreation, RefusalsCarryTheirLocations) {
  CriteriaSet set;
  EXPECT_FALSE(set.CreateEnum(std::vector<std::string>{"a"}, -1));
  ExpectError(10595, "-1", {10780});
  EXPECT_FALSE(set.CreateEnum(std::set<std::string>{"a"}, -1));
  ExpectError(10595, "-1", {10800});
  EXPECT_FALSE(set.CreateHistogram(Variant(0), Variant(10), 3, -1));
  ExpectError(10595, "-1", {10840});
  EXPECT_FALSE(set.CreateHistogram(Variant(0), Variant(10), 0, 4));
  ExpectError(10785, "", {10850});
  EXPECT_FALSE(set.CreateHistogram(Variant(0), Variant(10), -2, 4));
  ExpectError(10785, "", {10850});
  EXPECT_FALSE(set.CreateHistogram({Variant(1)}, LowerEdgeInclusive, -1));
  ExpectError(10595, "-1", {10860});
  EXPECT_FALSE(set.CreateHistogram(std::vector<Variant>{}, LowerEdgeInclusive, 4));
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  TheErrorManager().Get(code, second, message, flag);
  EXPECT_EQ(message, "Can't create  criteria set with 0 values specified");
  ExpectError(10785, "", {10870});
  EXPECT_EQ(set.GetCriteriaCount(), 0);
}

TEST_F(CriteriaSetCreation, EqualWidthHistogramHasTwoOpenBins) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram(Variant(0), Variant(10), 3, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 5);
  EXPECT_EQ(set.GetCriteriaValueCount(), 2);
  EXPECT_EQ(BinOf(set, Variant(30)), 4);
  EXPECT_EQ(BinOf(set, Variant(-5)), 0);
  EXPECT_EQ(BinOf(set, Variant(10)), 2);
  EXPECT_EQ(BinOf(set, Variant(0)), 1);
  EXPECT_EQ(BinOf(set, Variant(29.99)), 3);
  EXPECT_EQ(BinOf(set, Variant(1e9)), 4);
  EXPECT_EQ(Values(set), "[* - 0], [0* - 10], [10* - 20], [20* - 30], [30* - ]");

  CriteriaSet fractions;
  ASSERT_TRUE(fractions.CreateHistogram(Variant(1.5), Variant(0.25), 2, 4));
  EXPECT_EQ(Objects(fractions, "  "),
            "  ??? >= Col 4 < 1.5\r\n  1.5 >= Col 4 < 1.75\r\n"
            "  1.75 >= Col 4 < 2\r\n  2 >= Col 4 < ???\r\n");
}

TEST_F(CriteriaSetCreation, EdgeListHistogramWithBothBinLogics) {
  CriteriaSet lower = EdgesOf(LowerEdgeInclusive);
  EXPECT_EQ(lower.GetCriteriaCount(), 4);
  EXPECT_EQ(lower.GetCriteriaValueCount(), 1);
  EXPECT_EQ(Objects(lower), "Col 4 < 0\r\n0 >= Col 4 < 10\r\n10 >= Col 4 < 20\r\nCol 4 >= 20\r\n");
  EXPECT_EQ(Values(lower), "0, [0* - 10], [10* - 20], 20");
  std::vector<int> bins;
  for (int value : {-1, 0, 10, 20}) bins.push_back(BinOf(lower, Variant(value)));
  EXPECT_EQ(bins, (std::vector<int>{0, 1, 2, 3}));

  CriteriaSet upper = EdgesOf(UpperEdgeInclusive);
  EXPECT_EQ(Objects(upper), "Col 4 <= 0\r\n0 > Col 4 <= 10\r\n10 > Col 4 <= 20\r\nCol 4 > 20\r\n");
  EXPECT_EQ(Values(upper), "0, [0 - 10*], [10 - 20*], 20");
  bins.clear();
  for (int value : {0, 1, 10, 20, 21}) bins.push_back(BinOf(upper, Variant(value)));
  EXPECT_EQ(bins, (std::vector<int>{0, 1, 1, 2, 3}));

  CriteriaSet other = EdgesOf(static_cast<HistogramBinLogic>(7));
  EXPECT_EQ(Objects(other), Objects(upper));
}

TEST_F(CriteriaSetLookup, FirstMatchWinsAndNoMatchIsMinusOne) {
  CriteriaSet empty;
  int index = 7;
  EXPECT_TRUE(empty.RecordMeetsCriteria(index, MapRecord()));
  EXPECT_EQ(index, -1);
  CriteriaSet overlapping;
  overlapping.CreateHistogram({Variant(10)}, LowerEdgeInclusive, 4);  // < 10, >= 10
  overlapping.CreateHistogram({Variant(0)}, LowerEdgeInclusive, 4);   // < 0, >= 0
  EXPECT_EQ(BinOf(overlapping, Variant(5)), 0);
  EXPECT_EQ(BinOf(overlapping, Variant(15)), 1);
  CriteriaSet set = EnumOf({"5", "North"});
  EXPECT_EQ(BinOf(set, Variant(5)), 0);
  EXPECT_EQ(BinOf(set, Variant("South")), -1);
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

  MapRecord declining;
  EXPECT_TRUE(set.RecordMeetsCriteria(index, declining));
  EXPECT_EQ(index, -1);
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10610}));
}

TEST_F(CriteriaSetValues, ValuesAndTextsOfBins) {
  CriteriaSet set;
  set.CreateHistogram(Variant(0), Variant(10), 3, 4);
  Variant value;
  ASSERT_TRUE(set.GetCriteriaValue(value, 2, 1));
  EXPECT_EQ(std::string(value), "20");
  ASSERT_TRUE(set.GetCriteriaValue(value, 0, 0));
  EXPECT_TRUE(value.IsEmpty());
  std::string text;
  ASSERT_TRUE(set.GetCriteriaValueText(text, 1, 1, true));
  EXPECT_EQ(text, "<10");
  ASSERT_TRUE(set.GetCriteriaValueText(text, 3, 0, false));
  EXPECT_EQ(text, "20");
  ExpectNoError();
}

TEST_F(CriteriaSetValues, IndexErrorsReportDifferentlyForValuesAndTexts) {
  CriteriaSet set = EnumOf({"a", "b"});
  Variant value;
  std::string text;
  EXPECT_FALSE(set.GetCriteriaValueText(text, 1, 5, false));
  ExpectError(10645, "1,2", {10930});
  EXPECT_FALSE(set.GetCriteriaValue(value, 1, 5));
  ExpectError(10645, "5,1", {10900});
  EXPECT_FALSE(set.GetCriteriaValue(value, 2, 0));
  ExpectError(10645, "2,2", {10910});
  EXPECT_FALSE(set.GetCriteriaValueText(text, -1, 0, false));
  ExpectError(10645, "-1,2", {10930});

  // Only the first bin's term count is known to the set.
  CriteriaSet mixed;
  mixed.CreateHistogram(Variant(0), Variant(10), 1, 4);
  mixed.CreateEnum(std::vector<std::string>{"x"}, 4);
  EXPECT_FALSE(mixed.GetCriteriaValue(value, 3, 1));
  ExpectError(10645, "1,2", {10900});
  EXPECT_FALSE(mixed.GetCriteriaValueText(text, 3, 1, false));
  ExpectError(10645, "1,2", {10920});
  CriteriaSet edges = EdgesOf(LowerEdgeInclusive);
  EXPECT_FALSE(edges.GetCriteriaValue(value, 1, 1));
  ExpectError(10645, "1,1", {10900});
}

TEST_F(CriteriaSetCopy, CopiesAreIndependentClones) {
  auto original = std::make_unique<CriteriaSet>(EnumOf({"a", "b"}));
  CriteriaSet copy(*original);
  CriteriaSet assigned;
  assigned = *original;
  original.reset();
  EXPECT_EQ(Values(copy), "a, b");
  EXPECT_EQ(BinOf(assigned, Variant("b")), 1);
  CriteriaSet& alias = assigned;
  assigned = alias;
  EXPECT_EQ(Values(assigned), "a, b");
}

TEST_F(CriteriaSetCopy, AssignmentOntoBinsLeavesTheirEntriesEmpty) {
  CriteriaSet set = EnumOf({"old"});
  set = EnumOf({"a", "b"});
  EXPECT_EQ(set.GetCriteriaCount(), 3);
  EXPECT_EQ(set.GetCriteriaValueCount(), 0);
  EXPECT_EQ(BinOf(set, Variant("old")), -1);
  EXPECT_EQ(BinOf(set, Variant("a")), 1);
  EXPECT_EQ(Objects(set), "Col 4 = a\r\nCol 4 = b\r\n");
  // The separator goes by position, so the empty entry still leaves one.
  EXPECT_EQ(Values(set, "P"), "P, a, b");
  EXPECT_EQ(Values(set, "P", false), "P\r\nPa\r\nPb");
  Variant value;
  EXPECT_FALSE(set.GetCriteriaValue(value, 1, 0));
  ExpectError(10645, "0,0", {10900});
  std::ostringstream out;
  set.DumpCriteria(out, "", 0);
  set.DumpCriteriaValue(out, "", 0);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(CriteriaSet(set).GetCriteriaCount(), 2);
}

TEST_F(CriteriaSetDumps, ValueLists) {
  CriteriaSet set = EnumOf({"a", "b"});
  EXPECT_EQ(Values(set, "P", false), "PPa\r\nPb");
  EXPECT_EQ(Values(set, "P: "), "P: a, b");
  EXPECT_EQ(Values(set, nullptr, false), "a\r\nb");
  CriteriaSet empty;
  EXPECT_EQ(Values(empty, "P", false), "P");
  EXPECT_EQ(Objects(empty), "");
}

TEST_F(CriteriaSetDumps, SingleBinsIgnoreBadIndexes) {
  CriteriaSet set = EnumOf({"a", "b"});
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
