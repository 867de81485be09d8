#include "tools/stattree/job_loader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace stattree {
namespace cli {
namespace {

TEST(JobLoader, NamesDefaultToFieldsAndValuesToText) {
  Job job;
  std::vector<std::string> errors;
  ASSERT_TRUE(JobLoader::Parse(job, errors, R"({"statistics": {
      "s": {"type": "Sum", "field": "amount", "grouping": {"fields": ["channel", "year"]},
            "subset": {"where": {"year": 2023, "channel": null}}},
      "e": {"type": "EnumPercent", "field": "channel", "values": ["Web", 7]}}})"));
  const StatisticSpec& s = job.statistics[0];
  EXPECT_EQ(s.groupingName, "channel,year");
  EXPECT_EQ(s.subsetName, "year=2023,channel=");
  EXPECT_EQ(job.statistics[1].values, (std::vector<std::string>{"Web", "7"}));
}

// The type is the library's; the specs it does not use are warned of and
// dropped, and a leading unnamed column adds no comma to a default name.
TEST(JobLoader, KeepsTheLibrarysTypeAndWarnsOfUnusedSpecs) {
  Job job;
  std::vector<std::string> errors;
  ASSERT_TRUE(JobLoader::Parse(job, errors, R"({"statistics": {
      "m": {"type": "Max", "field": "x", "histogram": {"edges": [1]}, "values": ["a"],
            "grouping": {"fields": ["", "y"]}},
      "c": {"type": "Count"}}})"));
  EXPECT_EQ(job.statistics[0].type, StatsDefn::Max);
  EXPECT_EQ(job.statistics[1].type, StatsDefn::Count);
  EXPECT_EQ(job.statistics[0].groupingName, "y");
  EXPECT_FALSE(job.statistics[0].hasValues || job.statistics[0].histogram.present);
  EXPECT_EQ(job.warnings,
            (std::vector<std::string>{
                "/statistics/m/values: Max does not count enumeration values (only EnumCount "
                "and EnumPercent do); ignored",
                "/statistics/m/histogram: Max does not use histogram bins (only Histogram1 "
                "does); ignored"}));
}

// Every mistake is reported, each with its JSON pointer: repeated keys
// first, then each statistic's in file order, then clashing names.
TEST(JobLoader, ReportsEveryMistakeWithItsPointer) {
  Job job;
  std::vector<std::string> errors;
  EXPECT_FALSE(JobLoader::Parse(job, errors, R"({"tree": "region", "statistics": {
      "a/b~c": {"type": "sum", "field": "amount"},
      "s": {"type": "Sum", "field": 3, "feild": "x", "grouping": {"fields": []}},
      "h": {"type": "Histogram1", "field": "amount", "values": ["a"],
            "histogram": {"start": "0", "width": -1, "count": 2.5}},
      "e": {"type": "EnumCount", "field": "channel"},
      "i": {"type": "Histogram1", "field": "amount", "histogram": {"edges": [0, 5, 5]}},
      "g1": {"type": "Sum", "field": "amount", "grouping": {"name": "g", "fields": ["region"]}},
      "g2": {"type": "Sum", "field": "amount", "grouping": {"name": "g", "fields": ["year"]}},
      "x": {"type": "Histogram1", "field": "amount"},
      "d": {"type": "Count"}, "d": {"type": "Count"}}})"));
  std::string all;
  for (const std::string& e : errors) all += e + "\n";
  EXPECT_EQ(all,
            "/statistics: the key \"d\" appears twice\n"
            "/tree: expected an array of column names, found a string\n"
            "/statistics/a~1b~0c/type: unknown type \"sum\"; expected one of \"Count\", "
            "\"CountValid\", \"Min\", \"Max\", \"Sum\", \"Average\", \"StdDev\", \"Histogram1\", "
            "\"EnumCount\", \"EnumPercent\" (names are case-sensitive)\n"
            "/statistics/s/feild: unknown key \"feild\"; expected one of \"type\", \"field\", "
            "\"grouping\", \"subset\", \"values\", \"histogram\", \"description\"\n"
            "/statistics/s/field: expected a column name (a string), found a number\n"
            "/statistics/s/grouping/fields: expected at least one column name\n"
            "/statistics/h/histogram/start: expected a number, found a string\n"
            "/statistics/h/histogram/width: expected a number above 0, found -1\n"
            "/statistics/h/histogram/count: expected a whole number from 1 to 1000, found 2.5\n"
            "/statistics/e: EnumCount needs \"values\": the list of values to count\n"
            "/statistics/i/histogram/edges/2: edges must be in strictly ascending order, but 5 "
            "follows 5\n"
            "/statistics/x: Histogram1 needs \"histogram\": {\"start\", \"width\", \"count\"} or "
            "{\"edges\": [...], \"logic\"}\n"
            "/statistics/g2/grouping: the grouping name \"g\" is used by \"g1\" with other fields; "
            "give this grouping another name\n");
  EXPECT_EQ(job.warnings,
            (std::vector<std::string>{"/statistics/h/values: Histogram1 does not count enumeration "
                                      "values (only EnumCount and EnumPercent do); ignored"}));
}

