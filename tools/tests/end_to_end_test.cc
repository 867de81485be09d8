// The built tool, run as a user runs it, on small files made here.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
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
              "histogram": {"edges": [10, 25]}}
  }})";

json Parse(const ToolResult& result) {
  EXPECT_TRUE(json::accept(result.out)) << result.out << result.err;
  return json::accept(result.out) ? json::parse(result.out) : json();
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(ToolRun, ComputesEveryStatisticAsByHand) {
  ScratchDir dir;
  const ToolResult r = RunTool({"run", dir.Write("sales.csv", kSales), "--job",
                                dir.Write("job.json", kJob), "--format", "json"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json report = Parse(r);
  EXPECT_EQ(report["records"], 5);
  const json& s = report["root"]["statistics"];
  EXPECT_EQ(report["root"]["records"], 5);
  EXPECT_EQ(s["n"]["total"]["result"], 5);
  EXPECT_EQ(s["valid"]["total"]["result"], 4);
  EXPECT_EQ(s["sum"]["total"]["result"], 65);
  EXPECT_DOUBLE_EQ(s["avg"]["total"]["result"].get<double>(), 16.25);
  // Sample deviation of 10, 20, 30, 5: sqrt(368.75 / 3).
  EXPECT_NEAR(s["sd"]["total"]["result"].get<double>(), 11.086778913, 1e-8);
  EXPECT_EQ(s["min"]["total"]["result"], 5);
  EXPECT_EQ(s["max"]["total"]["result"], 30);
  // Combinations sorted by value; the empty amount adds nothing.
  const json& combos = s["sum"]["combinations"];
  ASSERT_EQ(combos.size(), 2u);
  EXPECT_EQ(combos[0]["group"], json({"Shop"}));
  EXPECT_EQ(combos[0]["records"], 2);
  EXPECT_EQ(combos[0]["result"], 20);
  EXPECT_EQ(combos[1]["result"], 45);
  EXPECT_EQ(s["channels"]["total"]["distribution"], json({3, 2}));
  EXPECT_EQ(s["channels"]["total"]["not_available"], 0);
  const json& share = s["share"]["total"]["distribution"];
  EXPECT_NEAR(share[0].get<double>(), 200.0 / 3, 1e-4);
  EXPECT_NEAR(share[1].get<double>(), 100.0 / 3, 1e-4);
  EXPECT_TRUE(s["share"]["total"]["not_available"].is_null());
  EXPECT_EQ(s["share"]["subset"]["where"]["year"], 2023);
  EXPECT_EQ(s["sizes"]["bins"], json({"< 10", "[10, 25)", ">= 25"}));
  EXPECT_EQ(s["sizes"]["total"]["distribution"], json({1, 2, 1}));
  EXPECT_EQ(s["sizes"]["total"]["not_available"], 1);

  const json& children = report["root"]["children"];
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(children[0]["field"], "region");
  EXPECT_EQ(children[0]["value"], "North");
  EXPECT_EQ(children[0]["records"], 3);
  EXPECT_EQ(children[0]["statistics"]["sum"]["total"]["result"], 40);
  EXPECT_EQ(children[1]["statistics"]["min"]["total"]["result"], 5);
}

TEST(ToolRun, TextReportShowsNodesStatisticsAndBars) {
  ScratchDir dir;
  const ToolResult r =
      RunTool({"run", dir.Write("sales.csv", kSales), "--job", dir.Write("job.json", kJob)});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(Contains(r.out, "root \u2014 5 records\n")) << r.out;
  EXPECT_TRUE(Contains(r.out, "  sum \u2014 Sum of amount by channel:\n    Shop   20  2 records\n"))
      << r.out;
  EXPECT_TRUE(Contains(r.out, "  avg \u2014 Average of amount: 16.25\n")) << r.out;
  EXPECT_TRUE(Contains(r.out, "    Web   \u2588\u2588\u2588")) << r.out;
  EXPECT_TRUE(Contains(r.out, "66.7%")) << r.out;
  EXPECT_TRUE(Contains(r.out, "\n  region = South \u2014 2 records\n")) << r.out;
  EXPECT_TRUE(r.err.empty()) << r.err;
}

TEST(ToolRun, ReadsStandardInputAndWritesTheOutputFile) {
  ScratchDir dir;
  const std::string output = dir.Path("report.json");
  const ToolResult r = RunTool(
      {"run", "-", "--job", dir.Write("job.json", kJob), "--format", "json", "--output", output},
      dir.Write("sales.csv", kSales));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(r.out.empty());
  std::ifstream in(output);
  const json report = json::parse(in);
  EXPECT_EQ(report["data"], "<stdin>");
  EXPECT_EQ(report["root"]["statistics"]["sum"]["total"]["result"], 65);
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

TEST(ToolRun, SkipBadRowsSkipsCountsAndReports) {
  ScratchDir dir;
  const std::string csv = "a,b\n1,2\n3\n4,\"x\"y\n5,6\n";
  const std::string job = R"({"statistics": {"s": {"type": "Sum", "field": "a"}}})";
  const ToolResult r = RunTool({"run", dir.Write("d.csv", csv), "--job", dir.Write("job.json", job),
                                "--format", "json", "--skip-bad-rows"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json report = Parse(r);
  EXPECT_EQ(report["skipped_rows"], 2);
  EXPECT_EQ(report["records"], 2);
  EXPECT_EQ(report["root"]["statistics"]["s"]["total"]["result"], 6);
  EXPECT_TRUE(Contains(r.err, "skipped 2 bad rows")) << r.err;
}

TEST(ToolRun, TextColumnsKeepDigitsAsText) {
  ScratchDir dir;
  const std::string csv = "zip,v\n9,1\n10,1\n007,1\n";
  const std::string job = R"({"statistics": {"m": {"type": "Min", "field": "zip"}}})";
  const std::string data = dir.Write("d.csv", csv);
  const std::string jobPath = dir.Write("job.json", job);
  const ToolResult numbers = RunTool({"run", data, "--job", jobPath, "--format", "json"});
  EXPECT_EQ(Parse(numbers)["root"]["statistics"]["m"]["total"]["result"], 9);
  const ToolResult text =
      RunTool({"run", data, "--job", jobPath, "--format", "json", "--text", "zip"});
  EXPECT_EQ(Parse(text)["root"]["statistics"]["m"]["total"]["result"], "007");
}

TEST(ToolRun, OtherDelimiters) {
  ScratchDir dir;
  const std::string job = R"({"statistics": {"s": {"type": "Sum", "field": "b"}}})";
  const ToolResult r = RunTool({"run", dir.Write("d.tsv", "a\tb\nx\t2\ny\t3\n"), "--job",
                                dir.Write("job.json", job), "--format", "json", "-d", "tab"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Parse(r)["root"]["statistics"]["s"]["total"]["result"], 5);
}

TEST(ToolErrors, DataErrorsExitOneWithFileAndLine) {
  ScratchDir dir;
  const std::string job = R"({"statistics": {"s": {"type": "Sum", "field": "a"}}})";
  const std::string jobPath = dir.Write("job.json", job);
  const std::string wide = dir.Write("wide.csv", "a,b\n1,2\n3,4,5\n");
  ToolResult r = RunTool({"run", wide, "--job", jobPath});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.err,
            "stattree: error: " + wide + ": line 3: the row has 3 cells, the header has 2\n");
  EXPECT_TRUE(r.out.empty());

  const std::string open = dir.Write("open.csv", "a,b\n1,2\n3,\"x\n");
  r = RunTool({"run", open, "--job", jobPath});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err, open + ": line 3: unterminated quote")) << r.err;

  r = RunTool({"run", dir.Path("missing.csv"), "--job", jobPath});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err, "missing.csv: cannot open: No such file or directory")) << r.err;

  r = RunTool({"run", dir.Write("empty.csv", ""), "--job", jobPath});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err, "the input is empty; expected a header row")) << r.err;
}

