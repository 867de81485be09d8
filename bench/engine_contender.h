// The stattree contender: a host of the library through its public
// interface only. TableStats is the Stats subclass whose record source is
// a Table; RunEngine configures it with the workload's definitions, times
// ProcessRecords, measures the tree's resident memory and reads every
// result back through the cursor.
#ifndef STATTREE_BENCH_ENGINE_CONTENDER_H_
#define STATTREE_BENCH_ENGINE_CONTENDER_H_

#include <cstddef>
#include <cstdint>

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
      : stattree::Stats(record), table(table), record(*record) {}

  bool MoveToFirstRecord() override {
    row = 0;
    return ShowRow();
  }
  bool MoveToNextRecord() override {
    ++row;
    return ShowRow();
  }
  int GetRecordCount() override { return static_cast<int>(table.GetRowCount()); }

 private:
  bool ShowRow() {
    if (row >= table.GetRowCount()) return false;
    record.SetRow(row);
    return true;
  }

  const Table& table;
  TableRecord& record;
  std::size_t row = 0;
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
