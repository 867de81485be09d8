#include "stattree/statistics/stats_result.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/engine/error_reporting.h"
#include "stattree/statistics/scalar_results.h"
#include "stattree/statistics/statistics_test_util.h"

namespace stattree {
namespace {

using testing::GetHeldError;
using testing::HeldLocations;
using testing::OneValueRecord;

constexpr int kColumn = 3;

class ScalarTest : public ::testing::Test {
 protected:
  void SetUp() override { TheErrorManager().Clear(); }
  void TearDown() override { TheErrorManager().Clear(); }

  static std::unique_ptr<StatsResult> Make(StatsDefn::StatsType type) {
    return std::unique_ptr<StatsResult>(StatsResult::New(type, kColumn));
  }

  // Feeds every value in order, expecting each record to be taken.
  void Feed(StatsResult& result, const std::vector<Variant>& values) {
    for (const Variant& value : values) {
      record.value = value;
      ASSERT_TRUE(result.ProcessRecord(record));
    }
  }

  static Variant ResultOf(StatsResult& result) {
    Variant value("untouched");
    EXPECT_TRUE(result.GetResult(value));
    return value;
  }

  static Variant FinalOf(StatsDefn::StatsType type, const std::vector<Variant>& values) {
    auto result = Make(type);
    OneValueRecord feeder;
    for (const Variant& value : values) {
      feeder.value = value;
      EXPECT_TRUE(result->ProcessRecord(feeder));
    }
    result->Finalize();
    return ResultOf(*result);
  }

