#include "stattree/statistics/enum_result.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/criteria/criteria_set.h"
#include "stattree/engine/error_reporting.h"
#include "stattree/statistics/statistics_test_util.h"

namespace stattree {
namespace {

using testing::GetHeldError;
using testing::HeldLocations;
using testing::OneValueRecord;

constexpr int kColumn = 2;

class EnumTest : public ::testing::Test {
 protected:
  void SetUp() override {
    TheErrorManager().Clear();
    ASSERT_TRUE(regions.CreateEnum(std::vector<std::string>{"North", "South"}, kColumn));
  }
  void TearDown() override { TheErrorManager().Clear(); }

  // Feeds every value, expecting each record to be taken.
  void Feed(EnumResult& result, const std::vector<Variant>& values) {
    for (const Variant& value : values) {
      record.value = value;
      ASSERT_TRUE(result.ProcessRecord(record));
    }
  }

  void ConfigureAndFeed(EnumResult& result, const std::vector<Variant>& values) {
    ASSERT_TRUE(result.ConfigureCriteriaSet(&regions));
    Feed(result, values);
  }

  static Variant EnumResultOf(EnumResult& result, int index) {
    Variant value("untouched");
    EXPECT_TRUE(result.GetEnumResult(value, index)) << index;
    return value;
  }

  static std::string DumpOf(StatsResult& result) {
    std::ostringstream out;
    result.DumpObject(out);
    return out.str();
  }

  const std::vector<Variant> stream = {"North", "North", "South", "West", Variant()};
  CriteriaSet regions;
  OneValueRecord record;
};

using EnumCount = EnumTest;
using EnumPercent = EnumTest;
using EnumValues = EnumTest;
using EnumFailures = EnumTest;

// Exposes the counters, to reach the single-precision limit without
// feeding sixteen million records.
class SeededEnumResult : public EnumResult {
 public:
  using EnumResult::EnumResult;
  void Seed(int index, float value) { counters[index] = value; }
};

TEST_F(EnumCount, CountsPerBinAndNotAvailable) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, stream);
  EXPECT_EQ(result.GetEnumValueCount(), 2);
  Variant north = EnumResultOf(result, 0);
  EXPECT_TRUE(north.IsInteger());
  EXPECT_EQ(north.GetInteger(), 2);
  EXPECT_EQ(EnumResultOf(result, 1).GetInteger(), 1);
  EXPECT_EQ(EnumResultOf(result, EnumResult::NotAvailableIndex).GetInteger(), 1);
  EXPECT_EQ(EnumResultOf(result, EnumResult::NoMatchIndex).GetInteger(), 0);
  // West is counted nowhere, and GetResult says nothing of the bins.
  Variant total;
  EXPECT_TRUE(result.GetResult(total));
  EXPECT_EQ(total.GetInteger(), 0);
}

TEST_F(EnumCount, DumpsOneCountLinePerBin) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, stream);
  EXPECT_EQ(DumpOf(result),
            "            Result    :\r\n"
            "                North : Count=2\r\n"
            "                South : Count=1\r\n");
}

TEST_F(EnumCount, ServesHistogramsAsEnumCount) {
  CriteriaSet bins;
  ASSERT_TRUE(bins.CreateHistogram(Variant(0), Variant(10), 3, kColumn));
  std::unique_ptr<StatsResult> made(StatsResult::New(StatsDefn::Histogram1, kColumn));
  auto* histogram = dynamic_cast<EnumResult*>(made.get());
  ASSERT_NE(histogram, nullptr);
  EXPECT_EQ(histogram->GetType(), StatsDefn::EnumCount);
  ASSERT_TRUE(histogram->ConfigureCriteriaSet(&bins));
  for (int value : {-5, 10, 30, 31}) {
    record.value = value;
    ASSERT_TRUE(histogram->ProcessRecord(record));
  }
  const int expected[] = {1, 0, 1, 0, 2};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(EnumResultOf(*histogram, i).GetInteger(), expected[i]);
  Variant lowerEdge;
  ASSERT_TRUE(histogram->GetEnumValue(lowerEdge, 2));
  EXPECT_EQ(lowerEdge.GetInteger(), 10);
}

TEST_F(EnumCount, CloneSharesTheSetAndCopiesTheCounts) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, stream);
  std::unique_ptr<StatsResult> made(result.Clone());
  auto* copy = dynamic_cast<EnumResult*>(made.get());
  ASSERT_NE(copy, nullptr);
  record.value = "South";
  ASSERT_TRUE(copy->ProcessRecord(record));
  EXPECT_EQ(EnumResultOf(*copy, 1).GetInteger(), 2);
  EXPECT_EQ(EnumResultOf(*copy, EnumResult::NotAvailableIndex).GetInteger(), 1);
  EXPECT_EQ(EnumResultOf(result, 1).GetInteger(), 1);
  std::string text;
  ASSERT_TRUE(copy->GetEnumValue(text, 0, false));
  EXPECT_EQ(text, "North");
}

