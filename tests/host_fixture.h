// A host over an in-memory table, shared by the engine-level tests: rows of
// Variants, a StatsRecord reading the current row, a Stats subclass walking
// the rows, and a ProgressManager that counts calls and can cancel. Each
// callback first calls `onCall` when set, so that a test can call back into
// the engine from inside a run.
#ifndef STATTREE_TESTS_HOST_FIXTURE_H_
#define STATTREE_TESTS_HOST_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "stattree/stattree.h"
#include "tests/test_util.h"

namespace stattree {
namespace testing {

using Row = std::vector<Variant>;
using Callback = std::function<void()>;

class TableRecord : public StatsRecord {
 public:
  bool GetValue(Variant& value, int colNum) const override {
    if (onCall) onCall();
    ++reads;
    if (row == nullptr || colNum < 0 || colNum >= static_cast<int>(row->size())) return false;
    if (row == failRow && colNum == failColumn) return false;
    value = (*row)[static_cast<size_t>(colNum)];
    return true;
  }
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override {
    if (onCall) onCall();
    ++errorQuestions;
    if (!describeErrors) return false;
    code = 777;
    second = 1;
    message = "column out of range";
    flag = true;
    return true;
  }

  const Row* row = nullptr;
  bool describeErrors = false;
  // Column `failColumn` of the row `failRow` can't be read either.
  const Row* failRow = nullptr;
  int failColumn = -1;
  mutable int reads = 0;
  mutable int errorQuestions = 0;
  Callback onCall;
};

// CTest runs every engine-level test twice, the second time with
// STATTREE_TEST_RECORD_CACHING=off: the results, codes and locations must
// not depend on the engine's record caching.
inline bool RecordCachingForTests() {
  const char* setting = std::getenv("STATTREE_TEST_RECORD_CACHING");
  return setting == nullptr || std::strcmp(setting, "off") != 0;
}

class TableStats : public Stats {
 public:
  explicit TableStats(std::vector<Row> rows) : Stats(&record_), rows_(std::move(rows)) {
    SetRecordCaching(RecordCachingForTests());
  }

  bool MoveToFirstRecord() override {
    if (onCall) onCall();
    next_ = 0;
    return MoveToNextRecord();
  }
  bool MoveToNextRecord() override {
    if (onCall) onCall();
    if (failAt_ >= 0 && next_ == static_cast<size_t>(failAt_)) {
      Stats::SetError(4242, 1, "source failed", true);
      return false;
    }
    if (next_ >= rows_.size()) return false;
    record_.row = &rows_[next_++];
    return true;
  }
  int GetRecordCount() override {
    if (onCall) onCall();
    return static_cast<int>(rows_.size());
  }

  // The source sets an error and stops before row `index`.
  void FailAt(int index) { failAt_ = index; }
  TableRecord& Record() { return record_; }
  const Row& RowAt(size_t index) const { return rows_[index]; }

  Callback onCall;

 private:
  TableRecord record_;
  std::vector<Row> rows_;
  size_t next_ = 0;
  int failAt_ = -1;
};

class CountingProgress : public ProgressManager {
 public:
  void StartNewTask(int total) override {
    if (onCall) onCall();
    ++starts;
    lastTotal = total;
  }
  bool IsCanceled() override {
    if (onCall) onCall();
    return cancelAfter >= 0 && ++checks >= cancelAfter;
  }
  void IncrementProgress(int step) override {
    if (onCall) onCall();
    increments += step;
  }
  void TaskDone() override {
    if (onCall) onCall();
    ++done;
  }

