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

class CriteriaSetEnum : public CriteriaTest {};
class CriteriaSetHistogram : public CriteriaTest {};
class CriteriaSetLookup : public CriteriaTest {};
class CriteriaSetValues : public CriteriaTest {};
class CriteriaSetCopy : public CriteriaTest {};
class CriteriaSetDumps : public CriteriaTest {};

int BinOf(CriteriaSet& set, const Variant& value, int column = 4) {
  int index = -99;
  EXPECT_TRUE(set.RecordMeetsCriteria(index, RecordWith(column, value))) << std::string(value);
  return index;
}

std::string ValuesLine(CriteriaSet& set, const char* prefix = nullptr) {
  std::ostringstream out;
  set.DumpCriteraValues(out, prefix, true);
  return out.str();
}

std::string ObjectDump(CriteriaSet& set, const char* indent = nullptr) {
  std::ostringstream out;
  set.DumpObject(out, indent);
  return out.str();
}

CriteriaSet EnumOf(const std::vector<std::string>& values) {
  CriteriaSet set;
  set.CreateEnum(values, 4);
  return set;
}

TEST_F(CriteriaSetEnum, ListKeepsItsOrderAndDuplicates) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateEnum(std::vector<std::string>{"b", "a", "b"}, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 3);
  EXPECT_EQ(set.GetCriteriaValueCount(), 1);
  EXPECT_EQ(ValuesLine(set), "b, a, b");
  EXPECT_EQ(ObjectDump(set), "Col 4 = b\r\nCol 4 = a\r\nCol 4 = b\r\n");
}

TEST_F(CriteriaSetEnum, SetComesInAscendingOrder) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateEnum(std::set<std::string>{"b", "a"}, 4));
  EXPECT_EQ(ValuesLine(set), "a, b");
}

TEST_F(CriteriaSetEnum, EmptyInputIsAcceptedAndAppendsNothing) {
  CriteriaSet set;
  EXPECT_TRUE(set.CreateEnum(std::vector<std::string>{}, 4));
  EXPECT_TRUE(set.CreateEnum(std::set<std::string>{}, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 0);
  EXPECT_EQ(set.GetCriteriaValueCount(), 0);
  ExpectNoError();
}

TEST_F(CriteriaSetEnum, ColumnErrorsDifferBetweenTheOverloads) {
  CriteriaSet set;
  EXPECT_FALSE(set.CreateEnum(std::vector<std::string>{"a"}, -1));
  ExpectError(10595, "-1", {10780});
  EXPECT_FALSE(set.CreateEnum(std::set<std::string>{"a"}, -1));
  ExpectError(10595, "-1", {10800});
  EXPECT_EQ(set.GetCriteriaCount(), 0);
}

TEST_F(CriteriaSetEnum, CreationAppendsToWhatIsThere) {
  CriteriaSet set = EnumOf({"x"});
  ASSERT_TRUE(set.CreateEnum(std::set<std::string>{"b", "a"}, 4));
  EXPECT_EQ(ValuesLine(set), "x, a, b");
}

TEST_F(CriteriaSetEnum, MatchesByTextEquivalence) {
  CriteriaSet set = EnumOf({"5", "North"});
  EXPECT_EQ(BinOf(set, Variant(5)), 0);
  EXPECT_EQ(BinOf(set, Variant("North")), 1);
  EXPECT_EQ(BinOf(set, Variant("South")), -1);
  ExpectNoError();
}

TEST_F(CriteriaSetHistogram, EqualWidthBinsWithOpenEnds) {
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
  EXPECT_EQ(ValuesLine(set), "[* - 0], [0* - 10], [10* - 20], [20* - 30], [30* - ]");
  ExpectNoError();
}

TEST_F(CriteriaSetHistogram, EqualWidthEdgesAreSums) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram(Variant(1.5), Variant(0.25), 2, 4));
  EXPECT_EQ(ValuesLine(set), "[* - 1.5], [1.5* - 1.75], [1.75* - 2], [2* - ]");
  EXPECT_EQ(ObjectDump(set, "  "),
            "  ??? >= Col 4 < 1.5\r\n"
            "  1.5 >= Col 4 < 1.75\r\n"
            "  1.75 >= Col 4 < 2\r\n"
            "  2 >= Col 4 < ???\r\n");
}