TEST_F(EnumCount, ABinStopsGrowingAtTheSinglePrecisionLimit) {
  SeededEnumResult result(kColumn);
  ConfigureAndFeed(result, {});
  result.Seed(0, 16777216.0F);
  Feed(result, {"North", "North"});
  EXPECT_EQ(EnumResultOf(result, 0).GetInteger(), 16777216);
}

TEST_F(EnumPercent, GivesSinglePrecisionPercentagesOfMatchedRecords) {
  EnumPercentResult result(kColumn);
  ConfigureAndFeed(result, stream);
  result.Finalize();
  Variant north = EnumResultOf(result, 0);
  ASSERT_TRUE(north.IsReal());
  EXPECT_EQ(north.GetReal(), static_cast<double>(static_cast<float>(2 * 100.0 / 3)));
  EXPECT_NEAR(north.GetReal(), 66.67, 0.005);
  EXPECT_NEAR(EnumResultOf(result, 1).GetReal(), 33.33, 0.005);
  EXPECT_EQ(EnumResultOf(result, EnumResult::NoMatchIndex).GetInteger(), 0);
  EXPECT_EQ(result.GetType(), StatsDefn::EnumPercent);
}

TEST_F(EnumPercent, DumpsTheFullCriteriaAndPercent) {
  EnumPercentResult result(kColumn);
  ConfigureAndFeed(result, stream);
  result.Finalize();
  EXPECT_EQ(DumpOf(result),
            "            Result    :\r\n"
            "                Col 2 = North : Percent = 66.67%\r\n"
            "                Col 2 = South : Percent = 33.33%\r\n");
}

TEST_F(EnumPercent, WithoutAMatchGivesEmptyAndHasNoNotAvailableEntry) {
  EnumPercentResult result(kColumn);
  ConfigureAndFeed(result, {"West", Variant()});
  result.Finalize();
  Variant value("untouched");
  EXPECT_TRUE(result.GetEnumResult(value, 0));
  EXPECT_TRUE(value.IsEmpty());
  EXPECT_FALSE(IsErrorSet());

  EXPECT_FALSE(result.GetEnumResult(value, EnumResult::NotAvailableIndex));
  EXPECT_EQ(GetHeldError().code, 11440);
  EXPECT_EQ(TheErrorManager().GetDetail(), "10001,2");
  EXPECT_EQ(HeldLocations(), std::vector<int>{11540});
}

TEST_F(EnumPercent, CloneCopiesTheTotal) {
  EnumPercentResult result(kColumn);
  ConfigureAndFeed(result, stream);
  std::unique_ptr<StatsResult> made(result.Clone());
  auto* copy = dynamic_cast<EnumPercentResult*>(made.get());
  ASSERT_NE(copy, nullptr);
  copy->Finalize();
  EXPECT_NEAR(EnumResultOf(*copy, 0).GetReal(), 66.67, 0.005);
}

TEST_F(EnumPercent, FinalizeScalesOnlyExistingCountersWhenTheSetGrew) {
  EnumPercentResult result(kColumn);
  ConfigureAndFeed(result, {"North"});
  ASSERT_TRUE(regions.CreateEnum(std::vector<std::string>{"East"}, kColumn));
  result.Finalize();
  EXPECT_EQ(result.GetEnumValueCount(), 2);
  EXPECT_DOUBLE_EQ(EnumResultOf(result, 0).GetReal(), 100.0);
}

TEST_F(EnumValues, GiveBinTextsAndPseudoTexts) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, {});
  std::string text = "stale";
  ASSERT_TRUE(result.GetEnumValue(text, 1, false));
  EXPECT_EQ(text, "South");
  ASSERT_TRUE(result.GetEnumValue(text, 1, true));
  EXPECT_EQ(text, "=South");
  ASSERT_TRUE(result.GetEnumValue(text, EnumResult::NoMatchIndex, false));
  EXPECT_EQ(text, "");
}

TEST_F(EnumValues, NotAvailableTextFailsWithTheTextSet) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, {});
  std::string text;
  EXPECT_FALSE(result.GetEnumValue(text, EnumResult::NotAvailableIndex, false));
  EXPECT_EQ(text, "N/A");
  EXPECT_EQ(GetHeldError().code, 10645);
  EXPECT_EQ(HeldLocations(), (std::vector<int>{10930, 11500}));
}

TEST_F(EnumValues, GiveBinValuesAndPseudoValues) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, {});
  Variant value;
  ASSERT_TRUE(result.GetEnumValue(value, 0));
  EXPECT_EQ(value.GetText(), "North");
  ASSERT_TRUE(result.GetEnumValue(value, EnumResult::NotAvailableIndex));
  EXPECT_EQ(value.GetText(), "N/A");
  ASSERT_TRUE(result.GetEnumValue(value, EnumResult::NoMatchIndex));
  EXPECT_TRUE(value.IsText());
  EXPECT_EQ(value.GetText(), "");

  EXPECT_FALSE(result.GetEnumValue(value, 2));
  EXPECT_EQ(HeldLocations(), (std::vector<int>{10910, 11504}));
}

