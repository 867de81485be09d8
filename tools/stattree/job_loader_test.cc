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

}  // namespace
}  // namespace cli
}  // namespace stattree