std::string Repeat(const std::string& text, std::size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) out += text;
  return out;
}

// Parsing stops at the first container past the limit, before anything that
// deep is built, copied or destroyed.
TEST(JobLoader, RefusesDeepNestingWithItsPointer) {
  const std::string tooDeep =
      ": arrays and objects nest more than 100 levels deep (a job needs at "
      "most 5)";
  const struct {
    std::string text;
    std::string firstError;
  } kCases[] = {
      {R"({"description": )" + Repeat("[", 99) + Repeat("]", 99) + "}",
       "/description: expected a string, found an array"},
      {Repeat("[", 101) + Repeat("]", 101), Repeat("/0", 100) + tooDeep},
      {Repeat(R"({"a":)", 300000) + "1" + Repeat("}", 300000), Repeat("/a", 100) + tooDeep},
      // A deep value followed by more members of its object.
      {R"({"statistics": {"e": {"values": )" + Repeat("[", 300000) + Repeat("]", 300000) +
           R"(, "type": "EnumCount", "field": "c", "x": 1, "y": 2}}})",
       "/statistics/e/values" + Repeat("/0", 97) + tooDeep},
  };
  for (const auto& c : kCases) {
    Job job;
    std::vector<std::string> errors;
    EXPECT_FALSE(JobLoader::Parse(job, errors, c.text));
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors[0], c.firstError);
  }
}

// Quadratic loading takes minutes at these sizes.
TEST(JobLoader, LoadsLongListsInFileOrder) {
  constexpr int kValues = 300000;
  constexpr int kStatistics = 100000;
  std::string values;
  for (int i = 0; i < kValues; ++i) values += "\"v" + std::to_string(i) + "\",";
  std::string statistics;
  for (int i = kStatistics; i > 0; --i) {
    statistics += "\"s" + std::to_string(i) + R"(": {"type": "Count"}, )";
  }
  const std::string text = R"({"statistics": {)" + statistics +
                           R"("e": {"type": "EnumCount", "field": "c", "values": [)" + values +
                           R"("v7"]}, "s9": {"type": "Sum"}}})";
  Job job;
  std::vector<std::string> errors;
  EXPECT_FALSE(JobLoader::Parse(job, errors, text));
  EXPECT_EQ(errors, (std::vector<std::string>{
                        "/statistics: the key \"s9\" appears twice",
                        // The last value, at the first's place.
                        "/statistics/s9: missing \"field\": the column the statistic reads",
                        "/statistics/e/values/" + std::to_string(kValues) +
                            ": the value \"v7\" is listed twice"}));
  ASSERT_EQ(job.statistics.size(), static_cast<std::size_t>(kStatistics + 1));
  EXPECT_EQ(job.statistics.front().name, "s" + std::to_string(kStatistics));
  EXPECT_EQ(job.statistics[kStatistics - 9].name, "s9");
  EXPECT_EQ(job.statistics.back().name, "e");

  Job other;
  errors.clear();
  const std::string unique = R"({"statistics": {"e": {"type": "EnumCount", "field": "c", )"
                             R"("values": [)" +
                             values + R"("w"]}}})";
  ASSERT_TRUE(JobLoader::Parse(other, errors, unique)) << errors.front();
  const std::vector<std::string>& loaded = other.statistics.at(0).values;
  ASSERT_EQ(loaded.size(), static_cast<std::size_t>(kValues + 1));
  EXPECT_EQ(loaded[kValues - 1], "v" + std::to_string(kValues - 1));
}

}  // namespace
}  // namespace cli
}  // namespace stattree
