// The built tool, run as a user runs it, on small files made here.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "tools/tests/tool_test_util.h"

namespace stattree {
namespace cli {
namespace testing {
namespace {

using nlohmann::json;

const char kSales[] =
    "region,amount,channel,year\n"
    "North,10,Web,2023\n"
    "South,20,Shop,2023\n"
    "North,30,Web,2024\n"
    "North,,Shop,2024\n"
    "South,5,Web,2023\n";

const char kJob[] = R"({
  "tree": ["region"],
  "statistics": {
    "n": {"type": "Count"},
    "valid": {"type": "CountValid", "field": "amount"},
    "sum": {"type": "Sum", "field": "amount", "grouping": {"fields": ["channel"]}},
    "avg": {"type": "Average", "field": "amount"},
    "sd": {"type": "StdDev", "field": "amount"},
    "min": {"type": "Min", "field": "amount"},
    "max": {"type": "Max", "field": "amount"},
    "channels": {"type": "EnumCount", "field": "channel", "values": ["Web", "Shop"]},
    "share": {"type": "EnumPercent", "field": "channel", "values": ["Web", "Shop"],
              "subset": {"where": {"year": 2023}}},
    "sizes": {"type": "Histogram1", "field": "amount",
              "histogram": {"edges": [10, 25], "logic": "UpperEdgeInclusive"}},
    "steps": {"type": "Histogram1", "field": "amount",
              "histogram": {"start": 0, "width": 10, "count": 2}}
  }})";

json Parse(const ToolResult& result) {
  EXPECT_TRUE(json::accept(result.out)) << result.out << result.err;
  return json::accept(result.out) ? json::parse(result.out) : json();
}

TEST(ToolRun, ComputesEveryStatisticAsByHand) {
  ScratchDir dir;
  const ToolResult r = RunTool({"run", dir.Write("sales.csv", kSales), "--job",
                                dir.Write("job.json", kJob), "--format", "json"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json report = Parse(r);
  EXPECT_EQ(report["records"], 5);
  EXPECT_EQ(report["skipped_rows"], 0);
  const json& s = report["root"]["statistics"];
  json scalars;
  for (const char* name : {"n", "valid", "avg", "min", "max"}) {
    scalars[name] = s[name]["total"]["result"];
  }
  EXPECT_EQ(scalars, json::parse(R"({"n": 5, "valid": 4, "avg": 16.25, "min": 5, "max": 30})"));
  // Sample deviation of 10, 20, 30, 5: sqrt(368.75 / 3).
  EXPECT_NEAR(s["sd"]["total"]["result"].get<double>(), 11.086778913, 1e-8);
  // Combinations sorted by value; the empty amount adds nothing.
  EXPECT_EQ(s["sum"], json::parse(R"({"type": "Sum", "field": "amount",
      "grouping": {"name": "channel", "fields": ["channel"]}, "subset": null,
      "combinations": [{"group": ["Shop"], "records": 2, "result": 20},
                       {"group": ["Web"], "records": 3, "result": 45}],
      "total": {"group": [], "records": 5, "result": 65}})"));
  EXPECT_EQ(s["channels"]["total"]["distribution"], json({3, 2}));
  EXPECT_EQ(s["channels"]["total"]["not_available"], 0);
  const json& share = s["share"]["total"]["distribution"];
  EXPECT_NEAR(share[0].get<double>(), 200.0 / 3, 1e-4);
  EXPECT_NEAR(share[1].get<double>(), 100.0 / 3, 1e-4);
  EXPECT_TRUE(s["share"]["total"]["not_available"].is_null());
  EXPECT_EQ(s["share"]["subset"], json::parse(R"({"name": "year=2023", "where": {"year": 2023}})"));
  EXPECT_EQ(s["sizes"]["bins"], json({"<= 10", "(10, 25]", "> 25"}));
  EXPECT_EQ(s["sizes"]["total"]["distribution"], json({2, 1, 1}));
  EXPECT_EQ(s["sizes"]["total"]["not_available"], 1);
  EXPECT_EQ(s["steps"]["bins"], json({"< 0", "[0, 10)", "[10, 20)", ">= 20"}));
  EXPECT_EQ(s["steps"]["total"]["distribution"], json({0, 1, 1, 2}));
  const json& children = report["root"]["children"];
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(children[0]["field"], "region");
  EXPECT_EQ(children[0]["value"], "North");
  EXPECT_EQ(children[0]["records"], 3);
  EXPECT_EQ(children[0]["statistics"]["sum"]["total"]["result"], 40);
  EXPECT_EQ(children[1]["statistics"]["min"]["total"]["result"], 5);
}

std::string Repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

std::string Indented(const std::string& text, const std::string& pad) {
  std::string out;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) out += pad + line + "\n";
  return out;
}

// Standard input, two bad rows skipped, the report written to a file.
TEST(ToolRun, TextReportFromStandardInput) {
  ScratchDir dir;
  const std::string job = dir.Write("job.json", R"({"tree": ["region"], "statistics": {
      "Revenue": {"type": "Sum", "field": "amount", "grouping": {"fields": ["channel"]}},
      "Channels": {"type": "EnumCount", "field": "channel", "values": ["Web", "Shop"]},
      "Smallest": {"type": "Min", "field": "amount", "subset": {"where": {"year": 2022}}}}})");
  const std::string output = dir.Path("report.txt");
  const ToolResult r = RunTool(
      {"run", "-", "--job", job, "--skip-bad-rows", "--output", output}, [](const Child& c) {
        c.Write(
            "region,amount,channel,year\nNorth,1000.5,Web,2023\nNorth,234,Web,2024\n"
            "North,10,,2024\nNorth,,Web,2024\nbad\nNorth,5,Shop,2023\nNorth,\"1\"x,Web,2023\n"
            "North,1,Web,2023\n");
      });
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err,
            "stattree: warning: <stdin>: skipped 2 bad rows\n"
            "stattree: warning: subset \"year=2022\" (used by Smallest) matched no record\n");
  const std::string bar = "\u2588";
  const std::string oneOfFour = Repeat(bar, 7) + "\u258C" + std::string(22, ' ') + "  1\n";
  const std::string statistics =
      "Revenue \u2014 Sum of amount by channel:\n"
      "  Shop            5  1 record\n"
      "  Web      1,235.50  4 records\n"
      "  (empty)        10  1 record\n"
      "  total    1,250.50  6 records\n"
      "Channels \u2014 EnumCount of channel:\n"
      "  Web          " +
      Repeat(bar, 30) + "  4\n  Shop         " + oneOfFour + "  N/A (empty)  " + oneOfFour +
      "Smallest \u2014 Min of amount where year = 2022: (none)\n";
  EXPECT_EQ(ReadFile(output),
            "stattree report\n  data: <stdin>, 6 records (2 bad rows skipped)\n  job:  " + job +
                "\n  tree: region\n\nroot \u2014 6 records\n" + Indented(statistics, "  ") +
                "\n  region = North \u2014 6 records\n" + Indented(statistics, "    "));
}

