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
using testing::MakeDefn;
using testing::MakeField;
using testing::Row;

constexpr int kYear = 0;
constexpr int kRegion = 1;
constexpr int kChannel = 2;
constexpr int kAmount = 3;

// Fails every read of one column on one record.
class FaultyRecord : public StatsRecord {
 public:
  bool GetValue(Variant& value, int colNum) const override {
    ++reads;
    if (colNum == failColumn && index == failIndex) return false;
    if (colNum < 0 || colNum >= static_cast<int>(row->size())) return false;
    value = (*row)[static_cast<size_t>(colNum)];
    return true;
  }
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override {
    ++errorQuestions;
    if (!describe) return false;
    code = 555;
    second = index;
    message = "unreadable cell";
    flag = false;
    return true;
  }

  const Row* row = nullptr;
  int index = -1;
  int failColumn = -1;
  int failIndex = -1;
  bool describe = false;
  mutable int reads = 0;
  mutable int errorQuestions = 0;
};

class FaultyStats : public Stats {
 public:
  explicit FaultyStats(const std::vector<Row>& rows) : Stats(&record), rows(rows) {}
  bool MoveToFirstRecord() override {
    record.index = -1;
    return MoveToNextRecord();
  }
  bool MoveToNextRecord() override {
    if (++record.index >= static_cast<int>(rows.size())) return false;
    record.row = &rows[static_cast<size_t>(record.index)];
    return true;
  }
  int GetRecordCount() override { return static_cast<int>(rows.size()); }

  FaultyRecord record;

 private:
  const std::vector<Row>& rows;
};

// Enough regions and years that children and combinations are found by
// value as well as by walking.
std::vector<Row> Rows() {
  std::vector<Row> rows;
  const char* channels[] = {"Web", "Store", "Phone"};
  for (int i = 0; i < 40; ++i) {
    Variant amount = i % 7 == 0 ? Variant() : Variant(i * 1.5 - 4);
    rows.push_back({2000 + i % 11, "R" + std::to_string(i % 12), channels[i % 3], amount});
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

  auto Tied() const {
    return std::tie(processed, error.set, error.code, error.second, error.message, error.flag,
                    error.detail, error.locations, nodes, errorQuestions, tree);
  }
};

std::string Describe(const Outcome& outcome) {
  std::string text = outcome.processed ? "processed" : "failed";
  text += " code " + std::to_string(outcome.error.code) + "/" +
          std::to_string(outcome.error.second) + " '" + outcome.error.message + "' at";
  for (int location : outcome.error.locations) text += " " + std::to_string(location);
  return text + ", " + std::to_string(outcome.nodes) + " nodes, " +
         std::to_string(outcome.errorQuestions) + " GetError calls\n" + outcome.tree;
}

Outcome RunEngine(bool caching, int failColumn, int failIndex, bool describe, int& reads) {
  Stats::ClearError();
  const std::vector<Row> rows = Rows();
  const auto definitions = Definitions();
  FaultyStats stats(rows);
  stats.SetRecordCaching(caching);
  stats.record.failColumn = failColumn;
  stats.record.failIndex = failIndex;
  stats.record.describe = describe;
  Outcome outcome;
  EXPECT_TRUE(
      stats.Configure(&definitions, {MakeField("Region", kRegion), MakeField("Year", kYear)}));
  outcome.processed = stats.ProcessRecords();
  outcome.error = ErrorSnapshot::Take();
  outcome.errorQuestions = stats.record.errorQuestions;
  Stats::ClearError();
  outcome.nodes = stats.GetNodeCount();
  reads = stats.record.reads;
  Stats::ClearError();
  stats.record.failColumn = -1;
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