TEST_F(CriteriaSetHistogram, EqualWidthRefusals) {
  CriteriaSet set;
  EXPECT_FALSE(set.CreateHistogram(Variant(0), Variant(10), 0, 4));
  ExpectError(10785, "", {10850});
  EXPECT_FALSE(set.CreateHistogram(Variant(0), Variant(10), -2, 4));
  ExpectError(10785, "", {10850});
  EXPECT_FALSE(set.CreateHistogram(Variant(0), Variant(10), 3, -1));
  ExpectError(10595, "-1", {10840});
  EXPECT_EQ(set.GetCriteriaCount(), 0);
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  CriteriaSet::InvalidSpecError(1);
  TheErrorManager().Get(code, second, message, flag);
  EXPECT_EQ(message, "Can't create  criteria set with 0 values specified");
}

TEST_F(CriteriaSetHistogram, EdgeListLowerEdgeInclusive) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram({Variant(0), Variant(10), Variant(20)}, LowerEdgeInclusive, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 4);
  EXPECT_EQ(set.GetCriteriaValueCount(), 1);
  EXPECT_EQ(BinOf(set, Variant(-1)), 0);
  EXPECT_EQ(BinOf(set, Variant(0)), 1);
  EXPECT_EQ(BinOf(set, Variant(10)), 2);
  EXPECT_EQ(BinOf(set, Variant(19.5)), 2);
  EXPECT_EQ(BinOf(set, Variant(20)), 3);
  EXPECT_EQ(ObjectDump(set), "Col 4 < 0\r\n0 >= Col 4 < 10\r\n10 >= Col 4 < 20\r\nCol 4 >= 20\r\n");
  EXPECT_EQ(ValuesLine(set), "0, [0* - 10], [10* - 20], 20");
}

TEST_F(CriteriaSetHistogram, EdgeListUpperEdgeInclusive) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram({Variant(0), Variant(10), Variant(20)}, UpperEdgeInclusive, 4));
  EXPECT_EQ(BinOf(set, Variant(0)), 0);
  EXPECT_EQ(BinOf(set, Variant(0.5)), 1);
  EXPECT_EQ(BinOf(set, Variant(10)), 1);
  EXPECT_EQ(BinOf(set, Variant(20)), 2);
  EXPECT_EQ(BinOf(set, Variant(20.5)), 3);
  EXPECT_EQ(ObjectDump(set), "Col 4 <= 0\r\n0 > Col 4 <= 10\r\n10 > Col 4 <= 20\r\nCol 4 > 20\r\n");
  EXPECT_EQ(ValuesLine(set), "0, [0 - 10*], [10 - 20*], 20");
}

TEST_F(CriteriaSetHistogram, UnknownBinLogicActsAsUpperEdgeInclusive) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram({Variant(0), Variant(10)}, static_cast<HistogramBinLogic>(7), 4));
  EXPECT_EQ(BinOf(set, Variant(10)), 1);
  EXPECT_EQ(BinOf(set, Variant(0)), 0);
}

TEST_F(CriteriaSetHistogram, SingleEdgeGivesTwoBins) {
  CriteriaSet set;
  ASSERT_TRUE(set.CreateHistogram({Variant(5)}, LowerEdgeInclusive, 4));
  EXPECT_EQ(set.GetCriteriaCount(), 2);
  EXPECT_EQ(BinOf(set, Variant(4)), 0);
  EXPECT_EQ(BinOf(set, Variant(5)), 1);
}

TEST_F(CriteriaSetHistogram, EdgeListRefusals) {
  CriteriaSet set;
  EXPECT_FALSE(set.CreateHistogram(std::vector<Variant>{}, LowerEdgeInclusive, 4));
  ExpectError(10785, "", {10870});
  EXPECT_FALSE(set.CreateHistogram({Variant(1)}, LowerEdgeInclusive, -1));
  ExpectError(10595, "-1", {10860});
  EXPECT_EQ(set.GetCriteriaCount(), 0);
}

TEST_F(CriteriaSetLookup, EmptySetAnswersTrueWithNoBin) {
  CriteriaSet set;
  int index = 7;
  EXPECT_TRUE(set.RecordMeetsCriteria(index, MapRecord()));
  EXPECT_EQ(index, -1);
  ExpectNoError();
}

