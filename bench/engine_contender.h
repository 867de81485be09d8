// The stattree contender: a host of the library through its public
// interface only. TableStats is the Stats subclass whose record source is
// a range of a Table's rows; EngineJob holds a workload's definitions and
// reads every result back through the cursor; RunEngine configures an
// engine with them, times ProcessRecords and measures the tree's resident
// memory.
#ifndef STATTREE_BENCH_ENGINE_CONTENDER_H_
#define STATTREE_BENCH_ENGINE_CONTENDER_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "measure.h"
#include "result_set.h"
#include "stattree/engine/stats.h"
#include "table.h"
#include "workload.h"

namespace stattree_bench {

class TableStats : public stattree::Stats {
 public:
  // `record` must read `table`; both outlive the engine.
  TableStats(const Table& table, TableRecord* record)
      : TableStats(record, 0, table.GetRowCount()) {}
  // Sees only the rows [first, end) of the record's table.
  TableStats(TableRecord* record, std::size_t first, std::size_t end)
      : stattree::Stats(record), record(*record), first(first), end(end) {}

  bool MoveToFirstRecord() override {
    row = first;
    return ShowRow();
  }
  bool MoveToNextRecord() override {
    ++row;
    return ShowRow();
  }
  int GetRecordCount() override { return static_cast<int>(end - first); }

 private:
  bool ShowRow() {
    if (row >= end) return false;
    record.SetRow(row);
    return true;
  }

  TableRecord& record;
  std::size_t first;
  std::size_t end;
  std::size_t row = 0;
};

// Cancels the record loop once `capSeconds` of this thread's processor
// time have passed.
class CapProgress : public stattree::ProgressManager {
 public:
  explicit CapProgress(double capSeconds) : deadline(capSeconds) {}
  bool IsCanceled() override;
  bool WasCanceled() const { return canceled; }

 private:
  Deadline deadline;
  long long calls = 0;
  bool canceled = false;
};

// The error set in the library, with its locations, as one line.
std::string EngineErrorText();

// A workload as the engine sees it: its definitions and tree fields, and
// which results to read back and how. Every engine configured from one
// job has equal definitions, so their partial results merge.
class EngineJob {
 public:
  // False, with `error` filled, when a definition could not be built.
  bool Build(const WorkloadSpec& spec, std::string& error);
  bool Configure(stattree::Stats& engine);
  // Every result, from the root down; `engine` must be finalized.
  bool ReadResults(stattree::Stats& engine, ResultSet& results) const;

 private:
  enum class ReadAs { Scalar, Grouped, Enumeration, Histogram };
  struct Statistic {
    const char* name;
    ReadAs readAs;
  };

  bool BuildEveryday();
  bool BuildHighCardinality();
  bool ReadStatistic(const stattree::Stats& engine, const std::string& node,
                     const Statistic& statistic, ResultSet& results) const;
  bool ReadNode(stattree::Stats& engine, std::vector<std::string>& path, ResultSet& results) const;

  std::map<std::string, stattree::StatsDefn> definitions;
  std::vector<stattree::Field> treeFields;
  std::vector<Statistic> statistics;
};

struct EngineRun {
  Outcome outcome;
  // Peak resident growth while the tree was built (also when cut at the
  // cap: then the partial tree's).
  std::int64_t treeBytes = 0;
};

// The numbers go to `results` (untimed) only when ProcessRecords finished.
EngineRun RunEngine(const WorkloadSpec& spec, const Table& table, double capSeconds,
                    ResultSet& results);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_ENGINE_CONTENDER_H_
