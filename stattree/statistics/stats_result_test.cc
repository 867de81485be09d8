#include "stattree/statistics/stats_result.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "stattree/boundary/error_reporting.h"
#include "stattree/statistics/scalar_results.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::ExpectError;
using testing::ExpectNoError;
using testing::ExpectRefused;
using testing::MapRecord;
using Type = StatsDefn::StatsType;

constexpr int kColumn = 3;

// Kind and text of a value: "I:7", "R:2.5", "T:pear", "E:" (empty), "X:"
// (invalid).
std::string Shown(const Variant& value) {
  return std::string(1, "EIRTX"[static_cast<int>(value.GetKind())]) + ":" + value.ToString();
}

std::string ShownReal(double value) { return Shown(Variant(value)); }

class ScalarTest : public testing::ErrorTest {
 protected:
  static std::unique_ptr<StatsResult> Make(Type type) {
    return std::unique_ptr<StatsResult>(StatsResult::New(type, kColumn));
  }

  // Feeds every value in order, expecting each record to be taken.
  void Feed(StatsResult& result, const std::vector<Variant>& values) {
    for (const Variant& value : values) {
      record.values[kColumn] = value;
      ASSERT_TRUE(result.ProcessRecord(record));
    }
  }

  static Variant ResultOf(StatsResult& result) {
    Variant value("untouched");
    EXPECT_TRUE(result.GetResult(value));
    return value;
  }

  std::string FinalOf(Type type, const std::vector<Variant>& values) {
    auto result = Make(type);
    Feed(*result, values);
    result->Finalize();
    return Shown(ResultOf(*result));
  }

  static std::string DumpOf(StatsResult& result) {
    std::ostringstream out;
    result.DumpObject(out);
    return out.str();
  }

  MapRecord record{{}, MapRecord::Describe::LeavePresets};
};

using StatsResultFactory = ScalarTest;
using ScalarResults = ScalarTest;
using ScalarReadFailure = ScalarTest;

TEST_F(StatsResultFactory, MakesTheClassOfEachTypeWithItsFlags) {
  const std::tuple<Type, Type, bool, bool> cases[] = {
      {StatsDefn::Count, StatsDefn::Count, false, true},
      {StatsDefn::CountValid, StatsDefn::CountValid, false, true},
      {StatsDefn::Min, StatsDefn::Min, false, false},
      {StatsDefn::Max, StatsDefn::Max, false, false},
      {StatsDefn::Sum, StatsDefn::Sum, false, false},
      {StatsDefn::Average, StatsDefn::Average, false, false},
      {StatsDefn::StdDev, StatsDefn::StdDev, false, false},
      {StatsDefn::Histogram1, StatsDefn::EnumCount, true, true},
      {StatsDefn::EnumCount, StatsDefn::EnumCount, true, true},
      {StatsDefn::EnumPercent, StatsDefn::EnumPercent, true, true}};
  for (const auto& [type, reported, isEnum, isCount] : cases) {
    auto result = Make(type);
    ASSERT_NE(result, nullptr) << type;
    EXPECT_EQ(std::make_tuple(result->GetType(), result->IsEnum(), result->IsCountType()),
              std::make_tuple(reported, isEnum, isCount));
  }
  ExpectNoError();
  for (int type : {10, -1}) {
    EXPECT_EQ(StatsResult::New(static_cast<Type>(type), kColumn), nullptr);
    ExpectError(11355, std::to_string(type), {});
  }
  // The column is passed on unchecked, even -1.
  std::unique_ptr<StatsResult> sum(StatsResult::New(StatsDefn::Sum, -1));
  record.values[-1] = 1;
  ASSERT_TRUE(sum->ProcessRecord(record));
  EXPECT_EQ(record.readColumns, std::vector<int>{-1});
}

