#include "stattree/definitions/stats_defn.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::Dump;
using testing::ExpectRefused;
using testing::FullDefn;
using testing::MakeField;
using testing::MakePair;

using StatsDefnTypes = testing::ErrorTest;
using StatsDefnCopy = testing::ErrorTest;
using StatsDefnReset = testing::ErrorTest;
using StatsDefnIndexedAccess = testing::ErrorTest;

TEST_F(StatsDefnTypes, NamesRoundTripExactlyAndOnlyForKnownTypes) {
  const char* names[] = {"Count",   "CountValid", "Min",        "Max",       "Sum",
                         "Average", "StdDev",     "Histogram1", "EnumCount", "EnumPercent"};
  for (int i = 0; i < 10; ++i) {
    const auto type = static_cast<StatsDefn::StatsType>(i);
    std::string text;
    StatsDefn::GetTypeString(text, type);
    EXPECT_EQ(text, names[i]);
    char buffer[16];
    std::memset(buffer, 'x', sizeof(buffer));
    StatsDefn::GetTypeString(buffer, type);
    EXPECT_STREQ(buffer, names[i]);
    EXPECT_EQ(buffer[std::strlen(names[i]) + 1], 'x') << "wrote past the name's zero";
    EXPECT_EQ(StatsDefn::GetTypeFromString(names[i]), type);
    StatsDefn defn("X", MakeField("F", 0), type);
    EXPECT_EQ(defn.IsEnum(), i == StatsDefn::EnumCount || i == StatsDefn::EnumPercent) << i;
    EXPECT_EQ(defn.IsHistogram(), i == StatsDefn::Histogram1) << i;
  }
  for (const char* text : {"count", "COUNT", "Count ", "", "Histogram"}) {
    EXPECT_EQ(StatsDefn::GetTypeFromString(text), StatsDefn::InvalidType) << '"' << text << '"';
  }
  for (int value : {10, -1, 42}) {
    std::string text = "stale";
    StatsDefn::GetTypeString(text, static_cast<StatsDefn::StatsType>(value));
    EXPECT_EQ(text, "") << value;
  }
  StatsDefn unknown("X", MakeField("F", 0), static_cast<StatsDefn::StatsType>(42));
  EXPECT_EQ(static_cast<int>(unknown.GetType()), 42);
  EXPECT_NE(Dump(unknown, "").find("\r\nType      : \r\n"), std::string::npos);
}

TEST_F(StatsDefnCopy, CopiesAreDeepAndOutliveTheirSource) {
  auto source = FullDefn();
  const std::string sourceDump = Dump(*source, "> ");
  StatsDefn copy(*source);
  // The target's own specs are released by the assignment (checked by the leak checker).
  StatsDefn assigned("Old", MakeField("F", 9), StatsDefn::Histogram1);
  ASSERT_TRUE(assigned.CreateGroupingSpec("G", {MakeField("A", 1)}));
  ASSERT_TRUE(assigned.CreateHistogramSpec(Variant(0), Variant(1), 2));
  assigned = *source;
  for (StatsDefn* target : {&copy, &assigned}) {
    EXPECT_NE(target->GetGroupingCriteria(), source->GetGroupingCriteria());
    EXPECT_NE(target->GetSubsetCriteria(), source->GetSubsetCriteria());
    EXPECT_NE(target->GetEnumCriteriaSet(), source->GetEnumCriteriaSet());
  }
  source.reset();
  for (StatsDefn* target : {&copy, &assigned}) {
    EXPECT_EQ(Dump(*target, "> "), sourceDump);
    EXPECT_EQ(target->GetGroupingCriteria()->GetCriteriaType(), Criteria::kMultipleType);
    EXPECT_EQ(target->GetGroupingCriteria()->GetCriteriaCount(), 2);
  }
  Criteria* grouping = copy.GetGroupingCriteria();
  StatsDefn& alias = copy;
  copy = alias;
  EXPECT_EQ(copy.GetGroupingCriteria(), grouping);
  EXPECT_EQ(Dump(copy, "> "), sourceDump);
}

