// JobRunner: one job, from a loaded Job to the tool's Report, over a
// FrameTable or a CSV file, the way the command-line tool runs it (the same
// loader checks, definition builder, record conversion, node limit and
// report collector, so the same results and messages).
//
// Runs touch the library's process-wide state (its error manager), which
// takes no locks, so runs are serialised here: callers may come from
// several threads with the interpreter lock released. A run never throws
// for bad input; it says what went wrong in its RunOutcome.
#ifndef STATTREE_PYTHON_JOB_RUNNER_H_
#define STATTREE_PYTHON_JOB_RUNNER_H_

#include <string>
#include <vector>

#include "python/src/frame_table.h"
#include "stattree/stattree.h"
#include "tools/stattree/job.h"
#include "tools/stattree/report.h"

namespace stattree {
namespace python {

// The library's error as it stood when a call failed.
struct EngineFailure {
  std::string context;  // what was being done: "configuring", "processing", ...
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  std::string detail;
  std::vector<int> locations;
};

struct RunOutcome {
  enum class Status { Ok, BadInput, EngineFailed, Cancelled };
  Status status = Status::Ok;
  // BadInput: one line each, "<file>: <message>", as the tool prints them.
  std::vector<std::string> errors;
  EngineFailure engine;
  cli::Report report;
  // A partial run's result, for JobRunner::MergePartials.
  std::string partial;
};

class JobRunner {
 public:
  struct Options {
    std::string dataName;
    std::string jobName;
    long long maxNodes = 1000000;
    ProgressManager* progress = nullptr;  // borrowed; may be null
    bool partial = false;                 // leave the records unfinalized
  };
  struct CsvOptions {
    char delimiter = ',';
    std::vector<std::string> textColumns;
    bool skipBadRows = false;
  };

  // `job` as loaded, not yet resolved; it is resolved against the table's
  // names or the file's header.
  static RunOutcome RunFrame(const cli::Job& job, const FrameTable& table, const Options& options);
  static RunOutcome RunCsv(const cli::Job& job, const std::string& path, const Options& options,
                           const CsvOptions& csvOptions);

  // As RunFrame, but the records stay unfinalized: on success `partial`
  // holds them with the frame's column names, its row count and the
  // warnings' findings, as bytes any process can merge.
  static RunOutcome PartialFrame(const cli::Job& job, const FrameTable& table,
                                 const Options& options);
  // The report of one run over the rows of `partials`, given in the order
  // of their rows: merged, then finalized. Partials of another job, of
  // frames with other columns, or damaged bytes are bad input; a merged
  // tree past the node limit too. With `options.partial` the merge stays
  // unfinalized and comes back as one partial, for a merge further up.
  static RunOutcome MergePartials(const cli::Job& job, const std::vector<std::string>& partials,
                                  const Options& options);
};

}  // namespace python
}  // namespace stattree

#endif  // STATTREE_PYTHON_JOB_RUNNER_H_
