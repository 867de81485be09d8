// The engine on several processor cores: the rows are cut into contiguous
// ranges, one engine per range, each in a process of its own, and their
// unfinalized results are merged in range order into the first range's
// engine, which finalizes them. Processes rather than threads because the
// library's error manager is one unsynchronised object per process.
//
// The children are forked from the benchmark, so they read the very table
// the parent generated (shared copy-on-write, never written) and hand
// their results back as SaveResults' bytes through a pipe.
#ifndef STATTREE_BENCH_ENGINE_WORKERS_H_
#define STATTREE_BENCH_ENGINE_WORKERS_H_

#include <cstddef>

#include "measure.h"
#include "result_set.h"
#include "table.h"
#include "workload.h"

namespace stattree_bench {

struct WorkersRun {
  // `seconds` is wall-clock time, from the first fork to the end of
  // finalization (with one worker: from Configure on).
  Outcome outcome;
  // Processor time (user and system) of every process, the parent's
  // included.
  double cpuSeconds = 0.0;
  // Processor time the children spent in SaveResults, all together, and
  // the parent in MergeResults.
  double saveSeconds = 0.0;
  double mergeSeconds = 0.0;
  // Size of the children's saved results, all together.
  std::size_t savedBytes = 0;
};

// `workers` engines over `table`, each given up at `capSeconds` of its own
// processor time. The merged numbers go to `results` (untimed) only when
// every worker finished.
WorkersRun RunWorkers(const WorkloadSpec& spec, const Table& table, int workers, double capSeconds,
                      ResultSet& results);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_ENGINE_WORKERS_H_