TEST(ToolRun, QuotedCellsWithNewlinesAndCrlfInput) {
  ScratchDir dir;
  const std::string csv =
      "name,amount\r\n\"Smith,\r\nJ\",1\r\n\"Smith,\r\nJ\",2\r\n\"O\"\"Brien\",4\r\n";
  const std::string job =
      R"({"tree": ["name"], "statistics": {"s": {"type": "Sum", "field": "amount"}}})";
  const ToolResult r = RunTool(
      {"run", dir.Write("q.csv", csv), "--job", dir.Write("job.json", job), "--format", "json"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json children = Parse(r)["root"]["children"];
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(children[0]["value"], "Smith,\r\nJ");
  EXPECT_EQ(children[0]["statistics"]["s"]["total"]["result"], 3);
  EXPECT_EQ(children[1]["value"], "O\"Brien");
}

// Each column's Max is its one cell, as the report types it.
TEST(ToolRun, CellsBecomeTypedJsonValues) {
  ScratchDir dir;
  std::string job;
  for (const char* column : {"int", "real", "zip", "empty", "comma", "forced", "bytes"}) {
    job += std::string(job.empty() ? "" : ", ") + "\"" + column +
           "\": {\"type\": \"Max\", \"field\": \"" + column + "\"}";
  }
  const ToolResult r = RunTool({"run",
                                dir.Write("d.tsv",
                                          "int\treal\tzip\tempty\tcomma\tforced\tbytes\n"
                                          "-12\t2.5e1\t007\t\t1,000\t12\t\xff\xfe\n"),
                                "--job", dir.Write("job.json", "{\"statistics\": {" + job + "}}"),
                                "--format", "json", "-d", "tab", "--text", "forced,empty"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json report = Parse(r);
  json results;
  for (const auto& s : report["root"]["statistics"].items()) {
    results[s.key()] = s.value()["total"]["result"];
  }
  // Invalid UTF-8 is replaced, not thrown.
  EXPECT_EQ(results, json::parse(R"({"int": -12, "real": 25.0, "zip": "007", "empty": null,
      "comma": "1,000", "forced": "12", "bytes": "\ufffd\ufffd"})"));
  EXPECT_TRUE(results["int"].is_number_integer());
  EXPECT_TRUE(results["real"].is_number_float());
}

const char kTreeJob[] = R"({"tree": ["region", "channel"],
    "statistics": {"s": {"type": "Sum", "field": "amount"}}})";

struct CommandCase {
  std::vector<std::string> args;  // "D" and "J" stand for the data and job files
  int exitCode;
  std::string err;  // all of standard error, with the scratch directory left out
  std::string csv = kSales;
  std::string job = R"({"statistics": {"s": {"type": "Sum", "field": "amount"}}})";
};

TEST(ToolCommands, ExitCodeAndMessages) {
  const std::string usage = "\nRun 'stattree --help' for usage.\n";
  const std::string header = "the header has \"region\", \"amount\", \"channel\", \"year\"\n";
  const std::vector<std::string> run = {"run", "D", "--job", "J"};
  const CommandCase cases[] = {
      {{"--help"}, 0, ""},
      {{"--version"}, 0, ""},
      {{"run", "D"}, 2, "stattree: error: --job is required" + usage},
      {{"run", "D", "--job", "J", "--format", "xml"},
       2,
       "stattree: error: --format: xml not in {text,json,csv,html}" + usage},
      {{"run", "D", "--job", "J", "--delimiter", "ab"},
       2,
       "stattree: error: --delimiter: expected one character (or tab), other than a quote or a "
       "line break\n"},
      {run, 1, "stattree: error: d.csv: line 3: the row has 3 cells, the header has 2\n",
       "amount,b\n1,2\n3,4,5\n"},
      {run, 1, "stattree: error: d.csv: line 3: the row has 3 cells, the header has 2\n",
       "amount,b\r1,2\r3,4,5\r"},
      {run, 1,
       "stattree: error: d.csv: line 3: unterminated quote: the quoted cell opened in this row "
       "never closes\n",
       "amount,b\n1,2\n3,\"x\n4,5\n"},
      {{"run", "missing.csv", "--job", "J"},
       1,
       "stattree: error: missing.csv: cannot open: No such file or directory\n"},
      {run, 1,
       "stattree: error: d.csv: the input is empty; expected a header row naming the columns\n",
       ""},
      {{"run", "D", "--job", "J", "--text", "zip"},
       1,
       "stattree: error: d.csv: --text: unknown column \"zip\"; " + header},
      {run, 1,
       "stattree: error: j.json: invalid JSON: parse error at line 2, column 17: syntax error "
       "while parsing object key - unexpected ','; expected string literal\n",
       kSales, "{\n \"statistics\": {,}\n}"},
      // check reads the header only, and reports every mistake.
      {{"check", "--job", "J", "D"}, 0, "", "region,amount,channel,year\nbad row\n"},
      {{"check", "--job", "J", "D"},
       1,
       "stattree: error: j.json: /tree/0: unknown column \"regoin\"; " + header +
           "stattree: error: j.json: /statistics/s/subset/where/yr: unknown column \"yr\"; " +
           header,
       kSales,
       R"({"tree": ["regoin"], "statistics": {"s": {"type": "Sum", "field": "amount",
           "subset": {"where": {"yr": 1}}}}})"},
      // Control bytes from the header and the job are shown, not obeyed.
      {run, 1,
       "stattree: error: j.json: /tree/0: unknown column \"x\\x1by\"; the header has "
       "\"re\\x1b[31mgion\", \"amount\", \"n\\x00l\\x09\", \"\\x7f\\xc2\\x9b\xc3\xa9\"\n",
       std::string("re\x1b[31mgion,amount,n") + '\0' + "l\t,\x7f\xc2\x9b\xc3\xa9\n1,2,3,4\n",
       R"({"tree": ["x\u001by"], "statistics": {}})"},
      {run, 1,
       "stattree: error: j.json: /tree/0: the column name \"x\" appears 2 times in the header; "
       "rename the columns so that each name is unique\n",
       "x,amount,x\n1,2,3\n", R"({"tree": ["x"], "statistics": {}})"},
      // Deep enough to overflow the stack if it were ever copied recursively.
      {run, 1,
       "stattree: error: j.json: /statistics/s/description" + Repeat("/0", 97) +
           ": arrays and objects nest more than 100 levels deep (a job needs at most 5)\n",
       kSales,
       R"({"statistics": {"s": {"description": )" + Repeat("[", 300000) + Repeat("]", 300000) +
           R"(, "type": "Sum", "field": "amount"}}})"},
      // Nodes as the records come: the root, North, North/Web, South, South/Shop,
      // North/Shop, and South/Web, the seventh, at record 5.
      {{"run", "D", "--job", "J", "--max-nodes", "6"},
       1,
       "stattree: error: d.csv: record 5 would grow the results tree past 6 nodes (--max-nodes; "
       "one node per distinct value of a tree field under each parent); raise --max-nodes, or "
       "set it to 0 for no limit; no report written\n",
       kSales,
       kTreeJob},
      {{"run", "D", "--job", "J", "--max-nodes", "7"}, 0, "", kSales, kTreeJob},
      {{"run", "D", "--job", "J", "--max-nodes", "0"}, 0, "", kSales, kTreeJob},
      {{"run", "D", "--job", "J", "--max-nodes", "-1"},
       2,
       "stattree: error: --max-nodes: Value -1 not in range 0 to 2147483647" + usage},
      {run, 0,
       "stattree: warning: j.json: /statistics/x/values: Max does not count enumeration values "
       "(only EnumCount and EnumPercent do); ignored\n",
       kSales, R"({"statistics": {"x": {"type": "Max", "field": "amount", "values": ["a"]}}})"},
  };
  for (const CommandCase& c : cases) {
    SCOPED_TRACE(c.err);
    ScratchDir dir;
    std::vector<std::string> args = c.args;
    for (std::string& a : args) {
      if (a == "D") a = dir.Write("d.csv", c.csv);
      if (a == "J") a = dir.Write("j.json", c.job);
      if (a == "missing.csv") a = dir.Path(a);
    }
    const ToolResult r = RunTool(args);
    std::string err = r.err;
    const std::string prefix = dir.Path("");
    for (std::size_t at; (at = err.find(prefix)) != std::string::npos;)
      err.erase(at, prefix.size());
    EXPECT_EQ(r.exitCode, c.exitCode) << err;
    EXPECT_EQ(err, c.err);
    if (c.exitCode != 0) {
      EXPECT_EQ(r.out, "");
    }
  }
}

