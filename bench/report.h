// The benchmark's output: one row per workload and size, printed as a
// Markdown table so it can go into bench/README.md as it is.
#ifndef STATTREE_BENCH_REPORT_H_
#define STATTREE_BENCH_REPORT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "engine_workers.h"
#include "measure.h"

namespace stattree_bench {

struct ReportRow {
  std::string workload;
  std::size_t records = 0;
  Outcome engine;
  Outcome sqlite;
  Outcome floor;
  std::vector<Outcome> peers;  // in the order of the report's peer names
  std::int64_t treeBytes = 0;
  // "yes"; "yes*" when a capped contender was checked on a prefix only;
  // "unchecked"; "NO".
  std::string agreement;
};

class Report {
 public:
  // `peerNames` head the peers' columns; none, no peer columns.
  Report(double capSeconds, std::vector<std::string> peerNames)
      : capSeconds(capSeconds), peerNames(std::move(peerNames)) {}
  void Add(ReportRow row) { rows.push_back(std::move(row)); }
  const std::vector<ReportRow>& GetRows() const { return rows; }
  void Print(std::ostream& out) const;

 private:
  std::string Throughput(const ReportRow& row, const Outcome& outcome) const;
  // Throughput of `top` over that of `bottom`: above 1, `top` is faster.
  std::string Ratio(const Outcome& top, const Outcome& bottom) const;

  double capSeconds;
  std::vector<std::string> peerNames;
  std::vector<ReportRow> rows;
};

// One run of the engine on several workers (--workers).
struct WorkersRow {
  std::string workload;
  std::size_t records = 0;
  int workers = 1;
  WorkersRun run;
  std::optional<WorkersRun> single;  // the same rows on one worker, if run
  std::string agreement;             // "yes", "NO" or "unchecked"
};

// Wall-clock and processor time per worker count; speed-up and overhead
// against one worker.
void PrintWorkersTable(std::ostream& out, const std::vector<WorkersRow>& rows);

// `cells[0]` is the header; the first and last columns are left-aligned.
void PrintMarkdownTable(std::ostream& out, const std::vector<std::vector<std::string>>& cells);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_REPORT_H_
