// App: the stattree command line, from arguments to exit code.
//
//   stattree run DATA.csv --job JOB.json [--format text|json|csv|html]
//            [--output FILE] [--delimiter C] [--text COLUMNS] [--skip-bad-rows]
//            [--quiet] [--max-nodes N] [--threads N]
//   stattree check --job JOB.json DATA.csv [--delimiter C] [--text COLUMNS]
//            [--sample N]
//   stattree --help | --version
//
// Exit codes: 0 success; 1 bad data or job (the message names the file and
// the line or JSON pointer), or a results tree that would pass --max-nodes;
// 2 usage error; 130 cancelled (no report is written). Reports go to
// standard output or --output, written only once the whole input has been
// processed; messages and warnings go to standard error (warnings also
// into the JSON and HTML reports; --quiet silences only the former).
#ifndef STATTREE_TOOLS_APP_H_
#define STATTREE_TOOLS_APP_H_

#include <csignal>
#include <ostream>

namespace stattree {
namespace cli {

class App {
 public:
  static constexpr int kExitOk = 0;
  static constexpr int kExitBadInput = 1;
  static constexpr int kExitUsage = 2;
  static constexpr int kExitCancelled = 130;
  // Some 1-4 GB of tree: past it a job is far more likely a tree field with
  // an identifier's values than a report anyone reads.
  static constexpr long long kDefaultMaxNodes = 1000000;
  // Each worker is a process with its own copy of the tree; past this many
  // the merging parent, not the reading, sets the pace.
  static constexpr int kMaxThreads = 64;

  // `cancel` is raised by the SIGINT handler; borrowed.
  App(std::ostream& out, std::ostream& err, const volatile std::sig_atomic_t* cancel)
      : out_(out), err_(err), cancel_(cancel) {}

  int Main(int argc, const char* const* argv);

 private:
  std::ostream& out_;
  std::ostream& err_;
  const volatile std::sig_atomic_t* cancel_;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_APP_H_