// Null is "nothing to compute"; invalid has its own form.
TEST(ToolRun, JsonTellsInvalidFromNoValue) {
  ScratchDir dir;
  const ToolResult r =
      RunTool({"run", dir.Write("d.csv", "amount,year\n5,2023\nn/a,2023\n"), "--job",
               dir.Write("j.json", R"({"statistics": {"sum": {"type": "Sum", "field": "amount"},
           "none": {"type": "Average", "field": "amount", "subset": {"where": {"year": 1999}}}}})"),
               "--format", "json", "--quiet"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.err, "");
  const json report = Parse(r);
  EXPECT_EQ(report["root"]["statistics"]["sum"]["total"]["result"], json({{"invalid", true}}));
  EXPECT_TRUE(report["root"]["statistics"]["none"]["total"]["result"].is_null());
  // --quiet keeps the report's copy of the warnings.
  EXPECT_EQ(report["warnings"], json::parse(R"([
      {"kind": "text_in_numeric_column", "statistic": "sum", "column": "amount",
       "message": "sum \u2014 Sum of amount: 1 of 2 cells are not numbers, e.g. line 3: \"n/a\""},
      {"kind": "text_in_numeric_column", "statistic": "none", "column": "amount",
       "message":
         "none \u2014 Average of amount: 1 of 2 cells are not numbers, e.g. line 3: \"n/a\""},
      {"kind": "subset_matched_nothing", "statistic": null, "column": "year",
       "message": "subset \"year=1999\" (used by none) matched no record"}])"));
  // The page lists them first, escaped.
  const ToolResult page = RunTool(
      {"run", dir.Path("d.csv"), "--job", dir.Path("j.json"), "--format", "html", "--quiet"});
  ASSERT_EQ(page.exitCode, 0) << page.err;
  EXPECT_NE(page.out.find("<section class=\"warnings\"><h2>Warnings</h2>\n<ul>\n"
                          "<li>sum \u2014 Sum of amount: 1 of 2 cells are not numbers, e.g. line "
                          "3: &quot;n/a&quot;</li>\n"),
            std::string::npos)
      << page.out;
}