TEST(ToolErrors, JobErrorsNameThePointerAndWhatWasExpected) {
  ScratchDir dir;
  const std::string data = dir.Write("d.csv", kSales);
  auto run = [&](const std::string& job) {
    return RunTool({"run", data, "--job", dir.Write("job.json", job)});
  };
  const std::string jobPath = dir.Path("job.json");
  ToolResult r = run(R"({"tree": ["regoin"], "statistics": {}})");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.err, "stattree: error: " + jobPath +
                       ": /tree/0: unknown column \"regoin\"; the header has \"region\", "
                       "\"amount\", \"channel\", \"year\"\n");

  r = run(R"({"statistics": {"x": {"type": "Total", "field": "amount"}}})");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err, "/statistics/x/type: unknown type \"Total\"; expected one of"))
      << r.err;

  r = run(R"({"statistics": {"x": {"type": "EnumPercent", "field": "channel"}}})");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err, "/statistics/x: EnumPercent needs \"values\"")) << r.err;

  r = run(R"({"statistics": {"x": {"type": "Sum", "field": ["amount"]}}})");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err,
                       "/statistics/x/field: expected a column name (a string), found an "
                       "array"))
      << r.err;

  r = run("{\"statistics\": ");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_TRUE(Contains(r.err, jobPath + ": invalid JSON: parse error at line 1")) << r.err;

  r = run(R"({"statistics": {"x": {"type": "Max", "field": "amount", "values": ["a"]}}})");
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(Contains(r.err, "stattree: warning: " + jobPath +
                                  ": /statistics/x/values: Max does "
                                  "not count enumeration values"))
      << r.err;
}

