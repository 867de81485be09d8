// Record caching must not change what a host sees when reads fail: the
// same answer, error row, detail and locations as one GetValue per reader,
// and, once a later run over readable records has added on top of what the
// failed one left, the same results everywhere in the tree.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace {

using testing::ErrorSnapshot;
using testing::HeldError;
using testing::kAmount;
using testing::kChannel;
using testing::kRegion;
using testing::kYear;
using testing::MakeDefn;
using testing::MakeField;
using testing::Row;

// Enough regions (12) and years (17) that children and combinations are
// found by value (past 8 children and 16 combinations) as well as by
// walking.
std::vector<Row> Rows() {
  std::vector<Row> rows;
  const char* channels[] = {"Web", "Store", "Phone"};
  for (int i = 0; i < 40; ++i) {
    Variant amount = i % 7 == 0 ? Variant() : Variant(i * 1.5 - 4);
    rows.push_back({2000 + i % 17, channels[i % 3], amount, "R" + std::to_string(i % 12)});
  }
  return rows;
}

std::map<std::string, StatsDefn> Definitions() {
  std::map<std::string, StatsDefn> definitions;
  const std::pair<const char*, StatsDefn::StatsType> scalars[] = {
      {"Count", StatsDefn::Count},  {"Valid", StatsDefn::CountValid}, {"Min", StatsDefn::Min},
      {"Max", StatsDefn::Max},      {"Sum", StatsDefn::Sum},          {"Mean", StatsDefn::Average},
      {"Spread", StatsDefn::StdDev}};
  for (const auto& [name, type] : scalars) {
    definitions.emplace(name, MakeDefn(name, "Amount", kAmount, type));
  }
  definitions.emplace("Channels", MakeDefn("Channels", "Channel", kChannel, StatsDefn::EnumCount));
  definitions["Channels"].CreateEnumSpec(std::vector<std::string>{"Web", "Store"});
  definitions.emplace("Shares", MakeDefn("Shares", "Channel", kChannel, StatsDefn::EnumPercent));
  definitions["Shares"].CreateEnumSpec(std::vector<std::string>{"Phone", "Web"});
  definitions.emplace("Bins", MakeDefn("Bins", "Amount", kAmount, StatsDefn::Histogram1));
  definitions["Bins"].CreateHistogramSpec(Variant(0), Variant(10), 4);
  definitions.emplace("ByYear", MakeDefn("ByYear", "Amount", kAmount, StatsDefn::Sum));
  definitions["ByYear"].CreateGroupingSpec("Years", {MakeField("Year", kYear)});
  definitions.emplace("WebMean", MakeDefn("WebMean", "Amount", kAmount, StatsDefn::Average));
  definitions["WebMean"].CreateSubsetSpec("Web", {{MakeField("Channel", kChannel), "Web"}});
  return definitions;
}

struct Outcome {
  bool processed = false;
  ErrorSnapshot error;
  int nodes = 0;
  int errorQuestions = 0;
  std::string tree;  // after a second, clean run

  auto Tied() const { return std::tie(processed, error, nodes, errorQuestions, tree); }
};

std::string Describe(const Outcome& outcome) {
  return std::string(outcome.processed ? "processed, " : "failed, ") +
         ::testing::PrintToString(outcome.error) + ", " + std::to_string(outcome.nodes) +
         " nodes, " + std::to_string(outcome.errorQuestions) + " GetError calls\n" + outcome.tree;
}

Outcome RunEngine(bool caching, int failColumn, int failIndex, bool describe, int& reads) {
  Stats::ClearError();
  const auto definitions = Definitions();
  testing::TableStats stats(Rows());
  stats.SetRecordCaching(caching);
  testing::TableRecord& record = stats.Record();
  if (failIndex >= 0) record.failRow = &stats.RowAt(static_cast<size_t>(failIndex));
  record.failColumn = failColumn;
  record.describeErrors = describe;
  Outcome outcome;
  EXPECT_TRUE(
      stats.Configure(&definitions, {MakeField("Region", kRegion), MakeField("Year", kYear)}));
  outcome.processed = stats.ProcessRecords();
  outcome.error = HeldError();
  outcome.errorQuestions = record.errorQuestions;
  Stats::ClearError();
  outcome.nodes = stats.GetNodeCount();
  reads = record.reads;
  Stats::ClearError();
  record.failRow = nullptr;
  if (!outcome.processed) {
    EXPECT_TRUE(stats.ProcessRecords());
  }
  outcome.tree = testing::ReadTree(stats, definitions);
  Stats::ClearError();
  return outcome;
}

TEST(RecordCaching, FailedReadsReportAsWithOneReadPerReader) {
  for (int column : {kYear, kRegion, kChannel, kAmount}) {
    // The first record, one after the children are indexed, the last.
    for (int index : {0, 25, 39}) {
      for (bool describe : {false, true}) {
        SCOPED_TRACE("column " + std::to_string(column) + ", record " + std::to_string(index) +
                     (describe ? ", described" : ", undescribed"));
        int reads = 0;
        const Outcome cached = RunEngine(true, column, index, describe, reads);
        const Outcome uncached = RunEngine(false, column, index, describe, reads);
        EXPECT_FALSE(cached.processed);
        EXPECT_TRUE(cached.Tied() == uncached.Tied())
            << "cached: " << Describe(cached) << "\nuncached: " << Describe(uncached);
      }
    }
  }
}

TEST(RecordCaching, ReadsEachColumnOncePerRecord) {
  int reads = 0;
  const Outcome outcome = RunEngine(true, -1, -1, false, reads);
  EXPECT_TRUE(outcome.processed) << Describe(outcome);
  EXPECT_EQ(reads, 40 * 4);
}

}  // namespace
}  // namespace stattree