  int cancelAfter = -1;  // answer true at the check after this many records
  int checks = 0;
  int starts = 0;
  int lastTotal = -1;
  int increments = 0;
  int done = 0;
  Callback onCall;
};

// The sales table every engine-level test reads: its columns, a few rows,
// and the tree of years and regions over them.
constexpr int kYear = 0;
constexpr int kChannel = 1;
constexpr int kAmount = 2;
constexpr int kRegion = 3;

inline std::vector<Row> SalesRows() {
  return {{2004, "Web", 10, "North"},
          {2004, "Store", 4, "South"},
          {2005, "Web", 7, "North"},
          {2005, "Phone", 1, ""},
          {2006, "Web", 3, "South"}};
}

inline std::vector<Field> YearsAndRegions() {
  return {MakeField("Year", kYear), MakeField("Region", kRegion)};
}

inline StatsDefn SalesByRegion(StatsDefn::StatsType type) {
  StatsDefn sales = MakeDefn("Sales", "Amount", kAmount, type);
  EXPECT_TRUE(sales.CreateGroupingSpec("ByRegion", {MakeField("Region", kRegion)}));
  return sales;
}

inline StatsDefn ChannelShares() {
  StatsDefn channels = MakeDefn("Channels", "Channel", kChannel, StatsDefn::EnumPercent);
  EXPECT_TRUE(channels.CreateEnumSpec(std::vector<std::string>{"Web", "Store"}));
  return channels;
}

inline StatsDefn SouthAverage(const std::string& name) {
  StatsDefn south = MakeDefn(name, "Amount", kAmount, StatsDefn::Average);
  EXPECT_TRUE(south.CreateSubsetSpec("South", {{MakeField("Region", kRegion), "South"}}));
  return south;
}

inline StatsDefn AmountBins() {
  StatsDefn bins = MakeDefn("Bins", "Amount", kAmount, StatsDefn::Histogram1);
  EXPECT_TRUE(bins.CreateHistogramSpec(Variant(0), Variant(5), 2));
  return bins;
}

// A grouping, an enumeration (grouped too), a subset and a histogram.
inline std::map<std::string, StatsDefn> SalesDefinitions() {
  StatsDefn channels = ChannelShares();
  EXPECT_TRUE(channels.CreateGroupingSpec("ByRegion", {MakeField("Region", kRegion)}));
  return {{"Sales", SalesByRegion(StatsDefn::StdDev)},
          {"Channels", channels},
          {"South", SouthAverage("South")},
          {"Bins", AmountBins()}};
}

// Everything the cursor reaches, as text: the node names, and per node and
// statistic the combinations, results, totals and enumeration counts. Two
// engines with equal texts hold equal results. Leaves the cursor on the
// root; refusals are written as such and cleared.
inline void ReadNode(Stats& stats, const std::map<std::string, StatsDefn>& definitions, int depth,
                     std::string& out) {
  std::string text;
  stats.GetNodeName(text);
  out.append(static_cast<size_t>(depth) * 2, ' ').append(text).append("\n");
  for (const auto& entry : definitions) {
    out.append(static_cast<size_t>(depth) * 2 + 1, ' ').append(entry.first);
    if (!stats.MoveToStatsResult(entry.first)) {
      Stats::ClearError();
      out.append(" -\n");
      continue;
    }
    Variant value;
    const int combos = stats.GetGroupingValueCount();
    for (int c = 0; c < combos; ++c) {
      std::vector<std::string> texts;
      stats.GetGroupingValueCombo(texts, c);
      stats.GetResult(value, c);
      for (const auto& valueText : texts) out.append(" ").append(valueText);
      out.append("=").append(value.ToString()).append(";");
    }
    stats.GetGroupingTotal(value);
    out.append(" total=").append(value.ToString());
    int bins = 0;
    if (stats.IsEnum() && stats.GetEnumValueCount(bins, 0)) {
      for (int i = 0; i < bins; ++i) {
        stats.GetEnumValue(text, i, 0, true);
        stats.GetEnumGroupingTotal(value, i);
        out.append(" ").append(text).append(":").append(value.ToString());
      }
    }
    out.append("\n");
    Stats::ClearError();
  }
  const int children = stats.GetChildCount();
  for (int i = 0; i < children; ++i) {
    if (!stats.MoveToChild(i)) continue;
    ReadNode(stats, definitions, depth + 1, out);
    stats.MoveToParent();
  }
}

inline std::string ReadTree(Stats& stats, const std::map<std::string, StatsDefn>& definitions) {
  if (!stats.MoveToRootNode()) {
    Stats::ClearError();
    return "no tree";
  }
  std::string out;
  ReadNode(stats, definitions, 0, out);
  return out;
}

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_TESTS_HOST_FIXTURE_H_
