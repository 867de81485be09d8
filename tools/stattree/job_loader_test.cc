#include "tools/stattree/job_loader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace stattree {
namespace cli {
namespace {

struct Loaded {
  Job job;
  std::vector<std::string> errors;
  bool ok = false;
};

Loaded Parse(const std::string& text) {
  Loaded loaded;
  loaded.ok = JobLoader::Parse(loaded.job, loaded.errors, text);
  return loaded;
}

const std::vector<std::string> kHeader = {"region", "year", "amount", "channel"};

TEST(JobLoader, ParsesEverySpecInFileOrder) {
  const Loaded loaded = Parse(R"({
    "tree": ["region", "year"],
    "statistics": {
      "b": {"type": "Sum", "field": "amount",
            "grouping": {"fields": ["channel", "year"]},
            "subset": {"where": {"year": 2023, "channel": null}}},
      "a": {"type": "EnumPercent", "field": "channel", "values": ["Web", 7]},
      "c": {"type": "Histogram1", "field": "amount",
            "histogram": {"edges": [0, 10.5, 100], "logic": "UpperEdgeInclusive"}},
      "d": {"type": "Count"}
    }})");
  ASSERT_TRUE(loaded.ok) << loaded.errors[0];
  const Job& job = loaded.job;
  ASSERT_EQ(job.tree.size(), 2u);
  EXPECT_EQ(job.tree[1].name, "year");
  ASSERT_EQ(job.statistics.size(), 4u);
  EXPECT_EQ(job.statistics[1].name, "a");
  EXPECT_EQ(job.statistics[1].values, (std::vector<std::string>{"Web", "7"}));
  const StatisticSpec& b = job.statistics[0];
  EXPECT_EQ(b.groupingName, "channel,year");
  EXPECT_EQ(b.subsetName, "year=2023,channel=");
  ASSERT_EQ(b.where.size(), 2u);
  EXPECT_TRUE(b.where[0].value.IsInteger());
  EXPECT_TRUE(b.where[1].value.IsEmpty());
  const HistogramSpec& h = job.statistics[2].histogram;
  EXPECT_TRUE(h.present && h.byEdges);
  EXPECT_EQ(h.logic, UpperEdgeInclusive);
  EXPECT_EQ(h.edges.size(), 3u);
  EXPECT_TRUE(job.warnings.empty());
}

TEST(JobLoader, UnknownTypeListsTheValidTypes) {
  const Loaded loaded = Parse(R"({"statistics": {"x": {"type": "sum", "field": "amount"}}})");
  ASSERT_EQ(loaded.errors.size(), 1u);
  EXPECT_EQ(loaded.errors[0],
            "/statistics/x/type: unknown type \"sum\"; expected one of \"Count\", "
            "\"CountValid\", \"Min\", \"Max\", \"Sum\", \"Average\", \"StdDev\", "
            "\"Histogram1\", \"EnumCount\", \"EnumPercent\" (names are case-sensitive)");
}

TEST(JobLoader, DistributionWithoutItsBinsIsAnError) {
  const Loaded loaded = Parse(R"({"statistics": {
      "e": {"type": "EnumCount", "field": "channel"},
      "h": {"type": "Histogram1", "field": "amount", "values": ["a"]}}})");
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.errors,
            (std::vector<std::string>{
                "/statistics/e: EnumCount needs \"values\": the list of values to count",
                "/statistics/h: Histogram1 needs \"histogram\": {\"start\", \"width\", "
                "\"count\"} or {\"edges\": [...], \"logic\"}"}));
  ASSERT_EQ(loaded.job.warnings.size(), 1u);
  EXPECT_EQ(loaded.job.warnings[0].rfind("/statistics/h/values: Histogram1 does not count", 0), 0u);
}

TEST(JobLoader, SpecOnATypeThatIgnoresItIsAWarning) {
  const Loaded loaded = Parse(R"({"statistics": {"s": {"type": "Sum", "field": "amount",
      "histogram": {"start": 0, "width": 1, "count": 2}}}})");
  EXPECT_TRUE(loaded.ok);
  ASSERT_EQ(loaded.job.warnings.size(), 1u);
  EXPECT_EQ(loaded.job.warnings[0],
            "/statistics/s/histogram: Sum does not use histogram bins (only Histogram1 does); "
            "ignored");
  EXPECT_FALSE(loaded.job.statistics[0].histogram.present);
}