  OneValueRecord record;
};

using StatsResultFactory = ScalarTest;
using ScalarResults = ScalarTest;
using ScalarReadFailure = ScalarTest;

TEST_F(StatsResultFactory, MakesTheClassOfEachTypeWithItsFlags) {
  struct Expected {
    StatsDefn::StatsType type;
    StatsDefn::StatsType reported;
    bool isEnum;
    bool isCount;
  };
  const Expected cases[] = {
      {StatsDefn::Count, StatsDefn::Count, false, true},
      {StatsDefn::CountValid, StatsDefn::CountValid, false, true},
      {StatsDefn::Min, StatsDefn::Min, false, false},
      {StatsDefn::Max, StatsDefn::Max, false, false},
      {StatsDefn::Sum, StatsDefn::Sum, false, false},
      {StatsDefn::Average, StatsDefn::Average, false, false},
      {StatsDefn::StdDev, StatsDefn::StdDev, false, false},
      {StatsDefn::Histogram1, StatsDefn::EnumCount, true, true},
      {StatsDefn::EnumCount, StatsDefn::EnumCount, true, true},
      {StatsDefn::EnumPercent, StatsDefn::EnumPercent, true, true},
  };
  for (const Expected& want : cases) {
    auto result = Make(want.type);
    ASSERT_NE(result, nullptr) << want.type;
    EXPECT_EQ(result->GetType(), want.reported) << want.type;
    EXPECT_EQ(result->IsEnum(), want.isEnum) << want.type;
    EXPECT_EQ(result->IsCountType(), want.isCount) << want.type;
  }
  EXPECT_FALSE(IsErrorSet());
}

TEST_F(StatsResultFactory, RefusesAnUnknownTypeWithTheTypeAsDetail) {
  for (int type : {10, -1}) {
    TheErrorManager().Clear();
    EXPECT_EQ(StatsResult::New(static_cast<StatsDefn::StatsType>(type), kColumn), nullptr);
    EXPECT_EQ(GetHeldError().code, 11355);
    EXPECT_EQ(TheErrorManager().GetDetail(), std::to_string(type));
  }
}

TEST_F(StatsResultFactory, ReadsTheGivenColumnEvenMinusOne) {
  std::unique_ptr<StatsResult> sum(StatsResult::New(StatsDefn::Sum, -1));
  ASSERT_TRUE(sum->ProcessRecord(record));
  EXPECT_EQ(record.columnsAsked, std::vector<int>{-1});
}

TEST_F(ScalarResults, GiveTheirStartValuesWithoutRecords) {
  for (StatsDefn::StatsType type : {StatsDefn::Count, StatsDefn::CountValid, StatsDefn::Sum}) {
    Variant value = FinalOf(type, {});
    EXPECT_TRUE(value.IsInteger()) << type;
    EXPECT_EQ(value.GetInteger(), 0) << type;
  }
  for (StatsDefn::StatsType type :
       {StatsDefn::Min, StatsDefn::Max, StatsDefn::Average, StatsDefn::StdDev}) {
    EXPECT_TRUE(FinalOf(type, {}).IsEmpty()) << type;
  }
}

TEST_F(ScalarResults, TakeASingleValue) {
  EXPECT_EQ(FinalOf(StatsDefn::Count, {7}).GetInteger(), 1);
  EXPECT_EQ(FinalOf(StatsDefn::CountValid, {7}).GetInteger(), 1);
  EXPECT_EQ(FinalOf(StatsDefn::Min, {7}).GetInteger(), 7);
  EXPECT_EQ(FinalOf(StatsDefn::Max, {7}).GetInteger(), 7);
  EXPECT_EQ(FinalOf(StatsDefn::Sum, {7}).GetInteger(), 7);
  EXPECT_DOUBLE_EQ(static_cast<double>(FinalOf(StatsDefn::Average, {7})), 7.0);
  Variant deviation = FinalOf(StatsDefn::StdDev, {7});
  EXPECT_TRUE(deviation.IsReal());
  EXPECT_EQ(deviation.GetReal(), 0.0);
}

TEST_F(ScalarResults, AccumulateManyValues) {
  const std::vector<Variant> values = {4, 2, 9, 4, 5, 7, 4, 5};
  EXPECT_EQ(FinalOf(StatsDefn::Count, values).GetInteger(), 8);
  EXPECT_EQ(FinalOf(StatsDefn::CountValid, values).GetInteger(), 8);
  EXPECT_EQ(FinalOf(StatsDefn::Min, values).GetInteger(), 2);
  EXPECT_EQ(FinalOf(StatsDefn::Max, values).GetInteger(), 9);
  EXPECT_EQ(FinalOf(StatsDefn::Sum, values).GetInteger(), 40);
  EXPECT_DOUBLE_EQ(static_cast<double>(FinalOf(StatsDefn::Average, values)), 5.0);
}

TEST_F(ScalarResults, StdDevIsTheSampleDeviation) {
  Variant deviation = FinalOf(StatsDefn::StdDev, {2, 4, 4, 4, 5, 5, 7, 9});
  ASSERT_TRUE(deviation.IsReal());
  EXPECT_DOUBLE_EQ(deviation.GetReal(), std::sqrt(32.0 / 7.0));  // not 2.0
}

TEST_F(ScalarResults, StdDevGivesZeroWhenRoundingMakesTheVarianceNegative) {
  // Six times 0.3 leaves S*S just above N*Q in doubles.
  Variant deviation = FinalOf(StatsDefn::StdDev, {0.3, 0.3, 0.3, 0.3, 0.3, 0.3});
  ASSERT_TRUE(deviation.IsReal());
  EXPECT_EQ(deviation.GetReal(), 0.0);
}

TEST_F(ScalarResults, EmptyValuesCountOnlyForCountAndAddNothing) {
  const std::vector<Variant> values = {4, Variant(), 6};
  EXPECT_EQ(FinalOf(StatsDefn::Count, values).GetInteger(), 3);
  EXPECT_EQ(FinalOf(StatsDefn::CountValid, values).GetInteger(), 2);
  EXPECT_EQ(FinalOf(StatsDefn::Sum, values).GetInteger(), 10);
  EXPECT_DOUBLE_EQ(static_cast<double>(FinalOf(StatsDefn::Average, values)), 5.0);
  EXPECT_DOUBLE_EQ(FinalOf(StatsDefn::StdDev, values).GetReal(), std::sqrt(2.0));
  // An empty value neither replaces a minimum nor a maximum.
  EXPECT_EQ(FinalOf(StatsDefn::Min, values).GetInteger(), 4);
  EXPECT_EQ(FinalOf(StatsDefn::Max, values).GetInteger(), 6);
  // Only empty values: Average and StdDev saw nothing.
  EXPECT_TRUE(FinalOf(StatsDefn::Average, {Variant(), Variant()}).IsEmpty());
  EXPECT_TRUE(FinalOf(StatsDefn::StdDev, {Variant(), Variant()}).IsEmpty());
}

TEST_F(ScalarResults, InvalidValuesAreSkippedExceptByMinAndMax) {
  const std::vector<Variant> values = {3, Variant::Invalid(), 5};
  EXPECT_EQ(FinalOf(StatsDefn::Count, values).GetInteger(), 3);
  EXPECT_EQ(FinalOf(StatsDefn::CountValid, values).GetInteger(), 2);
  EXPECT_EQ(FinalOf(StatsDefn::Sum, values).GetInteger(), 8);
  EXPECT_DOUBLE_EQ(static_cast<double>(FinalOf(StatsDefn::Average, values)), 4.0);
  EXPECT_DOUBLE_EQ(FinalOf(StatsDefn::StdDev, values).GetReal(), std::sqrt(2.0));
  // No validity test: the value ordering alone decides (invalid ranks above
  // numbers).
  EXPECT_EQ(FinalOf(StatsDefn::Min, values).GetInteger(), 3);
  EXPECT_FALSE(FinalOf(StatsDefn::Max, values).IsValid());
}

TEST_F(ScalarResults, TextValuesGoThroughTheValueOperators) {
  EXPECT_EQ(FinalOf(StatsDefn::CountValid, {"abc", ""}).GetInteger(), 2);
  EXPECT_EQ(FinalOf(StatsDefn::Min, {"pear", "apple", 3}).GetInteger(), 3);
  EXPECT_EQ(FinalOf(StatsDefn::Max, {"pear", "apple", 3}).GetText(), "pear");
  EXPECT_DOUBLE_EQ(static_cast<double>(FinalOf(StatsDefn::Sum, {"2", 3})), 5.0);
  EXPECT_FALSE(FinalOf(StatsDefn::Sum, {"abc", 3}).IsValid());
  EXPECT_FALSE(FinalOf(StatsDefn::Average, {"abc", 3}).IsValid());
  // A sum that is no number converts to NaN and fails the variance test.
  Variant deviation = FinalOf(StatsDefn::StdDev, {"abc", 3});
  ASSERT_TRUE(deviation.IsReal());
  EXPECT_EQ(deviation.GetReal(), 0.0);
}

TEST_F(ScalarResults, AverageAndStdDevAppearOnlyAfterFinalizeAndRecompute) {
  auto average = Make(StatsDefn::Average);
  Feed(*average, {2, 4});
  EXPECT_TRUE(ResultOf(*average).IsEmpty());
  average->Finalize();
  average->Finalize();
  EXPECT_DOUBLE_EQ(static_cast<double>(ResultOf(*average)), 3.0);
  Feed(*average, {9});
  average->Finalize();
  EXPECT_DOUBLE_EQ(static_cast<double>(ResultOf(*average)), 5.0);
}

TEST_F(ScalarResults, CloneCopiesColumnAndStateIndependently) {
  for (StatsDefn::StatsType type :
       {StatsDefn::Count, StatsDefn::CountValid, StatsDefn::Min, StatsDefn::Max, StatsDefn::Sum,
        StatsDefn::Average, StatsDefn::StdDev}) {
    auto original = Make(type);
    Feed(*original, {5, 1});
    std::unique_ptr<StatsResult> copy(original->Clone());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetType(), type);
    original->Finalize();
    copy->Finalize();
    EXPECT_EQ(std::string(ResultOf(*copy)), std::string(ResultOf(*original))) << type;

    record.columnsAsked.clear();
    Feed(*copy, {-20, 50});
    copy->Finalize();
    if (type != StatsDefn::Count) {
      EXPECT_EQ(record.columnsAsked, (std::vector<int>{kColumn, kColumn}));
    }
    EXPECT_NE(std::string(ResultOf(*copy)), std::string(ResultOf(*original))) << type;
  }
}

TEST_F(ScalarResults, DumpWritesTheResultLineWithoutLineEnd) {
  auto count = Make(StatsDefn::Count);
  Feed(*count, {1, 2, 3});
  std::ostringstream countOut;
  count->DumpObject(countOut);
  EXPECT_EQ(countOut.str(), "            Result    : 3");

  auto average = Make(StatsDefn::Average);
  Feed(*average, {2, 3});
  std::ostringstream before;
  average->DumpObject(before);
  EXPECT_EQ(before.str(), "            Result    : ");
  average->Finalize();
  std::ostringstream after;
  average->DumpObject(after);
  EXPECT_EQ(after.str(), "            Result    : 2.5");

  auto maximum = Make(StatsDefn::Max);
  Feed(*maximum, {"North", "South"});
  std::ostringstream maxOut;
  maximum->DumpObject(maxOut);
  EXPECT_EQ(maxOut.str(), "            Result    : South");
}

TEST_F(ScalarReadFailure, ReportsEachClassLocationAndKeepsTheState) {
  struct Expected {
    StatsDefn::StatsType type;
    int location;
  };
  const Expected cases[] = {
      {StatsDefn::CountValid, 11360}, {StatsDefn::Sum, 11370},     {StatsDefn::Min, 11380},
      {StatsDefn::Max, 11390},        {StatsDefn::Average, 11400}, {StatsDefn::StdDev, 11410},
  };
  for (const Expected& want : cases) {
    TheErrorManager().Clear();
    auto result = Make(want.type);
    record.FailFromRead(0);
    Feed(*result, {4, 6});
    record.FailFromRead(1);
    record.value = 1000;
    EXPECT_FALSE(result->ProcessRecord(record)) << want.type;
    EXPECT_EQ(HeldLocations(), std::vector<int>{want.location});

    // The statistic-side presets, left untouched by the host.
    testing::HeldError held = GetHeldError();
    EXPECT_TRUE(held.set);
    EXPECT_EQ(held.code, 0);
    EXPECT_EQ(held.second, 0);
    EXPECT_EQ(held.message, "");
    EXPECT_FALSE(held.flag);

    result->Finalize();
    Variant expected = FinalOf(want.type, {4, 6});
    EXPECT_EQ(std::string(ResultOf(*result)), std::string(expected)) << want.type;
  }
}

TEST_F(ScalarReadFailure, DeclinedDescriptionKeepsThePreviousError) {
  TheErrorManager().Set(4242);
  record.errorAnswer = OneValueRecord::ErrorAnswer::Decline;
  record.FailFromRead(1);
  SumResult sum(kColumn);
  EXPECT_FALSE(sum.ProcessRecord(record));
  EXPECT_EQ(GetHeldError().code, 4242);
  EXPECT_EQ(HeldLocations(), std::vector<int>{11370});
}

TEST_F(ScalarReadFailure, CountNeverReadsTheRecord) {
  record.FailFromRead(1);
  auto count = Make(StatsDefn::Count);
  EXPECT_TRUE(count->ProcessRecord(record));
  EXPECT_TRUE(record.columnsAsked.empty());
  EXPECT_EQ(ResultOf(*count).GetInteger(), 1);
  EXPECT_FALSE(IsErrorSet());
}

}  // namespace
}  // namespace stattree
