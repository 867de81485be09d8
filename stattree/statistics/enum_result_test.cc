#include "stattree/statistics/enum_result.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "stattree/boundary/error_reporting.h"
#include "stattree/criteria/criteria_set.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::ExpectError;
using testing::ExpectNoError;
using testing::ExpectRefused;
using testing::Locations;
using testing::MapRecord;

constexpr int kColumn = 2;
constexpr int kNotAvailable = EnumResult::NotAvailableIndex;
constexpr int kNoMatch = EnumResult::NoMatchIndex;

class EnumTest : public testing::ErrorTest {
 protected:
  void SetUp() override {
    ErrorTest::SetUp();
    ASSERT_TRUE(regions.CreateEnum(std::vector<std::string>{"North", "South"}, kColumn));
  }

  // Configures the regions set, then feeds every value expecting each
  // record to be taken.
  void Feed(EnumResult& result, const std::vector<Variant>& values) {
    ASSERT_TRUE(result.GetEnumValueCount() > 0 || result.ConfigureCriteriaSet(&regions));
    for (const Variant& value : values) {
      record.values[kColumn] = value;
      ASSERT_TRUE(result.ProcessRecord(record));
    }
  }

  // The results at the given indexes, as text.
  static std::string ResultsOf(EnumResult& result, const std::vector<int>& indexes) {
    std::string texts;
    for (int index : indexes) {
      Variant value("untouched");
      EXPECT_TRUE(result.GetEnumResult(value, index)) << index;
      texts += (texts.empty() ? "" : ",") + (value.IsEmpty() ? "empty" : value.ToString());
    }
    return texts;
  }

  static std::string DumpOf(StatsResult& result) {
    std::ostringstream out;
    result.DumpObject(out);
    return out.str();
  }

