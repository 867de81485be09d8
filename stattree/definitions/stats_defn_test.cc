#include "stattree/definitions/stats_defn.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn_test_util.h"

namespace stattree {
namespace {

using testing_util::CurrentError;
using testing_util::Dump;
using testing_util::MakeField;
using testing_util::MakePair;
using testing_util::StatsDefnTest;

constexpr int kAlwaysPassKind = Criteria::kAlwaysPassType;
constexpr int kMultipleKind = Criteria::kMultipleType;

// A definition with all three specs.
std::unique_ptr<StatsDefn> FullDefn() {
  auto defn = std::make_unique<StatsDefn>("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
  EXPECT_TRUE(defn->CreateGroupingSpec("ByYear", {MakeField("Year", 0), MakeField("Month", 1)}));
  EXPECT_TRUE(defn->CreateSubsetSpec("North", {MakePair("Region", 5, Variant("North"))}));
  EXPECT_TRUE(defn->CreateEnumSpec(std::vector<std::string>{"b", "a"}));
  return defn;
}

using StatsDefnConstruction = StatsDefnTest;

TEST_F(StatsDefnConstruction, DefaultIsEmptyAndPointsAtItsOwnAlwaysPass) {
  StatsDefn defn;
  EXPECT_EQ(defn.GetType(), StatsDefn::InvalidType);
  EXPECT_EQ(defn.GetFieldColNum(), -1);
  EXPECT_EQ(defn.GetName(), "");
  ASSERT_NE(defn.GetGroupingCriteria(), nullptr);
  // One embedded object serves both pointers.
  EXPECT_EQ(defn.GetGroupingCriteria(), defn.GetSubsetCriteria());
  EXPECT_EQ(defn.GetGroupingCriteria()->GetCriteriaType(), kAlwaysPassKind);
  EXPECT_EQ(defn.GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(defn.GetGroupingFieldCount(), 0);
  EXPECT_EQ(defn.GetSubsetFieldCount(), 0);
  StatsDefn other;
  EXPECT_NE(other.GetGroupingCriteria(), defn.GetGroupingCriteria());
}

TEST_F(StatsDefnConstruction, ThreeArgumentFormStoresNameFieldAndType) {
  StatsDefn defn("Sales", MakeField("Amount", 4), StatsDefn::Sum);
  Field field;
  defn.GetField(field);
  EXPECT_EQ(field.name, "Amount");
  EXPECT_EQ(field.colNum, 4);
  std::string fieldName;
  EXPECT_TRUE(defn.GetFieldName(fieldName));
  EXPECT_EQ(fieldName, "Amount");
  EXPECT_EQ(defn.GetName(), "Sales");
  EXPECT_EQ(defn.GetType(), StatsDefn::Sum);
}

TEST_F(StatsDefnConstruction, UnknownTypeIsStoredAsGivenAndHasNoName) {
  StatsDefn defn("X", MakeField("F", 0), static_cast<StatsDefn::StatsType>(42));
  EXPECT_EQ(static_cast<int>(defn.GetType()), 42);
  EXPECT_FALSE(defn.IsEnum());
  EXPECT_FALSE(defn.IsHistogram());
  EXPECT_EQ(Dump(defn, ""),
            "Name      : X\r\n"
            "Field     : F(Col = 0)\r\n"
            "Type      : \r\n"
            "Subset    : No subset spec\r\n"
            "Grouping  : No grouping spec\r\n");
}

TEST_F(StatsDefnConstruction, DistributionKindsFollowTheType) {
  struct Case {
    StatsDefn::StatsType type;
    bool isEnum;
    bool isHistogram;
  };
  const Case cases[] = {
      {StatsDefn::Count, false, false},      {StatsDefn::StdDev, false, false},
      {StatsDefn::Histogram1, false, true},  {StatsDefn::EnumCount, true, false},
      {StatsDefn::EnumPercent, true, false}, {StatsDefn::InvalidType, false, false}};
  for (const Case& c : cases) {
    StatsDefn defn("X", MakeField("F", 0), c.type);
    EXPECT_EQ(defn.IsEnum(), c.isEnum) << c.type;
    EXPECT_EQ(defn.IsHistogram(), c.isHistogram) << c.type;
  }
}

using StatsDefnTypeNames = StatsDefnTest;

TEST_F(StatsDefnTypeNames, EveryTypeRoundTripsThroughItsName) {
  const char* names[] = {"Count",   "CountValid", "Min",        "Max",       "Sum",
                         "Average", "StdDev",     "Histogram1", "EnumCount", "EnumPercent"};
  for (int i = 0; i < 10; ++i) {
    std::string text;
    StatsDefn::GetTypeString(text, static_cast<StatsDefn::StatsType>(i));
    EXPECT_EQ(text, names[i]);
    EXPECT_EQ(StatsDefn::GetTypeFromString(names[i]), i);
  }
}

TEST_F(StatsDefnTypeNames, OnlyExactNamesAreRecognised) {
  for (const char* text : {"count", "COUNT", "Count ", " Count", "", "Invalid", "Histogram"}) {
    EXPECT_EQ(StatsDefn::GetTypeFromString(text), StatsDefn::InvalidType) << '"' << text << '"';
  }
}

TEST_F(StatsDefnTypeNames, ValuesOutsideTheTableHaveTheEmptyName) {
  for (int value : {10, -1, 42, -2147483647}) {
    std::string text = "stale";
    StatsDefn::GetTypeString(text, static_cast<StatsDefn::StatsType>(value));
    EXPECT_EQ(text, "") << value;
    char buffer[4] = {'x', 'x', 'x', 'x'};
    StatsDefn::GetTypeString(buffer, static_cast<StatsDefn::StatsType>(value));
    EXPECT_EQ(buffer[0], '\0') << value;
  }
}

TEST_F(StatsDefnTypeNames, BufferFormWritesTheNameAndItsZeroOnly) {
  char buffer[16];
  std::memset(buffer, 'x', sizeof(buffer));
  StatsDefn::GetTypeString(buffer, StatsDefn::EnumPercent);
  EXPECT_STREQ(buffer, "EnumPercent");
  EXPECT_EQ(buffer[12], 'x');
}

using StatsDefnCopy = StatsDefnTest;

TEST_F(StatsDefnCopy, CopyClonesEverySpecAndOutlivesItsSource) {
  auto source = FullDefn();
  const std::string sourceDump = Dump(*source, "> ");
  StatsDefn copy(*source);
  EXPECT_NE(copy.GetGroupingCriteria(), source->GetGroupingCriteria());
  EXPECT_NE(copy.GetSubsetCriteria(), source->GetSubsetCriteria());
  EXPECT_NE(copy.GetEnumCriteriaSet(), source->GetEnumCriteriaSet());
  EXPECT_EQ(copy.GetGroupingCriteria()->GetCriteriaType(), kMultipleKind);
  EXPECT_EQ(copy.GetSubsetCriteria()->GetCriteriaType(), kMultipleKind);
  source.reset();
  ASSERT_NE(copy.GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(copy.GetEnumCriteriaSet()->GetCriteriaCount(), 2);
  EXPECT_EQ(copy.GetGroupingFieldCount(), 2);
  EXPECT_EQ(copy.GetSubsetFieldCount(), 1);
  EXPECT_EQ(Dump(copy, "> "), sourceDump);
}

TEST_F(StatsDefnCopy, CopyWithoutSpecsAimsAtItsOwnAlwaysPass) {
  auto source = std::make_unique<StatsDefn>("Sales", MakeField("Amount", 4), StatsDefn::Sum);
  StatsDefn copy(*source);
  EXPECT_NE(copy.GetGroupingCriteria(), source->GetGroupingCriteria());
  EXPECT_NE(copy.GetSubsetCriteria(), source->GetSubsetCriteria());
  EXPECT_EQ(copy.GetGroupingCriteria(), copy.GetSubsetCriteria());
  source.reset();
  EXPECT_EQ(copy.GetGroupingCriteria()->GetCriteriaType(), kAlwaysPassKind);
  // A copy without specs can still take specs of its own.
  EXPECT_TRUE(copy.CreateGroupingSpec("ByYear", {MakeField("Year", 0)}));
}

TEST_F(StatsDefnCopy, AssignmentReleasesTargetSpecsAndCopiesTheSource) {
  StatsDefn target("Old", MakeField("F", 9), StatsDefn::Histogram1);
  Criteria* ownAlwaysPass = target.GetGroupingCriteria();
  ASSERT_TRUE(target.CreateGroupingSpec("G", {MakeField("A", 1)}));
  ASSERT_TRUE(target.CreateHistogramSpec(Variant(0), Variant(1), 2));
  const StatsDefn source("New", MakeField("Amount", 4), StatsDefn::Sum);
  target = source;
  EXPECT_EQ(target.GetName(), "New");
  EXPECT_EQ(target.GetType(), StatsDefn::Sum);
  EXPECT_EQ(target.GetGroupingCriteria(), ownAlwaysPass);
  EXPECT_EQ(target.GetSubsetCriteria(), ownAlwaysPass);
  EXPECT_EQ(target.GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(target.GetGroupingFieldCount(), 0);
  EXPECT_EQ(target.GetGroupingName(), "");
}

TEST_F(StatsDefnCopy, AssignedCopyIsIndependentOfItsSource) {
  auto source = FullDefn();
  StatsDefn target;
  target = *source;
  EXPECT_NE(target.GetGroupingCriteria(), source->GetGroupingCriteria());
  source->Reset();
  EXPECT_EQ(target.GetGroupingName(), "ByYear");
  EXPECT_EQ(target.GetEnumCriteriaSet()->GetCriteriaCount(), 2);
  std::string text;
  EXPECT_TRUE(target.GetSubsetCriteria()->GetCriteriaText(text, 0, true));
  EXPECT_EQ(text, "=North");
}

TEST_F(StatsDefnCopy, SelfAssignmentChangesAndReleasesNothing) {
  auto defn = FullDefn();
  Criteria* grouping = defn->GetGroupingCriteria();
  CriteriaSet* set = defn->GetEnumCriteriaSet();
  const std::string before = Dump(*defn, "");
  StatsDefn& alias = *defn;
  *defn = alias;
  EXPECT_EQ(defn->GetGroupingCriteria(), grouping);
  EXPECT_EQ(defn->GetEnumCriteriaSet(), set);
  EXPECT_EQ(Dump(*defn, ""), before);
}

using StatsDefnReset = StatsDefnTest;

TEST_F(StatsDefnReset, ReleasesAndEmptiesEverything) {
  auto defn = FullDefn();
  StatsDefn fresh;
  defn->Reset();
  EXPECT_EQ(defn->GetType(), StatsDefn::InvalidType);
  EXPECT_EQ(defn->GetFieldColNum(), -1);
  std::string fieldName = "stale";
  defn->GetFieldName(fieldName);
  EXPECT_EQ(fieldName, "");
  EXPECT_EQ(defn->GetName(), "");
  EXPECT_EQ(defn->GetGroupingName(), "");
  EXPECT_EQ(defn->GetSubsetName(), "");
  EXPECT_EQ(defn->GetGroupingFieldCount(), 0);
  EXPECT_EQ(defn->GetSubsetFieldCount(), 0);
  EXPECT_EQ(defn->GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(defn->GetGroupingCriteria()->GetCriteriaType(), kAlwaysPassKind);
  EXPECT_EQ(defn->GetGroupingCriteria(), defn->GetSubsetCriteria());
  EXPECT_EQ(Dump(*defn, nullptr), Dump(fresh, nullptr));
  // Every spec can be built again; the distribution spec is now refused
  // for the reset column, no longer as already created.
  EXPECT_TRUE(defn->CreateGroupingSpec("G", {MakeField("A", 1)}));
  EXPECT_TRUE(defn->CreateSubsetSpec("S", {MakePair("B", 2, Variant(1))}));
  EXPECT_FALSE(defn->CreateHistogramSpec(Variant(0), Variant(1), 1));
  EXPECT_EQ(CurrentError().code, 10595);
}

TEST_F(StatsDefnReset, InitializeDropsSpecsAndKeepsTheNewIdentity) {
  auto defn = FullDefn();
  defn->Initialize("Other", MakeField("Qty", 7), StatsDefn::Max);
  EXPECT_EQ(defn->GetName(), "Other");
  EXPECT_EQ(defn->GetFieldColNum(), 7);
  EXPECT_EQ(defn->GetType(), StatsDefn::Max);
  EXPECT_EQ(defn->GetGroupingFieldCount(), 0);
  EXPECT_EQ(defn->GetSubsetFieldCount(), 0);
  EXPECT_EQ(defn->GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(defn->GetGroupingCriteria(), defn->GetSubsetCriteria());
  EXPECT_TRUE(defn->CreateEnumSpec(std::set<std::string>{"x"}));
}

TEST_F(StatsDefnReset, InitializeWithItsOwnNameKeepsIt) {
  StatsDefn defn("Sales", MakeField("Amount", 4), StatsDefn::Sum);
  defn.Initialize(defn.GetName(), MakeField("Amount", 4), StatsDefn::Min);
  EXPECT_EQ(defn.GetName(), "Sales");
}

using StatsDefnIndexedAccess = StatsDefnTest;

TEST_F(StatsDefnIndexedAccess, CopiesTheEntryAtTheIndex) {
  auto defn = FullDefn();
  Field field;
  ASSERT_TRUE(defn->GetGroupingField(field, 1));
  EXPECT_EQ(field.name, "Month");
  EXPECT_EQ(field.colNum, 1);
  std::string name;
  ASSERT_TRUE(defn->GetGroupingFieldName(name, 0));
  EXPECT_EQ(name, "Year");
  ASSERT_TRUE(defn->GetSubsetField(field, 0));
  EXPECT_EQ(field.name, "Region");
  EXPECT_EQ(field.colNum, 5);
  ASSERT_TRUE(defn->GetSubsetFieldName(name, 0));
  EXPECT_EQ(name, "Region");
  Variant value;
  ASSERT_TRUE(defn->GetSubsetFieldValue(value, 0));
  EXPECT_EQ(value.ToString(), "North");
  EXPECT_FALSE(CurrentError().set);
}

TEST_F(StatsDefnIndexedAccess, RefusesIndexesOutsideTheListAtEachGuard) {
  auto defn = FullDefn();
  Field field = MakeField("untouched", 99);
  std::string name = "untouched";
  Variant value("untouched");
  const auto expectRefused = [](bool result, int location, const char* detail) {
    EXPECT_FALSE(result);
    const auto held = CurrentError();
    EXPECT_EQ(held.code, 11920);
    EXPECT_EQ(held.detail, detail);
    EXPECT_EQ(held.locations, std::vector<int>{location});
    TheErrorManager().Clear();
  };
  expectRefused(defn->GetGroupingField(field, 2), 11760, "2,2");
  expectRefused(defn->GetGroupingFieldName(name, -1), 11770, "-1,2");
  expectRefused(defn->GetSubsetField(field, 1), 11780, "1,1");
  expectRefused(defn->GetSubsetFieldName(name, -5), 11790, "-5,1");
  expectRefused(defn->GetSubsetFieldValue(value, 1), 11800, "1,1");
  EXPECT_EQ(field.name, "untouched");
  EXPECT_EQ(field.colNum, 99);
  EXPECT_EQ(name, "untouched");
  EXPECT_EQ(value.ToString(), "untouched");
}

TEST_F(StatsDefnIndexedAccess, EmptyListsRefuseIndexZero) {
  StatsDefn defn;
  Field field;
  EXPECT_FALSE(defn.GetGroupingField(field, 0));
  const auto held = CurrentError();
  EXPECT_EQ(held.code, 11920);
  EXPECT_EQ(held.detail, "0,0");
}

}  // namespace
}  // namespace stattree