TEST(ToolErrors, UsageErrorsExitTwo) {
  EXPECT_EQ(RunTool({}).exitCode, 2);
  EXPECT_EQ(RunTool({"run", "d.csv"}).exitCode, 2);  // no --job
  EXPECT_EQ(RunTool({"run", "d.csv", "--job", "j.json", "--format", "xml"}).exitCode, 2);
  EXPECT_EQ(RunTool({"run", "d.csv", "--job", "j.json", "--bogus"}).exitCode, 2);
  const ToolResult r = RunTool({"run", "d.csv", "--job", "j.json", "--delimiter", "ab"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_TRUE(Contains(r.err, "--delimiter")) << r.err;
}

TEST(ToolCommands, HelpVersionAndCheck) {
  ToolResult r = RunTool({"--help"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_TRUE(Contains(r.out, "canonical integers")) << r.out;
  r = RunTool({"--version"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out.rfind("stattree ", 0), 0u) << r.out;

  ScratchDir dir;
  // A bad row after the header: check reads the header only.
  const std::string data = dir.Write("d.csv", "region,amount,channel,year\n1\n");
  r = RunTool({"check", "--job", dir.Write("job.json", kJob), data});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(Contains(r.out, "fits")) << r.out;
  r = RunTool(
      {"check", "--job", dir.Write("bad.json", R"({"tree": ["x"], "statistics": {}})"), data});
  EXPECT_EQ(r.exitCode, 1);
}

// Ctrl-C while the engine waits for records: exit 130, no report.
TEST(ToolCancel, InterruptExits130WithoutReport) {
  ScratchDir dir;
  const std::string jobPath = dir.Write("job.json", kJob);
  const ToolResult r =
      RunToolFed({"run", "-", "--job", jobPath},
                 [](const std::function<bool(const std::string&)>& write, int pid, int pipeFd) {
                   write(kSales);
                   // Wait until the tool has taken the rows (its handler is installed
                   // by then), then interrupt it while it waits for more.
                   for (int i = 0; i < 500; ++i) {
                     int pending = 0;
                     if (ioctl(pipeFd, FIONREAD, &pending) == 0 && pending == 0) break;
                     std::this_thread::sleep_for(std::chrono::milliseconds(10));
                   }
                   std::this_thread::sleep_for(std::chrono::milliseconds(200));
                   kill(pid, SIGINT);
                   std::this_thread::sleep_for(std::chrono::milliseconds(200));
                   write("North,1,Web,2023\n");
                 });
  EXPECT_EQ(r.exitCode, 130) << r.err;
  EXPECT_TRUE(r.out.empty()) << r.out;
  EXPECT_TRUE(Contains(r.err, "cancelled")) << r.err;
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
  const std::string jobPath = dir.Write("job.json", job);
  constexpr int kRows = 1000000;
  const ToolResult r =
      RunToolFed({"run", "-", "--job", jobPath, "--format", "json", "--quiet"},
                 [](const std::function<bool(const std::string&)>& write, int, int) {
                   write("key,value,note\n");
                   std::string chunk;
                   for (int i = 0; i < kRows; ++i) {
                     chunk += "k" + std::to_string(i % 10) + "," + std::to_string(i % 1000) +
                              ",row " + std::to_string(i) + "\n";
                     if (chunk.size() > (1 << 16)) {
                       if (!write(chunk)) return;
                       chunk.clear();
                     }
                   }
                   write(chunk);
                 });
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const json report = Parse(r);
  EXPECT_EQ(report["records"], kRows);
  EXPECT_EQ(report["root"]["statistics"]["s"]["total"]["result"], 499500000);
  EXPECT_EQ(report["root"]["children"].size(), 10u);
  EXPECT_EQ(report["root"]["children"][3]["records"], kRows / 10);
  EXPECT_EQ(report["root"]["children"][3]["statistics"]["m"]["total"]["result"], 993);
  EXPECT_LT(r.maxRssKb, 50 * 1024) << "peak resident memory in KiB";
  std::printf("peak resident memory: %ld KiB\n", r.maxRssKb);
#endif
}

}  // namespace
}  // namespace testing
}  // namespace cli
}  // namespace stattree