  const std::vector<Variant> stream = {"North", "North", "South", "West", Variant()};
  CriteriaSet regions;
  MapRecord record{{}, MapRecord::Describe::LeavePresets};
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

TEST_F(EnumCount, CountsPerBinAndNotAvailableButNotTheUnmatched) {
  EnumResult result(kColumn);
  Feed(result, stream);
  EXPECT_EQ(result.GetEnumValueCount(), 2);
  EXPECT_EQ(ResultsOf(result, {0, 1, kNotAvailable, kNoMatch}), "2,1,1,0");
  Variant north;
  ASSERT_TRUE(result.GetEnumResult(north, 0));
  EXPECT_TRUE(north.IsInteger());
  Variant total;
  EXPECT_TRUE(result.GetResult(total));
  EXPECT_EQ(total.ToString(), "0");
  EXPECT_EQ(DumpOf(result),
            "            Result    :\r\n"
            "                North : Count=2\r\n"
            "                South : Count=1\r\n");
}

TEST_F(EnumCount, ServesHistogramsAndStopsAtTheSinglePrecisionLimit) {
  CriteriaSet bins;
  ASSERT_TRUE(bins.CreateHistogram(Variant(0), Variant(10), 3, kColumn));
  std::unique_ptr<StatsResult> made(StatsResult::New(StatsDefn::Histogram1, kColumn));
  auto* histogram = dynamic_cast<EnumResult*>(made.get());
  ASSERT_NE(histogram, nullptr);
  ASSERT_TRUE(histogram->ConfigureCriteriaSet(&bins));
  Feed(*histogram, {-5, 10, 30, 31});
  EXPECT_EQ(ResultsOf(*histogram, {0, 1, 2, 3, 4}), "1,0,1,0,2");

  SeededEnumResult seeded(kColumn);
  Feed(seeded, {});
  seeded.Seed(0, 16777216.0F);
  Feed(seeded, {"North", "North"});
  EXPECT_EQ(ResultsOf(seeded, {0}), "16777216");
}

TEST_F(EnumPercent, GivesSinglePrecisionPercentagesOfMatchedRecords) {
  EnumPercentResult result(kColumn);
  Feed(result, stream);
  result.Finalize();
  Variant north;
  ASSERT_TRUE(result.GetEnumResult(north, 0));
  ASSERT_TRUE(north.IsReal());
  EXPECT_EQ(north.GetReal(), static_cast<double>(static_cast<float>(2 * 100.0 / 3)));
  EXPECT_NEAR(north.GetReal(), 66.67, 0.005);
  Variant south;
  ASSERT_TRUE(result.GetEnumResult(south, 1));
  EXPECT_NEAR(south.GetReal(), 33.33, 0.005);
  EXPECT_EQ(ResultsOf(result, {kNoMatch}), "0");
  EXPECT_EQ(DumpOf(result),
            "            Result    :\r\n"
            "                Col 2 = North : Percent = 66.67%\r\n"
            "                Col 2 = South : Percent = 33.33%\r\n");
}

TEST_F(EnumPercent, WithoutAMatchGivesEmptyAndHasNoNotAvailableEntry) {
  EnumPercentResult result(kColumn);
  Feed(result, {"West", Variant()});
  result.Finalize();
  EXPECT_EQ(ResultsOf(result, {0, 1}), "empty,empty");
  ExpectNoError();
  Variant value;
  ExpectRefused(result.GetEnumResult(value, kNotAvailable), 11440, "10001,2", {11540});
}

TEST_F(EnumPercent, FinalizeScalesOnlyExistingCountersWhenTheSetGrew) {
  EnumPercentResult result(kColumn);
  Feed(result, {"North"});
  ASSERT_TRUE(regions.CreateEnum(std::vector<std::string>(64, "East"), kColumn));
  result.Finalize();
  EXPECT_EQ(result.GetEnumValueCount(), 2);
  EXPECT_EQ(ResultsOf(result, {0}), "100");
}

TEST_F(EnumCount, ClonesShareTheSetAndCopyCountsAndTotal) {
  EnumResult counts(kColumn);
  EnumPercentResult percents(kColumn);
  Feed(counts, stream);
  Feed(percents, stream);
  std::unique_ptr<StatsResult> countsMade(counts.Clone());
  std::unique_ptr<StatsResult> percentsMade(percents.Clone());
  auto* countsCopy = dynamic_cast<EnumResult*>(countsMade.get());
  auto* percentsCopy = dynamic_cast<EnumPercentResult*>(percentsMade.get());
  ASSERT_TRUE(countsCopy != nullptr && percentsCopy != nullptr);
  record.values[kColumn] = "South";
  ASSERT_TRUE(countsCopy->ProcessRecord(record));
  EXPECT_EQ(ResultsOf(*countsCopy, {0, 1, kNotAvailable}), "2,2,1");
  EXPECT_EQ(ResultsOf(counts, {1}), "1");
  percents.Finalize();
  percentsCopy->Finalize();
  EXPECT_EQ(DumpOf(*percentsCopy), DumpOf(percents));
}

TEST_F(EnumValues, GiveBinTextsValuesAndPseudoEntries) {
  EnumResult result(kColumn);
  Feed(result, {});
  std::string plain = "stale";
  std::string withOperator;
  std::string noMatch = "stale";
  ASSERT_TRUE(result.GetEnumValue(plain, 1, false) && result.GetEnumValue(withOperator, 1, true) &&
              result.GetEnumValue(noMatch, kNoMatch, false));
  EXPECT_EQ(plain + "|" + withOperator + "|" + noMatch, "South|=South|");
  // Kept: the not-available text is set, then refused by the set.
  std::string notAvailable;
  ExpectRefused(result.GetEnumValue(notAvailable, kNotAvailable, false), 10645, "10001,2",
                {10930, 11500});
  EXPECT_EQ(notAvailable, "N/A");

  Variant values[3];
  ASSERT_TRUE(result.GetEnumValue(values[0], 0) && result.GetEnumValue(values[1], kNotAvailable) &&
              result.GetEnumValue(values[2], kNoMatch));
  EXPECT_EQ(values[0].GetText() + "|" + values[1].GetText() + "|" + values[2].GetText(),
            "North|N/A|");
  EXPECT_TRUE(values[2].IsText());
  ExpectRefused(result.GetEnumValue(values[0], 2), 10645, "2,2", {10910, 11504});
}

TEST_F(EnumValues, FindEnumIndexPrefersNotAvailableAndTheFirstEqualBin) {
  CriteriaSet odd;
  ASSERT_TRUE(odd.CreateEnum(std::vector<std::string>{"N/A", "b", "b"}, kColumn));
  EnumResult result(kColumn);
  ASSERT_TRUE(result.ConfigureCriteriaSet(&odd));
  EXPECT_EQ(result.FindEnumIndex("N/A"), kNotAvailable);
  EXPECT_EQ(result.FindEnumIndex("b"), 1);
  EXPECT_EQ(result.FindEnumIndex("B"), kNoMatch);
  EXPECT_EQ(result.FindEnumIndex(""), kNoMatch);
  ExpectNoError();
}

TEST_F(EnumFailures, UnconfiguredAccumulatorReportsTheMissingSet) {
  EnumPercentResult result(kColumn);
  ExpectRefused(result.ProcessRecord(record), 11430, "", {11420, 11550});
  EXPECT_TRUE(record.readColumns.empty());
  std::string text;
  Variant value;
  ExpectRefused(result.GetEnumValue(text, 0, false), 11430, "", {11490});
  ExpectRefused(result.GetEnumValue(value, 0), 11430, "", {11502});
  EXPECT_EQ(result.FindEnumIndex("North"), -1);
  ExpectError(11430, "", {11510});
  ExpectRefused(result.ConfigureCriteriaSet(nullptr), 11430, "", {11530});
  EXPECT_EQ(result.GetEnumValueCount(), 0);
  EXPECT_EQ(DumpOf(result), "            Error: There is no CriteriaSet!!\r\n");
  EnumResult counts(kColumn);
  EXPECT_EQ(ResultsOf(counts, {kNotAvailable}), "0");
  ExpectRefused(counts.GetEnumResult(value, 0), 11440, "0,0", {11480});
}

TEST_F(EnumFailures, AStaleErrorFailsEveryRecordAfterTheLookup) {
  EnumResult counts(kColumn);
  EnumPercentResult percents(kColumn);
  Feed(counts, {});
  Feed(percents, {});
  TheErrorManager().Set(4242);
  record.values[kColumn] = "North";
  EXPECT_FALSE(counts.ProcessRecord(record));
  EXPECT_EQ(Locations(), std::vector<int>{11450});
  ExpectRefused(percents.ProcessRecord(record), 4242, "", {11450, 11450, 11550});
  EXPECT_EQ(ResultsOf(counts, {0}), "0");
  percents.Finalize();
  EXPECT_EQ(ResultsOf(percents, {0}), "empty");
}

TEST_F(EnumFailures, AFailedReadOfTheValueUsesTheStatisticPresets) {
  EnumResult result(kColumn);
  Feed(result, {});
  record.values[kColumn] = "West";
  record.readColumns.clear();
  record.failFromRead = 3;  // the set reads twice, the statistic third
  EXPECT_FALSE(result.ProcessRecord(record));
  const testing::ErrorSnapshot held = testing::HeldError();
  EXPECT_EQ(std::tie(held.set, held.code, held.second, held.message, held.flag),
            std::make_tuple(true, 0, 0, std::string(), false));
  EXPECT_EQ(held.locations, std::vector<int>{11451});
  TheErrorManager().Clear();
  // A failed lookup is recorded before the record fails.
  record.failFromRead = 1;
  EXPECT_FALSE(result.ProcessRecord(record));
  const std::vector<int> locations = Locations();
  ASSERT_GE(locations.size(), 3u);
  EXPECT_EQ(std::vector<int>(locations.end() - 3, locations.end()),
            (std::vector<int>{10880, 11470, 11450}));
  EXPECT_EQ(ResultsOf(result, {0}), "0");
}

}  // namespace
}  // namespace stattree
