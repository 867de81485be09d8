// The floor: the same numbers computed by a hand-written single pass in
// plain C++, with one hash map per tree level keyed by the level values
// (the rows' own value codes) and fixed arrays for the enumeration,
// histogram and grouping counters. It knows the workload's shape and does
// nothing the numbers don't need, so it bounds from below what any engine
// reading these rows can cost.
#ifndef STATTREE_BENCH_FLOOR_CONTENDER_H_
#define STATTREE_BENCH_FLOOR_CONTENDER_H_

#include "measure.h"
#include "result_set.h"
#include "table.h"
#include "workload.h"

namespace stattree_bench {

// Times one pass over `table`; gives up once `capSeconds` have passed. The
// numbers are copied into `results` (untimed) only when the pass finished.
Outcome RunFloor(const WorkloadSpec& spec, const Table& table, double capSeconds,
                 ResultSet& results);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_FLOOR_CONTENDER_H_