TEST(JobLoader, WrongJsonTypesNameThePathAndTheExpectation) {
  const Loaded loaded = Parse(R"({"tree": "region", "statistics": {
      "s": {"type": "Sum", "field": 3, "grouping": {"fields": []}},
      "h": {"type": "Histogram1", "field": "amount",
            "histogram": {"start": "0", "width": -1, "count": 2.5}}}})");
  EXPECT_EQ(
      loaded.errors,
      (std::vector<std::string>{
          "/tree: expected an array of column names, found a string",
          "/statistics/s/field: expected a column name (a string), found a number",
          "/statistics/s/grouping/fields: expected at least one column name",
          "/statistics/h/histogram/start: expected a number, found a string",
          "/statistics/h/histogram/width: expected a number above 0, found -1",
          "/statistics/h/histogram/count: expected a whole number from 1 to 1000, found 2.5"}));
}

TEST(JobLoader, UnknownKeysAndDuplicatesAreErrors) {
  const Loaded loaded = Parse(R"({"statistics": {
      "s": {"type": "Sum", "feild": "amount", "field": "amount"},
      "s": {"type": "Count"}}})");
  EXPECT_FALSE(loaded.ok);
  ASSERT_FALSE(loaded.errors.empty());
  EXPECT_EQ(loaded.errors[0], "/statistics: the key \"s\" appears twice");
}

TEST(JobLoader, EdgesMustAscend) {
  const Loaded loaded = Parse(R"({"statistics": {"h": {"type": "Histogram1", "field": "amount",
      "histogram": {"edges": [0, 5, 5]}}}})");
  ASSERT_EQ(loaded.errors.size(), 1u);
  EXPECT_EQ(loaded.errors[0],
            "/statistics/h/histogram/edges/2: edges must be in strictly ascending order, but 5 "
            "follows 5");
}

TEST(JobLoader, OneNameForTwoDifferentGroupingsIsAnError) {
  const Loaded loaded = Parse(R"({"statistics": {
      "a": {"type": "Sum", "field": "amount", "grouping": {"name": "g", "fields": ["region"]}},
      "b": {"type": "Sum", "field": "amount", "grouping": {"name": "g", "fields": ["year"]}}}})");
  ASSERT_EQ(loaded.errors.size(), 1u);
  EXPECT_EQ(
      loaded.errors[0].rfind("/statistics/b/grouping: the grouping name \"g\" is used by \"a\"", 0),
      0u);
}

TEST(JobLoader, SyntaxErrorsCarryLineAndColumn) {
  const Loaded loaded = Parse("{\n \"statistics\": {,}\n}");
  ASSERT_EQ(loaded.errors.size(), 1u);
  EXPECT_NE(loaded.errors[0].find("invalid JSON: parse error at line 2, column 17"),
            std::string::npos)
      << loaded.errors[0];
}

TEST(JobLoader, ResolveFillsColumnsAndListsTheHeaderForUnknownNames) {
  Loaded loaded = Parse(R"({"tree": ["year"], "statistics": {
      "s": {"type": "Sum", "field": "amount", "subset": {"where": {"regoin": "North"}}},
      "c": {"type": "Count"}}})");
  ASSERT_TRUE(loaded.ok);
  std::vector<std::string> errors;
  EXPECT_FALSE(JobLoader::Resolve(loaded.job, errors, kHeader));
  EXPECT_EQ(errors, (std::vector<std::string>{
                        "/statistics/s/subset/where/regoin: unknown column \"regoin\"; the header "
                        "has \"region\", \"year\", \"amount\", \"channel\""}));
  EXPECT_EQ(loaded.job.tree[0].column, 1);
  EXPECT_EQ(loaded.job.statistics[0].field.column, 2);
  EXPECT_EQ(loaded.job.statistics[1].field.column, 0);  // the Count without a field
}

TEST(JobLoader, ResolveRefusesAmbiguousColumns) {
  Loaded loaded = Parse(R"({"tree": ["x"], "statistics": {}})");
  ASSERT_TRUE(loaded.ok);
  std::vector<std::string> errors;
  EXPECT_FALSE(JobLoader::Resolve(loaded.job, errors, {"x", "y", "x"}));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind("/tree/0: the column name \"x\" appears 2 times", 0), 0u);
}

TEST(JobLoader, PointerTokensAreEscaped) { EXPECT_EQ(JobLoader::PointerToken("a/b~c"), "a~1b~0c"); }

}  // namespace
}  // namespace cli
}  // namespace stattree