TEST_F(CriteriaSetLookup, FirstMatchingBinWins) {
  CriteriaSet set = EnumOf({"b", "a", "b"});
  EXPECT_EQ(BinOf(set, Variant("b")), 0);
  CriteriaSet overlapping;
  overlapping.CreateHistogram({Variant(10)}, LowerEdgeInclusive, 4);
  overlapping.CreateHistogram({Variant(0)}, LowerEdgeInclusive, 4);
  EXPECT_EQ(BinOf(overlapping, Variant(5)), 0);   // < 10 beats >= 0
  EXPECT_EQ(BinOf(overlapping, Variant(15)), 1);  // >= 10 beats >= 0
}

TEST_F(CriteriaSetLookup, ReadFailureStopsTheSearch) {
  CriteriaSet set = EnumOf({"a", "b"});
  int index = 3;
  MapRecord record;
  record.describe = MapRecord::Describe::LeavePresets;
  EXPECT_FALSE(set.RecordMeetsCriteria(index, record));
  EXPECT_EQ(index, -1);
  ExpectError(0, "", {10610, 10640, 10880});
  EXPECT_EQ(record.readColumns, std::vector<int>{4});
}

TEST_F(CriteriaSetLookup, UndescribedReadFailureWithoutHeldErrorIsAMiss) {
  CriteriaSet set = EnumOf({"a", "b"});
  int index = 3;
  MapRecord record;  // declines to describe the failure
  EXPECT_TRUE(set.RecordMeetsCriteria(index, record));
  EXPECT_EQ(index, -1);
  EXPECT_FALSE(IsErrorSet());
  EXPECT_EQ(Locations(), (std::vector<int>{10610, 10610}));
}