TEST_F(ScalarResults, AccumulateNoneOneAndManyValuesOfEveryKind) {
  const Type types[] = {StatsDefn::Count, StatsDefn::CountValid, StatsDefn::Min,   StatsDefn::Max,
                        StatsDefn::Sum,   StatsDefn::Average,    StatsDefn::StdDev};
  const std::string root2 = ShownReal(std::sqrt(2.0));
  // The results of the types above, in their order.
  const std::pair<std::vector<Variant>, std::vector<std::string>> cases[] = {
      {{}, {"I:0", "I:0", "E:", "E:", "I:0", "E:", "E:"}},
      {{7}, {"I:1", "I:1", "I:7", "I:7", "I:7", "R:7", "R:0"}},
      // 2, 4, 4, 4, 5, 5, 7, 9: the sample deviation, not the population's 2.
      {{4, 2, 9, 4, 5, 7, 4, 5},
       {"I:8", "I:8", "I:2", "I:9", "I:40", "R:5", ShownReal(std::sqrt(32.0 / 7.0))}},
      // Empty values count only for Count and replace neither Min nor Max.
      {{4, Variant(), 6}, {"I:3", "I:2", "I:4", "I:6", "I:10", "R:5", root2}},
      {{Variant(), Variant()}, {"I:2", "I:0", "E:", "E:", "I:0", "E:", "E:"}},
      // Invalid values are skipped except by Min and Max, where the value
      // ordering alone decides (invalid ranks above numbers).
      {{3, Variant::Invalid(), 5}, {"I:3", "I:2", "I:3", "X:", "I:8", "R:4", root2}},
      // Text goes through the value operators; a sum that is no number
      // fails the variance test.
      {{"2", 3}, {"I:2", "I:2", "I:3", "T:2", "I:5", "R:2.5", ShownReal(std::sqrt(0.5))}},
      {{"pear", "apple", 3}, {"I:3", "I:3", "I:3", "T:pear", "X:", "X:", "R:0"}},
      {{"abc", ""}, {"I:2", "I:2", "T:", "T:abc", "X:", "X:", "R:0"}}};
  for (const auto& [values, shown] : cases) {
    for (int i = 0; i < 7; ++i) {
      EXPECT_EQ(FinalOf(types[i], values), shown[i]) << types[i] << " of " << values.size();
    }
  }
  // Six times 0.3 leaves S*S just above N*Q in doubles.
  EXPECT_EQ(FinalOf(StatsDefn::StdDev, {0.3, 0.3, 0.3, 0.3, 0.3, 0.3}), "R:0");
}

TEST_F(ScalarResults, AverageAppearsOnlyAfterFinalizeAndIsRecomputed) {
  auto average = Make(StatsDefn::Average);
  Feed(*average, {2, 3});
  EXPECT_EQ(DumpOf(*average), "            Result    : ");
  average->Finalize();
  average->Finalize();
  EXPECT_EQ(DumpOf(*average), "            Result    : 2.5");
  Feed(*average, {10});
  average->Finalize();
  EXPECT_EQ(Shown(ResultOf(*average)), "R:5");
  auto count = Make(StatsDefn::Count);
  Feed(*count, {1, 2, 3});
  EXPECT_EQ(DumpOf(*count), "            Result    : 3");
}

TEST_F(ScalarResults, CloneCopiesColumnAndStateIndependently) {
  for (Type type : {StatsDefn::Count, StatsDefn::CountValid, StatsDefn::Min, StatsDefn::Max,
                    StatsDefn::Sum, StatsDefn::Average, StatsDefn::StdDev}) {
    auto original = Make(type);
    Feed(*original, {5, 1});
    std::unique_ptr<StatsResult> copy(original->Clone());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetType(), type);
    original->Finalize();
    copy->Finalize();
    EXPECT_EQ(Shown(ResultOf(*copy)), Shown(ResultOf(*original))) << type;
    record.readColumns.clear();
    Feed(*copy, {-20, 50});
    copy->Finalize();
    if (type != StatsDefn::Count) {
      EXPECT_EQ(record.readColumns, (std::vector<int>{kColumn, kColumn})) << type;
    }
    EXPECT_NE(Shown(ResultOf(*copy)), Shown(ResultOf(*original))) << type;
  }
}

TEST_F(ScalarReadFailure, ReportsEachClassLocationWithThePresetsAndKeepsTheState) {
  const std::pair<Type, int> cases[] = {
      {StatsDefn::CountValid, 11360}, {StatsDefn::Sum, 11370},     {StatsDefn::Min, 11380},
      {StatsDefn::Max, 11390},        {StatsDefn::Average, 11400}, {StatsDefn::StdDev, 11410},
  };
  for (const auto& [type, location] : cases) {
    auto result = Make(type);
    Feed(*result, {4, 6});
    record.failFromRead = 1;
    EXPECT_FALSE(result->ProcessRecord(record)) << type;
    record.failFromRead = 0;
    // The record answers without touching the statistic-side presets.
    const testing::ErrorSnapshot held = testing::HeldError();
    EXPECT_EQ(std::tie(held.code, held.second, held.message, held.flag),
              std::make_tuple(0, 0, std::string(), false));
    ExpectError(0, "", {location});
    result->Finalize();
    EXPECT_EQ(Shown(ResultOf(*result)), FinalOf(type, {4, 6})) << type;
  }
  // A declined description keeps the error held before.
  TheErrorManager().Set(4242);
  record.describe = MapRecord::Describe::Decline;
  record.failFromRead = 1;
  ExpectRefused(SumResult(kColumn).ProcessRecord(record), 4242, "", {11370});
  // Count never reads the record.
  record.readColumns.clear();
  auto count = Make(StatsDefn::Count);
  EXPECT_TRUE(count->ProcessRecord(record));
  EXPECT_TRUE(record.readColumns.empty());
  ExpectNoError();
}

}  // namespace
}  // namespace stattree