struct WarningCase {
  std::string csv;
  std::string statistics;  // the job's "statistics" object
  std::string err;         // all of standard error
};

TEST(ToolWarnings, PitfallsAreNamedOnStandardError) {
  const WarningCase cases[] = {
      // Every numeric type, one example each: the first text cell.
      {"amount\n1\nn/a\n2\n-\n",
       R"({"s": {"type": "Sum", "field": "amount"}, "a": {"type": "Average", "field": "amount"},
           "d": {"type": "StdDev", "field": "amount"}, "lo": {"type": "Min", "field": "amount"},
           "hi": {"type": "Max", "field": "amount"},
           "h": {"type": "Histogram1", "field": "amount",
                 "histogram": {"start": 0, "width": 1, "count": 2}},
           "n": {"type": "CountValid", "field": "amount"}})",
       "stattree: warning: s \u2014 Sum of amount: 2 of 4 cells are not numbers, e.g. line 3: "
       "\"n/a\"\n"
       "stattree: warning: a \u2014 Average of amount: 2 of 4 cells are not numbers, e.g. line 3: "
       "\"n/a\"\n"
       "stattree: warning: d \u2014 StdDev of amount: 2 of 4 cells are not numbers, e.g. line 3: "
       "\"n/a\"\n"
       "stattree: warning: lo \u2014 Min of amount: 2 of 4 cells are not numbers, e.g. line 3: "
       "\"n/a\"\n"
       "stattree: warning: hi \u2014 Max of amount: 2 of 4 cells are not numbers, e.g. line 3: "
       "\"n/a\"\n"
       "stattree: warning: h \u2014 Histogram1 of amount: 2 of 4 cells are not numbers, e.g. line "
       "3: \"n/a\"\n"},
      // Empty cells are no text; a long example is cut, control bytes shown.
      {"amount,k\n1,a\n,b\n" + std::string(30, 'x') + "\x1b" + std::string(20, 'y') + ",c\n",
       R"({"s": {"type": "Sum", "field": "amount"}})",
       "stattree: warning: s \u2014 Sum of amount: 1 of 3 cells are not numbers, e.g. line 4: \"" +
           std::string(30, 'x') + "\\x1b" + std::string(9, 'y') + "\u2026\"\n"},
      // "5.0" is read as the number 5, whose text is "5".
      {"size\n5.0\n6\n", R"({"e": {"type": "EnumCount", "field": "size", "values": ["5.0", "6"]}})",
       "stattree: warning: e \u2014 EnumCount of size: the value \"5.0\" matched no record, but "
       "the column size holds the same number written differently (e.g. line 2: \"5.0\", read "
       "as 5)\n"},
      // Cells that are not canonical numbers stay text.
      {"zip,amount\n07,1\n08,2\n",
       R"({"s": {"type": "Sum", "field": "amount", "subset": {"where": {"zip": 7}}},
           "t": {"type": "Max", "field": "amount", "subset": {"where": {"zip": 7}}}})",
       "stattree: warning: subset \"zip=7\": the value \"7\" matched no record, but the column "
       "zip holds the same number written differently (e.g. line 2: \"07\", read as text)\n"
       "stattree: warning: subset \"zip=7\" (used by s, t) matched no record\n"},
      // A value matched once is no pitfall, whatever else the column holds.
      {"size\n5.0\n5\n", R"({"e": {"type": "EnumPercent", "field": "size", "values": ["5"]},
           "s": {"type": "Count", "subset": {"where": {"size": 5}}}})",
       ""},
  };
  for (const WarningCase& c : cases) {
    SCOPED_TRACE(c.statistics);
    ScratchDir dir;
    const std::string csv = dir.Write("d.csv", c.csv);
    const std::string job = dir.Write("j.json", "{\"statistics\": " + c.statistics + "}");
    ToolResult r = RunTool({"run", csv, "--job", job, "--format", "json"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(Parse(r)["warnings"].size(),
              static_cast<std::size_t>(std::count(c.err.begin(), c.err.end(), '\n')));
    r = RunTool({"run", csv, "--job", job, "--quiet"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.err, "");
  }
}

// check --sample reads only the first records, and writes no report.
TEST(ToolWarnings, CheckSampleWarnsFromTheFirstRecords) {
  ScratchDir dir;
  const std::string job =
      dir.Write("j.json", R"({"statistics": {"s": {"type": "Sum", "field": "amount"}}})");
  const std::string csv = dir.Write("d.csv", "amount\n1\n2\nn/a\n");
  const std::string fits = job + ": fits " + csv + " (1 columns, 1 statistics, 0 tree levels)\n";
  ToolResult r = RunTool({"check", "--job", job, csv, "--sample", "2"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out, fits);
  EXPECT_EQ(r.err, "");
  r = RunTool({"check", "--job", job, csv, "--sample", "3"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out, fits);
  EXPECT_EQ(r.err,
            "stattree: warning: s \u2014 Sum of amount: 1 of 3 cells are not numbers, e.g. line "
            "4: \"n/a\"\n");
}

// The long table, whole: a transparent node's child takes its own level's
// column, a grouping field gets a column, the fixed names win.
TEST(ToolRun, CsvReportIsOneTidyTable) {
  ScratchDir dir;
  const ToolResult r = RunTool(
      {"run",
       dir.Write("d.csv",
                 "region,bin,channel,amount\nNorth,a,Web,10\n,b,\"Sh,op\",2.5\nNorth,a,Web,x\n"),
       "--job", dir.Write("j.json", R"({"tree": ["region", "bin"], "statistics": {
           "sum": {"type": "Sum", "field": "amount", "grouping": {"fields": ["channel"]}},
           "ch": {"type": "EnumCount", "field": "channel", "values": ["Web"]}}})"),
       "--format", "csv", "--quiet"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  // Sum over "x" is invalid; "Sh,op" matches no enumeration value.
  EXPECT_EQ(r.out,
            "region,bin (tree),statistic,type,field,subset,grouping,total,channel,bin,value,status,"
            "records\r\n"
            ",,sum,Sum,amount,,channel,false,\"Sh,op\",,2.5,ok,1\r\n"
            ",,sum,Sum,amount,,channel,false,Web,,,invalid,2\r\n"
            ",,sum,Sum,amount,,channel,true,,,,invalid,3\r\n"
            ",,ch,EnumCount,channel,,,true,,Web,2,ok,3\r\n"
            ",,ch,EnumCount,channel,,,true,,N/A (empty),0,ok,3\r\n"
            "North,,sum,Sum,amount,,channel,false,Web,,,invalid,2\r\n"
            "North,,sum,Sum,amount,,channel,true,,,,invalid,2\r\n"
            "North,,ch,EnumCount,channel,,,true,,Web,2,ok,2\r\n"
            "North,,ch,EnumCount,channel,,,true,,N/A (empty),0,ok,2\r\n"
            "North,a,sum,Sum,amount,,channel,false,Web,,,invalid,2\r\n"
            "North,a,sum,Sum,amount,,channel,true,,,,invalid,2\r\n"
            "North,a,ch,EnumCount,channel,,,true,,Web,2,ok,2\r\n"
            "North,a,ch,EnumCount,channel,,,true,,N/A (empty),0,ok,2\r\n"
            ",b,sum,Sum,amount,,channel,false,\"Sh,op\",,2.5,ok,1\r\n"
            ",b,sum,Sum,amount,,channel,true,,,2.5,ok,1\r\n"
            ",b,ch,EnumCount,channel,,,true,,Web,0,ok,1\r\n"
            ",b,ch,EnumCount,channel,,,true,,N/A (empty),0,ok,1\r\n");
}

// Waits until the tool has taken what was written (its handler is
// installed by then), lets it work for `settleMs`, interrupts it while it
// waits for more, then offers one row more.
void InterruptWhileWaiting(const Child& c, int settleMs) {
  for (int i = 0, pending = 1; i < 500 && pending != 0; ++i) {
    if (ioctl(c.stdinFd, FIONREAD, &pending) != 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(settleMs));
  kill(c.pid, SIGINT);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  c.Write("North,1,Web,2023\n");
}

// Ctrl-C while the engine waits for records: exit 130, no report.
TEST(ToolCancel, InterruptExits130WithoutReport) {
  ScratchDir dir;
  const ToolResult r =
      RunTool({"run", "-", "--job", dir.Write("job.json", kJob)}, [](const Child& c) {
        c.Write(kSales);
        InterruptWhileWaiting(c, 200);
      });
  EXPECT_EQ(r.exitCode, 130) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err.rfind("stattree: cancelled after ", 0), 0u) << r.err;
  EXPECT_NE(r.err.find(" records; no report written\n"), std::string::npos) << r.err;
}

// Equal, but for reals in their last digits (sums added in another order).
void ExpectSameReport(const json& got, const json& want, const std::string& path = "") {
  if (got.is_number_float() && want.is_number()) {
    EXPECT_NEAR(got.get<double>(), want.get<double>(), 1e-9 * std::abs(want.get<double>())) << path;
  } else if (got.is_structured() && got.type() == want.type() && got.size() == want.size()) {
    if (got.is_array()) {
      for (std::size_t i = 0; i < got.size(); ++i) {
        ExpectSameReport(got[i], want[i], path + "/" + std::to_string(i));
      }
    } else {
      for (auto it = want.begin(); it != want.end(); ++it) {
        ASSERT_TRUE(got.contains(it.key())) << path << "/" << it.key();
        ExpectSameReport(got[it.key()], it.value(), path + "/" + it.key());
      }
    }
  } else {
    EXPECT_EQ(got, want) << path;
  }
}

// A run with several workers against one reader's run of the same input:
// successful, the same messages, the text report exactly, the JSON one but
// for the last digits of reals.
void ExpectSameRun(const ToolResult& many, const ToolResult& one, const std::string& format) {
  ASSERT_EQ(many.exitCode, 0) << many.err;
  EXPECT_EQ(many.err, one.err);
  if (format == "text") {
    EXPECT_EQ(many.out, one.out);
  } else {
    ExpectSameReport(Parse(many), Parse(one));
  }
}

// Rows of every shape: quoted cells with delimiters and line breaks, LF,
// CRLF and lone CR line ends, blank lines, text among the numbers; `bad`
// rows (by position) have a cell too many.
std::string ThreadsCsv(int rows, const std::vector<int>& bad = {}) {
  const char* const kEnds[] = {"\n", "\r\n", "\r", "\n\n", "\r\n\r\n"};
  const char* const kRegions[] = {"North", "\"South,\nEast\"", "\"West \"\"W\"\"\"", "Mid"};
  std::string csv = "region,amount,channel,year\r\n";
  for (int i = 0; i < rows; ++i) {
    csv += std::string(kRegions[i % 4]) + ",";
    csv += i % 17 == 0 ? "n/a" : std::to_string(i % 50) + (i % 3 == 0 ? ".25" : "");
    csv += i % 5 == 0 ? ",\"Web\r\nshop\"," : (i % 2 == 0 ? ",Web," : ",Shop,");
    csv += i % 7 == 0 ? "2023.0" : "2024";
    if (std::find(bad.begin(), bad.end(), i) != bad.end()) csv += ",extra";
    csv += kEnds[i % 5];
  }
  return csv;
}

const char kThreadsJob[] = R"({
  "tree": ["region", "channel"],
  "statistics": {
    "n": {"type": "Count"},
    "sum": {"type": "Sum", "field": "amount", "grouping": {"fields": ["year"]}},
    "avg": {"type": "Average", "field": "amount"},
    "sd": {"type": "StdDev", "field": "amount"},
    "max": {"type": "Max", "field": "amount"},
    "channels": {"type": "EnumPercent", "field": "channel", "values": ["Web", "Shop"],
                 "subset": {"where": {"year": 2023}}},
    "sizes": {"type": "Histogram1", "field": "amount",
              "histogram": {"start": 0, "width": 10, "count": 4}}
  }})";

ToolResult RunThreads(const std::string& csv, const std::string& job, int threads,
                      const std::vector<std::string>& more = {}) {
  std::vector<std::string> args = {"run", csv, "--job", job, "--threads", std::to_string(threads)};
  args.insert(args.end(), more.begin(), more.end());
  return RunTool(args);
}

// Several workers print what one does: the text report and the messages
// exactly, the JSON report but for the last digits of reals.
TEST(ToolThreads, ReportEqualsOneThreadsReport) {
  ScratchDir dir;
  const std::string csv = dir.Write("d.csv", ThreadsCsv(400));
  const std::string job = dir.Write("j.json", kThreadsJob);
  for (const char* format : {"text", "json"}) {
    const ToolResult one = RunThreads(csv, job, 1, {"--format", format});
    ASSERT_EQ(one.exitCode, 0) << one.err;
    EXPECT_NE(one.err.find("warning: sum \u2014 Sum of amount: 24 of 400 cells are not numbers, "
                           "e.g. line 2: \"n/a\""),
              std::string::npos)
        << one.err;
    for (int threads : {2, 3, 7}) {
      SCOPED_TRACE(std::string(format) + ", threads " + std::to_string(threads));
      ExpectSameRun(RunThreads(csv, job, threads, {"--format", format}), one, format);
    }
  }
}

// An input that ends in a fault (or, with --skip-bad-rows, a warning).
struct FaultCase {
  std::string csv;
  std::vector<std::string> args;
  int exitCode;
  std::string errStart;
};

// Each case read by one reader (`run(c, 0)`) ends with `exitCode` and a
// message starting `errStart`; with workers (`run(c, v)` for each of
// `variants`) it ends the same, byte for byte.
template <std::size_t N, class Run>
void ExpectFaultsAsOneReader(const FaultCase (&cases)[N], std::initializer_list<int> variants,
                             Run run) {
  for (const FaultCase& c : cases) {
    SCOPED_TRACE(c.errStart);
    const ToolResult one = run(c, 0);
    EXPECT_EQ(one.exitCode, c.exitCode) << one.err;
    EXPECT_EQ(one.err.rfind(c.errStart, 0), 0u) << one.err;
    for (int variant : variants) {
      const ToolResult many = run(c, variant);
      EXPECT_EQ(many.exitCode, one.exitCode);
      EXPECT_EQ(many.err, one.err);
      EXPECT_EQ(many.out, one.out);
    }
  }
}

// Faults in later ranges: the same message, line and exit code, or with
// --skip-bad-rows the same report and count; --max-nodes words the record.
TEST(ToolThreads, FaultsAreReportedAsByOneThread) {
  ScratchDir dir;
  const std::string job = dir.Write("j.json", kThreadsJob);
  const std::string bad = dir.Write("bad.csv", ThreadsCsv(400, {230, 231, 390}));
  const std::string unclosed = dir.Write("open.csv", ThreadsCsv(400) + "North,\"1\n");
  const std::string good = dir.Write("good.csv", ThreadsCsv(400));
  const std::vector<std::string> kNone;
  const FaultCase kCases[] = {
      {bad, kNone, 1, "stattree: error: " + bad + ": line "},
      {bad, {"--skip-bad-rows"}, 0, "stattree: warning: " + bad + ": skipped 3 bad rows\n"},
      {unclosed, kNone, 1, "stattree: error: " + unclosed + ": line "},
      {unclosed, {"--skip-bad-rows"}, 0, "stattree: warning: " + unclosed + ": skipped 1 bad"},
      {good, {"--max-nodes", "9"}, 1, "stattree: error: " + good + ": record "},
      {bad, {"--max-nodes", "9"}, 1, "stattree: error: " + bad + ": record "},
      {bad, {"--max-nodes", "20"}, 1, "stattree: error: " + bad + ": line "},
  };
  // 0: one reader.
  ExpectFaultsAsOneReader(kCases, {2, 3}, [&](const FaultCase& c, int threads) {
    return RunThreads(c.csv, job, threads == 0 ? 1 : threads, c.args);
  });
  const ToolResult zero = RunThreads(good, job, 0);
  EXPECT_EQ(zero.exitCode, 2);
  EXPECT_EQ(zero.err.rfind("stattree: error: --threads: Value 0 not in range 1 to 64", 0), 0u)
      << zero.err;
}

// Standard input, cut into blocks of `blockBytes` (STATTREE_BLOCK_BYTES,
// so that small inputs make many blocks) for `threads` workers.
ToolResult RunStdin(const std::string& csv, const std::string& job, int threads,
                    const std::vector<std::string>& more = {}, long blockBytes = 0,
                    const std::function<void(const Child&)>& feed = nullptr) {
  std::vector<std::string> args = {"run", "-", "--job", job, "--threads", std::to_string(threads)};
  args.insert(args.end(), more.begin(), more.end());
  if (blockBytes > 0) setenv("STATTREE_BLOCK_BYTES", std::to_string(blockBytes).c_str(), 1);
  ToolResult r = RunTool(
      args, feed ? feed : [&csv](const Child& c) { c.Write(csv); });
  unsetenv("STATTREE_BLOCK_BYTES");
  return r;
}

// Blocks cut at any byte (quoted line breaks, CRLF, blank lines) print
// what one reader prints: text exactly, JSON but for the last digits.
TEST(ToolStdinBlocks, ReportEqualsOneThreadsReport) {
  ScratchDir dir;
  const std::string examples = STATTREE_EXAMPLES_DIR;
  const struct {
    std::string csv;
    std::string job;
    long blockBytes;
    std::vector<int> threads;
  } kCases[] = {
      {ReadFile(examples + "/sales.csv"), examples + "/sales.json", 256 << 10, {2, 3}},
      {ThreadsCsv(400), dir.Write("j.json", kThreadsJob), 300, {2, 3}},
      {ThreadsCsv(400), dir.Path("j.json"), 97, {3}},
  };
  for (const auto& c : kCases) {
    for (const char* format : {"text", "json"}) {
      const ToolResult one = RunStdin(c.csv, c.job, 1, {"--format", format});
      ASSERT_EQ(one.exitCode, 0) << one.err;
      for (int threads : c.threads) {
        SCOPED_TRACE(std::string(format) + ", threads " + std::to_string(threads) + ", blocks of " +
                     std::to_string(c.blockBytes));
        ExpectSameRun(RunStdin(c.csv, c.job, threads, {"--format", format}, c.blockBytes), one,
                      format);
      }
    }
  }
}

// Bad rows, broken quoting mid-stream (the rest is read by one reader) or
// at the end, and --max-nodes past the limit before or after a bad row: the
// same message, line, record and exit code as one reader, or with
// --skip-bad-rows the same report and count.
TEST(ToolStdinBlocks, FaultsAreReportedAsByOneThread) {
  ScratchDir dir;
  const std::string job = dir.Write("j.json", kThreadsJob);
  const std::string bad = ThreadsCsv(400, {230, 231, 390});
  // A region met nowhere before, late; and broken quoting before it.
  std::string late = ThreadsCsv(400);
  late.insert(late.find("\nNorth,", late.size() * 3 / 4) + 1, "Zed,1,Web,2024\n");
  std::string broken = late;
  broken.insert(broken.find("\nNorth,", broken.size() / 2) + 1, "North,1\"x,Web,2024\n");
  const std::string unclosed = ThreadsCsv(400) + "North,\"1\n";
  const std::vector<std::string> kNone;
  const FaultCase kCases[] = {
      {bad, kNone, 1, "stattree: error: <stdin>: line "},
      {bad, {"--skip-bad-rows"}, 0, "stattree: warning: <stdin>: skipped 3 bad rows\n"},
      {broken, kNone, 1, "stattree: error: <stdin>: line "},
      {broken, {"--skip-bad-rows"}, 0, "stattree: warning: <stdin>: skipped 1 bad row\n"},
      {unclosed, kNone, 1, "stattree: error: <stdin>: line "},
      // The tree has 13 nodes until Zed's row adds 2.
      {bad, {"--max-nodes", "12"}, 1, "stattree: error: <stdin>: record "},
      {bad, {"--max-nodes", "13"}, 1, "stattree: error: <stdin>: line "},
      {late, {"--max-nodes", "13"}, 1, "stattree: error: <stdin>: record "},
      {broken, {"--max-nodes", "13", "--skip-bad-rows"}, 1, "stattree: error: <stdin>: record "},
  };
  // 0: one reader; otherwise two workers on blocks of that many bytes.
  ExpectFaultsAsOneReader(kCases, {150, 1000}, [&](const FaultCase& c, int blockBytes) {
    return blockBytes == 0 ? RunStdin(c.csv, job, 1, c.args)
                           : RunStdin(c.csv, job, 2, c.args, blockBytes);
  });
}

// Ctrl-C while blocks are read: exit 130, no report, and no worker left
// behind (an unreaped one would be handed to this process, its subreaper).
TEST(ToolStdinBlocks, InterruptLeavesNoWorker) {
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  ScratchDir dir;
  const ToolResult r =
      RunStdin("", dir.Write("j.json", kThreadsJob), 2, {}, 1000, [](const Child& c) {
        c.Write(ThreadsCsv(2000));
        InterruptWhileWaiting(c, 100);
      });
  EXPECT_EQ(r.exitCode, 130) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err.rfind("stattree: cancelled after ", 0), 0u) << r.err;
  int status = 0;
  EXPECT_EQ(waitpid(-1, &status, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  prctl(PR_SET_CHILD_SUBREAPER, 0);
}

// A million rows through standard input: memory stays flat.
TEST(ToolMemory, MillionRowsThroughStdinStayFlat) {
#ifndef STATTREE_RELEASE_BUILD
  GTEST_SKIP() << "measured in Release builds only";
#else
  ScratchDir dir;
  const std::string job = R"({"tree": ["key"], "statistics": {
      "n": {"type": "Count"}, "s": {"type": "Sum", "field": "value"},
      "m": {"type": "Max", "field": "value"}}})";
  constexpr int kRows = 1000000;
  const ToolResult r =
      RunTool({"run", "-", "--job", dir.Write("job.json", job), "--format", "json", "--quiet"},
              [](const Child& c) {
                std::string chunk = "key,value,note\n";
                for (int i = 0; i < kRows; ++i) {
                  chunk += "k" + std::to_string(i % 10) + "," + std::to_string(i % 1000) +
                           ",a note that makes the input some 60 MB in all; row " +
                           std::to_string(i) + "\n";
                  if (chunk.size() > (1 << 16)) {
                    if (!c.Write(chunk)) return;
                    chunk.clear();
                  }
                }
                c.Write(chunk);
              });
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json report = Parse(r);
  EXPECT_EQ(report["records"], kRows);
  EXPECT_EQ(report["root"]["statistics"]["s"]["total"]["result"], 499500000);
  EXPECT_EQ(report["root"]["children"].size(), 10u);
  EXPECT_EQ(report["root"]["children"][3]["records"], kRows / 10);
  EXPECT_EQ(report["root"]["children"][3]["statistics"]["m"]["total"]["result"], 993);
  // Far below the input's size, which a tool that buffers the input would pass.
  EXPECT_LT(r.maxRssKb, 16 * 1024) << "peak resident memory in KiB";
  std::printf("peak resident memory: %ld KiB\n", r.maxRssKb);
#endif
}

}  // namespace
}  // namespace testing
}  // namespace cli
}  // namespace stattree