TEST_F(StatsDefnCopy, CopyWithoutSpecsAimsAtItsOwnAlwaysPass) {
  auto source = std::make_unique<StatsDefn>("Sales", MakeField("Amount", 4), StatsDefn::Sum);
  StatsDefn copy(*source);
  StatsDefn assigned;
  Criteria* ownAlwaysPass = assigned.GetGroupingCriteria();
  ASSERT_TRUE(assigned.CreateSubsetSpec("S", {MakePair("B", 2, Variant(1))}));
  assigned = *source;
  EXPECT_EQ(assigned.GetGroupingCriteria(), ownAlwaysPass);
  EXPECT_EQ(assigned.GetSubsetCriteria(), ownAlwaysPass);
  source.reset();
  EXPECT_EQ(copy.GetGroupingCriteria()->GetCriteriaType(), Criteria::kAlwaysPassType);
  // Not taken for a spec of its own: the copies can still build one.
  EXPECT_TRUE(copy.CreateGroupingSpec("ByYear", {MakeField("Year", 0)}));
  EXPECT_TRUE(assigned.CreateSubsetSpec("S", {MakePair("B", 2, Variant(1))}));
}

TEST_F(StatsDefnReset, ReleasesAndEmptiesEverything) {
  auto defn = FullDefn();
  StatsDefn fresh;
  defn->Reset();
  EXPECT_EQ(Dump(*defn, nullptr), Dump(fresh, nullptr));
  EXPECT_EQ(defn->GetGroupingFieldCount() + defn->GetSubsetFieldCount(), 0);
  EXPECT_EQ(defn->GetEnumCriteriaSet(), nullptr);
  EXPECT_EQ(defn->GetGroupingCriteria(), defn->GetSubsetCriteria());
  // Every spec can be built again; the distribution spec is now refused for
  // the reset column, no longer as already created.
  EXPECT_TRUE(defn->CreateGroupingSpec("G", {MakeField("A", 1)}));
  EXPECT_TRUE(defn->CreateSubsetSpec("S", {MakePair("B", 2, Variant(1))}));
  ExpectRefused(defn->CreateHistogramSpec(Variant(0), Variant(1), 1), 10595, "-1", {10840, 11750});
}

TEST_F(StatsDefnReset, InitializeDropsTheSpecsAndKeepsTheNewIdentity) {
  auto defn = FullDefn();
  defn->Initialize(defn->GetName(), MakeField("Qty", 7), StatsDefn::Max);
  StatsDefn expected("Sales", MakeField("Qty", 7), StatsDefn::Max);
  // The prefix would close the dump of a leftover enumeration spec.
  EXPECT_EQ(Dump(*defn, "|"), Dump(expected, "|"));
  EXPECT_TRUE(defn->CreateEnumSpec(std::set<std::string>{"x"}));
}

TEST_F(StatsDefnIndexedAccess, ReadsInsideTheListsAndRefusesOutsideAtEachGuard) {
  auto defn = FullDefn();
  Field field;
  std::string name;
  Variant value;
  ASSERT_TRUE(defn->GetGroupingField(field, 1) && defn->GetGroupingFieldName(name, 0));
  EXPECT_EQ(field.name + std::to_string(field.colNum) + name, "Month1Year");
  ASSERT_TRUE(defn->GetSubsetField(field, 0) && defn->GetSubsetFieldName(name, 0) &&
              defn->GetSubsetFieldValue(value, 0));
  EXPECT_EQ(field.name + std::to_string(field.colNum) + name + value.ToString(),
            "Region5RegionNorth");

  field = MakeField("untouched", 99);
  name = "untouched";
  value = Variant("untouched");
  ExpectRefused(defn->GetGroupingField(field, 2), 11920, "2,2", {11760});
  ExpectRefused(defn->GetGroupingFieldName(name, -1), 11920, "-1,2", {11770});
  ExpectRefused(defn->GetSubsetField(field, 1), 11920, "1,1", {11780});
  ExpectRefused(defn->GetSubsetFieldName(name, -5), 11920, "-5,1", {11790});
  ExpectRefused(defn->GetSubsetFieldValue(value, 1), 11920, "1,1", {11800});
  EXPECT_EQ(field.name + std::to_string(field.colNum) + name + value.ToString(),
            "untouched99untoucheduntouched");
  ExpectRefused(StatsDefn().GetGroupingField(field, 0), 11920, "0,0", {11760});
}

}  // namespace
}  // namespace stattree