TEST_F(EnumValues, FindEnumIndexPrefersNotAvailableAndTheFirstEqualBin) {
  CriteriaSet odd;
  ASSERT_TRUE(odd.CreateEnum(std::vector<std::string>{"N/A", "b", "b"}, kColumn));
  EnumResult result(kColumn);
  ASSERT_TRUE(result.ConfigureCriteriaSet(&odd));
  EXPECT_EQ(result.FindEnumIndex("N/A"), EnumResult::NotAvailableIndex);
  EXPECT_EQ(result.FindEnumIndex("b"), 1);
  EXPECT_EQ(result.FindEnumIndex("B"), EnumResult::NoMatchIndex);
  EXPECT_EQ(result.FindEnumIndex(""), EnumResult::NoMatchIndex);
  EXPECT_FALSE(IsErrorSet());
}

TEST_F(EnumFailures, UnconfiguredAccumulatorReportsTheMissingSet) {
  EnumPercentResult result(kColumn);
  EXPECT_FALSE(result.ProcessRecord(record));
  EXPECT_EQ(GetHeldError().code, 11430);
  EXPECT_EQ(HeldLocations(), (std::vector<int>{11420, 11550}));
  EXPECT_TRUE(record.columnsAsked.empty());

  std::string text;
  Variant value;
  EXPECT_FALSE(result.GetEnumValue(text, 0, false));
  EXPECT_EQ(HeldLocations(), std::vector<int>{11490});
  EXPECT_FALSE(result.GetEnumValue(value, 0));
  EXPECT_EQ(HeldLocations(), std::vector<int>{11502});
  EXPECT_EQ(result.FindEnumIndex("North"), -1);
  EXPECT_EQ(HeldLocations(), std::vector<int>{11510});
  EXPECT_FALSE(result.ConfigureCriteriaSet(nullptr));
  EXPECT_EQ(HeldLocations(), std::vector<int>{11530});
  EXPECT_EQ(result.GetEnumValueCount(), 0);
  EXPECT_EQ(DumpOf(result), "            Error: There is no CriteriaSet!!\r\n");

  EnumResult counts(kColumn);
  EXPECT_EQ(EnumResultOf(counts, EnumResult::NotAvailableIndex).GetInteger(), 0);
  EXPECT_FALSE(counts.GetEnumResult(value, 0));
  EXPECT_EQ(GetHeldError().code, 11440);
  EXPECT_EQ(TheErrorManager().GetDetail(), "0,0");
  EXPECT_EQ(HeldLocations(), std::vector<int>{11480});
}

TEST_F(EnumFailures, AHeldErrorFailsEveryRecordAfterTheLookup) {
  EnumResult counts(kColumn);
  EnumPercentResult percents(kColumn);
  ConfigureAndFeed(counts, {});
  ConfigureAndFeed(percents, {});
  TheErrorManager().Set(4242);
  record.value = "North";
  EXPECT_FALSE(counts.ProcessRecord(record));
  EXPECT_EQ(HeldLocations(), std::vector<int>{11450});
  EXPECT_FALSE(percents.ProcessRecord(record));
  EXPECT_EQ(HeldLocations(), (std::vector<int>{11450, 11450, 11550}));
  EXPECT_EQ(GetHeldError().code, 4242);

  TheErrorManager().Clear();
  EXPECT_EQ(EnumResultOf(counts, 0).GetInteger(), 0);
  percents.Finalize();
  EXPECT_TRUE(EnumResultOf(percents, 0).IsEmpty());
}

TEST_F(EnumFailures, AFailedValueReadUsesTheStatisticPresets) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, {});
  record.value = "West";
  record.FailFromRead(3);  // the set reads twice, the statistic third
  EXPECT_FALSE(result.ProcessRecord(record));
  testing::HeldError held = GetHeldError();
  EXPECT_TRUE(held.set);
  EXPECT_EQ(held.code, 0);
  EXPECT_EQ(held.second, 0);
  EXPECT_EQ(held.message, "");
  EXPECT_FALSE(held.flag);
  EXPECT_EQ(HeldLocations(), std::vector<int>{11451});
}

TEST_F(EnumFailures, AFailedLookupIsRecordedBeforeTheRecordFails) {
  EnumResult result(kColumn);
  ConfigureAndFeed(result, {});
  record.FailFromRead(1);
  EXPECT_FALSE(result.ProcessRecord(record));
  const std::vector<int>& locations = HeldLocations();
  ASSERT_GE(locations.size(), 3u);
  EXPECT_EQ(std::vector<int>(locations.end() - 3, locations.end()),
            (std::vector<int>{10880, 11470, 11450}));
  EXPECT_EQ(EnumResultOf(result, 0).GetInteger(), 0);
}

}  // namespace
}  // namespace stattree