TEST_F(CriteriaSetValues, ValuesOfEqualWidthBins) {
  CriteriaSet set;
  set.CreateHistogram(Variant(0), Variant(10), 3, 4);
  Variant value;
  ASSERT_TRUE(set.GetCriteriaValue(value, 2, 0));
  EXPECT_EQ(std::string(value), "10");
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

TEST_F(CriteriaSetValues, TermIndexErrorsReportDifferently) {
  CriteriaSet set = EnumOf({"a", "b"});
  std::string text;
  EXPECT_FALSE(set.GetCriteriaValueText(text, 1, 5, false));
  ExpectError(10645, "1,2", {10930});
  Variant value;
  EXPECT_FALSE(set.GetCriteriaValue(value, 1, 5));
  ExpectError(10645, "5,1", {10900});
}

TEST_F(CriteriaSetValues, CriteriaIndexErrors) {
  CriteriaSet set = EnumOf({"a", "b"});
  Variant value;
  EXPECT_FALSE(set.GetCriteriaValue(value, 2, 0));
  ExpectError(10645, "2,2", {10910});
  std::string text;
  EXPECT_FALSE(set.GetCriteriaValueText(text, -1, 0, false));
  ExpectError(10645, "-1,2", {10930});
  CriteriaSet empty;
  EXPECT_FALSE(empty.GetCriteriaValue(value, 0, 0));
  ExpectError(10645, "0,0", {10910});
}

TEST_F(CriteriaSetValues, EdgeListInnerUpperValueIsOutOfReach) {
  CriteriaSet set;
  set.CreateHistogram({Variant(0), Variant(10)}, LowerEdgeInclusive, 4);
  Variant value;
  EXPECT_FALSE(set.GetCriteriaValue(value, 1, 1));
  ExpectError(10645, "1,1", {10900});
  ASSERT_TRUE(set.GetCriteriaValue(value, 1, 0));
  EXPECT_EQ(std::string(value), "0");
}

TEST_F(CriteriaSetValues, BinWithFewerTermsThanTheFirstFailsThroughTheCriteria) {
  CriteriaSet set;
  set.CreateHistogram(Variant(0), Variant(10), 1, 4);  // two terms per bin
  set.CreateEnum(std::vector<std::string>{"x"}, 4);    // one term
  Variant value;
  EXPECT_FALSE(set.GetCriteriaValue(value, 3, 1));
  ExpectError(10645, "1,2", {10900});
  TheErrorManager().Clear();
  std::string text;
  EXPECT_FALSE(set.GetCriteriaValueText(text, 3, 1, false));
  ExpectError(10645, "1,2", {10920});
}

TEST_F(CriteriaSetCopy, CopyClonesEveryBin) {
  auto original = std::make_unique<CriteriaSet>();
  original->CreateHistogram(Variant(0), Variant(10), 2, 4);
  CriteriaSet copy(*original);
  original.reset();
  EXPECT_EQ(copy.GetCriteriaCount(), 4);
  EXPECT_EQ(ValuesLine(copy), "[* - 0], [0* - 10], [10* - 20], [20* - ]");
  EXPECT_EQ(BinOf(copy, Variant(15)), 2);
}

TEST_F(CriteriaSetCopy, AssignmentToAFreshSetCopies) {
  CriteriaSet source = EnumOf({"a", "b"});
  auto target = std::make_unique<CriteriaSet>();
  *target = source;
  source = CriteriaSet();
  EXPECT_EQ(target->GetCriteriaCount(), 2);
  EXPECT_EQ(ValuesLine(*target), "a, b");
}

TEST_F(CriteriaSetCopy, SelfAssignmentKeepsTheBins) {
  CriteriaSet set = EnumOf({"a", "b"});
  CriteriaSet& alias = set;
  set = alias;
  EXPECT_EQ(ValuesLine(set), "a, b");
  EXPECT_EQ(BinOf(set, Variant("b")), 1);
}

TEST_F(CriteriaSetCopy, AssignmentOntoBinsKeepsTheirEntriesEmpty) {
  CriteriaSet set = EnumOf({"old"});
  set = EnumOf({"a", "b"});
  EXPECT_EQ(set.GetCriteriaCount(), 3);
  EXPECT_EQ(set.GetCriteriaValueCount(), 0);
  EXPECT_EQ(BinOf(set, Variant("old")), -1);
  EXPECT_EQ(BinOf(set, Variant("a")), 1);
  EXPECT_EQ(ObjectDump(set), "Col 4 = a\r\nCol 4 = b\r\n");
  Variant value;
  EXPECT_FALSE(set.GetCriteriaValue(value, 0, 0));
  ExpectError(10645, "0,0", {10900});
  std::ostringstream out;
  set.DumpCriteria(out, "", 0);
  set.DumpCriteriaValue(out, "", 0);
  EXPECT_EQ(out.str(), "");
  CriteriaSet copy(set);
  EXPECT_EQ(copy.GetCriteriaCount(), 2);
}

TEST_F(CriteriaSetDumps, MultiLineValuesRepeatThePrefixOnTheFirstLine) {
  CriteriaSet set = EnumOf({"a", "b"});
  std::ostringstream out;
  set.DumpCriteraValues(out, "P", false);
  EXPECT_EQ(out.str(), "PPa\r\nPb");
}

TEST_F(CriteriaSetDumps, OneLineValuesWriteThePrefixOnce) {
  CriteriaSet set = EnumOf({"a", "b"});
  EXPECT_EQ(ValuesLine(set, "P: "), "P: a, b");
  CriteriaSet empty;
  EXPECT_EQ(ValuesLine(empty, "P"), "P");
}

TEST_F(CriteriaSetDumps, SeparatorsFollowPositionsNotWrittenBins) {
  CriteriaSet set = EnumOf({"old"});
  set = EnumOf({"a", "b"});
  EXPECT_EQ(ValuesLine(set, "P"), "P, a, b");
  std::ostringstream out;
  set.DumpCriteraValues(out, "P", false);
  EXPECT_EQ(out.str(), "P\r\nPa\r\nPb");
}

TEST_F(CriteriaSetDumps, SingleBinDumpsIgnoreBadIndexes) {
  CriteriaSet set = EnumOf({"a", "b"});
  std::ostringstream out;
  set.DumpCriteria(out, "  ", 1);
  out << '|';
  set.DumpCriteriaValue(out, "> ", 0);
  out << '|';
  set.DumpCriteria(out, "  ", 2);
  set.DumpCriteriaValue(out, "  ", -1);
  set.DumpCriteria(out, nullptr, 0);
  EXPECT_EQ(out.str(), "  Col 4 = b|> a|Col 4 = a");
  ExpectNoError();
}

TEST_F(CriteriaSetDumps, ObjectDumpWithNullIndent) {
  CriteriaSet set = EnumOf({"a"});
  EXPECT_EQ(ObjectDump(set), "Col 4 = a\r\n");
  EXPECT_EQ(ObjectDump(set, "    "), "    Col 4 = a\r\n");
}

}  // namespace
}  // namespace testing
}  // namespace stattree
