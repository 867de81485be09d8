// PeerContender: a program that users pick instead of stattree (pandas,
// DuckDB), run as a child process on the benchmark's rows written to a CSV
// file.
//
// The peer is a script (bench/peers/) run by its interpreter. It loads the
// CSV untimed, computes the workload's numbers, times only that with its
// own process's processor time, and prints one line per number under the
// item names the other contenders use, plus its seconds:
//
//   result<TAB>node<TAB>item<TAB>value     (value "nan": no value)
//   seconds<TAB>S                          (or over-cap<TAB>S)
//
// A peer that is missing or fails yields a Failed outcome with its reason,
// never an exception; the child is killed when it outlives a wall-clock
// limit. Not thread-safe: one Run at a time.
#ifndef STATTREE_BENCH_PEER_CONTENDER_H_
#define STATTREE_BENCH_PEER_CONTENDER_H_

#include <string>

#include "measure.h"
#include "result_set.h"
#include "workload.h"

namespace stattree_bench {

class PeerContender {
 public:
  // `name` heads the peer's column; `interpreter` runs `script`.
  PeerContender(std::string name, std::string interpreter, std::string script);

  const std::string& GetName() const { return name; }

  // Asks the peer for its library's version ("pandas 1.5.3"); false with
  // `error` set when the interpreter, the script or the library is missing.
  bool Probe(std::string& version, std::string& error) const;

  // Runs the workload on the rows in `csvPath`. The peer computes up to
  // `rounds` times while it has spent less than `repeatBelowSeconds`, and
  // reports its fastest time; its numbers (from the first round) go to
  // `results` only when it finished within `capSeconds`.
  Outcome Run(const WorkloadSpec& spec, const std::string& csvPath, double capSeconds, int rounds,
              double repeatBelowSeconds, ResultSet& results) const;

 private:
  std::string name;
  std::string interpreter;
  std::string script;
};

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_PEER_CONTENDER_H_
