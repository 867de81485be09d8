// ResultState: the running state of an accumulator, merged from another
// accumulator's or carried through the binary form of partial results.
//
// Merging accumulator B (fed a later range of records) into A gives what A
// would hold had it been fed B's records after its own:
//   - exact: Count, CountValid, the enumeration and histogram counters (a
//     bin stops at 16,777,216 as it does record by record), the N/A count,
//     the percentage base, and Min and Max (B's value wins only when it is
//     strictly below or above A's, so on ties the earlier value stays);
//   - within rounding: the sums of Sum, Average and StdDev are added in
//     another order. Integer sums stay exact until they overflow to reals.
// Only unfinalized accumulators are meant to be merged or saved; Average,
// StdDev and the percentages are computed by the Finalize that follows.
//
// Only the library's own accumulator classes have a state here; any other
// class is refused. Thread-safety: none.
#ifndef STATTREE_STATISTICS_RESULT_STATE_H_
#define STATTREE_STATISTICS_RESULT_STATE_H_

#include "stattree/boundary/binary_reader.h"
#include "stattree/boundary/binary_writer.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {

class ResultState {
 public:
  // Whether `later` can be merged into `into`: the same class, and for the
  // distribution kinds the same number of counters.
  static bool SameKind(const StatsResult& into, const StatsResult& later);
  // Adds `later`'s state to `into`'s; false (nothing changed) when they are
  // not SameKind.
  static bool Merge(StatsResult& into, const StatsResult& later);

  // The state, preceded by the class's tag.
  static bool Save(const StatsResult& result, BinaryWriter& out);
  // Replaces `into`'s state with one that Save wrote for an accumulator of
  // the same kind. False, `into` unchanged, when the tag or the counter
  // count differ or a value is out of range.
  static bool Load(StatsResult& into, BinaryReader& in);
};

}  // namespace stattree

#endif  // STATTREE_STATISTICS_RESULT_STATE_H_
