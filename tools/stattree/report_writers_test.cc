#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/stattree/progress_bar.h"
#include "tools/stattree/report_json.h"
#include "tools/stattree/report_text.h"

namespace stattree {
namespace cli {
namespace {

// A root with a grouped Sum, an ungrouped Min, an EnumCount and one child.
Report SampleReport() {
  Report report;
  report.dataName = "sales.csv";
  report.jobName = "job.json";
  report.records = 5;
  report.skippedRows = 1;
  report.treeFields = {"region"};

  StatisticReport sum;
  sum.name = "Revenue";
  sum.type = "Sum";
  sum.field = "amount";
  sum.groupingName = "channel";
  sum.groupingFields = {"channel"};
  CombinationReport web;
  web.values = {"Web"};
  web.records = 3;
  web.result = Variant(1234.5);
  CombinationReport shop;
  shop.values = {""};
  shop.records = 2;
  shop.result = Variant(10);
  sum.combinations = {web, shop};
  sum.total.records = 5;
  sum.total.result = Variant(1244.5);

  StatisticReport min;
  min.name = "Smallest";
  min.type = "Min";
  min.field = "amount";
  min.subsetName = "year=2023";
  min.subset = {{"year", Variant(2023)}};
  min.total.records = 2;

  StatisticReport channels;
  channels.name = "Channels";
  channels.type = "EnumCount";
  channels.field = "channel";
  channels.distribution = true;
  channels.binLabels = {"Web", "Shop"};
  channels.total.records = 5;
  channels.total.bins = {Variant(4), Variant(1)};
  channels.total.hasNotAvailable = true;
  channels.total.notAvailable = 0;

  report.root.records = 5;
  report.root.statistics = {channels, sum, min};
  NodeReport north;
  north.field = "region";
  north.value = "North";
  north.records = 1;
  report.root.children = {north};
  return report;
}

TEST(TextReportWriter, WritesTreeStatisticsAndBars) {
  std::ostringstream out;
  TextReportWriter::Write(out, SampleReport());
  const std::string full = "\u2588";
  EXPECT_EQ(
      out.str(),
      "stattree report\n"
      "  data: sales.csv, 5 records (1 bad row skipped)\n"
      "  job:  job.json\n"
      "  tree: region\n"
      "\n"
      "root \u2014 5 records\n"
      "  Channels \u2014 EnumCount of channel:\n"
      "    Web   " +
          [&] {
            std::string s;
            for (int i = 0; i < 30; ++i) s += full;
            return s;
          }() +
          "  4\n"
          "    Shop  " +
          full + full + full + full + full + full + full + "\u258C" +
          "                        1\n"
          "  Revenue \u2014 Sum of amount by channel:\n"
          "    Web      1,234.50  3 records\n"
          "    (empty)        10  2 records\n"
          "    total    1,244.50  5 records\n"
          "  Smallest \u2014 Min of amount where year = 2023: (none)\n"
          "\n"
          "  region = North \u2014 1 record\n");
}

TEST(TextReportWriter, FormatsNumbersForPeople) {
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(1234567)), "1,234,567");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(-1234.567)), "-1,234.57");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(0.012345)), "0.01235");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(0.0)), "0.00");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant("007")), "007");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant::Invalid()), "(invalid)");
}

TEST(TextReportWriter, BarsScaleToTheMaximumAndShowTinyAmounts) {
  EXPECT_EQ(TextReportWriter::Bar(0, 10, 4), "");
  EXPECT_EQ(TextReportWriter::Bar(10, 10, 2), "\u2588\u2588");
  EXPECT_EQ(TextReportWriter::Bar(5, 10, 1), "\u258C");
  EXPECT_EQ(TextReportWriter::Bar(0.001, 10, 4), "\u258F");
}

TEST(JsonReportWriter, NumbersAreNumbersAndEmptyValuesNull) {
  std::ostringstream out;
  JsonReportWriter::Write(out, SampleReport());
  const auto json = nlohmann::json::parse(out.str());
  EXPECT_EQ(json["records"], 5);
  EXPECT_EQ(json["skipped_rows"], 1);
  EXPECT_TRUE(json["root"]["field"].is_null());
  const auto& revenue = json["root"]["statistics"]["Revenue"];
  EXPECT_EQ(revenue["grouping"]["fields"][0], "channel");
  EXPECT_TRUE(revenue["subset"].is_null());
  EXPECT_DOUBLE_EQ(revenue["combinations"][0]["result"].get<double>(), 1234.5);
  EXPECT_EQ(revenue["combinations"][1]["group"][0], "");
  EXPECT_TRUE(revenue["combinations"][1]["result"].is_number_integer());
  const auto& smallest = json["root"]["statistics"]["Smallest"];
  EXPECT_TRUE(smallest["total"]["result"].is_null());
  EXPECT_EQ(smallest["subset"]["where"]["year"], 2023);
  const auto& channels = json["root"]["statistics"]["Channels"];
  EXPECT_EQ(channels["bins"], nlohmann::json({"Web", "Shop"}));
  EXPECT_EQ(channels["total"]["distribution"], nlohmann::json({4, 1}));
  EXPECT_EQ(channels["total"]["not_available"], 0);
  EXPECT_FALSE(channels["total"].contains("result"));
  EXPECT_EQ(json["root"]["children"][0]["value"], "North");
}

TEST(JsonReportWriter, InvalidUtf8IsReplacedNotThrown) {
  Report report;
  report.root.children.push_back(NodeReport{"f", "\xff\xfe", 1, {}, {}});
  std::ostringstream out;
  JsonReportWriter::Write(out, report);
  EXPECT_TRUE(nlohmann::json::accept(out.str()));
}

TEST(ProgressBar, LineShowsFractionCountAndRate) {
  EXPECT_EQ(ProgressBar::Line(1500000, 2.0, -1), "1,500,000 records  750,000 records/s");
  const std::string half = ProgressBar::Line(10, 0, 0.5);
  EXPECT_EQ(half.rfind("[\u2588", 0), 0u);
  EXPECT_NE(half.find("] 50%  10 records"), std::string::npos);
}

TEST(ProgressBar, CancelFollowsTheFlag) {
  volatile std::sig_atomic_t flag = 0;
  ProgressBar bar(nullptr, true, &flag);
  EXPECT_FALSE(bar.IsCanceled());
  bar.IncrementProgress(1);
  flag = 1;
  EXPECT_TRUE(bar.IsCanceled());
  EXPECT_EQ(bar.GetRecords(), 1);
}

}  // namespace
}  // namespace cli
}  // namespace stattree
