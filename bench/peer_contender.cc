#include "peer_contender.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace stattree_bench {
namespace {

// Loading 10^7 rows and printing 10^6 numbers take a peer far longer than
// its timed part; the limit only catches a peer that hangs.
constexpr double kWallLimitPerCapSecond = 10.0;
constexpr double kProbeWallLimit = 60.0;
constexpr std::size_t kReadChunk = 1 << 16;

// Runs `argv` with its standard output captured and its standard error
// passed through. False with `error` set when it cannot start, outlives
// `wallLimitSeconds` (then it is killed) or does not exit with 0.
bool RunChild(const std::vector<std::string>& argv, double wallLimitSeconds, std::string& output,
              std::string& error) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    error = std::string("pipe: ") + std::strerror(errno);
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t pid = 0;
  const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[1]);
  if (spawned != 0) {
    close(fds[0]);
    error = "cannot run " + argv[0] + ": " + std::strerror(spawned);
    return false;
  }

  const WallClock clock;
  bool timedOut = false;
  char chunk[kReadChunk];
  for (;;) {
    const double left = wallLimitSeconds - clock.Seconds();
    if (left <= 0) {
      timedOut = true;
      break;
    }
    pollfd reading{fds[0], POLLIN, 0};
    const int ready = poll(&reading, 1, static_cast<int>(left * 1000) + 1);
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) continue;
    const ssize_t got = read(fds[0], chunk, sizeof(chunk));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    output.append(chunk, static_cast<std::size_t>(got));
  }
  close(fds[0]);
  if (timedOut) kill(pid, SIGKILL);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (timedOut) {
    error = argv[0] + " " + argv[1] + " killed after " +
            std::to_string(static_cast<int>(wallLimitSeconds)) + " s (wall clock)";
    return false;
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    error = argv[0] + " " + argv[1] + " failed (" +
            (WIFEXITED(status) ? "exit code " + std::to_string(WEXITSTATUS(status))
                               : "signal " + std::to_string(WTERMSIG(status))) +
            ")";
    return false;
  }
  return true;
}

std::vector<std::string> SplitTabs(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = line.find('\t', start);
    fields.push_back(line.substr(start, tab - start));
    if (tab == std::string::npos) return fields;
    start = tab + 1;
  }
}

bool ParseNumber(const std::string& text, double& number) {
  char* end = nullptr;
  number = std::strtod(text.c_str(), &end);
  return !text.empty() && *end == '\0';
}

}  // namespace

PeerContender::PeerContender(std::string name, std::string interpreter, std::string script)
    : name(std::move(name)), interpreter(std::move(interpreter)), script(std::move(script)) {}

bool PeerContender::Probe(std::string& version, std::string& error) const {
  std::string output;
  if (!RunChild({interpreter, script, "version"}, kProbeWallLimit, output, error)) return false;
  const std::vector<std::string> fields = SplitTabs(output.substr(0, output.find('\n')));
  if (fields.size() != 2 || fields[0] != "version") {
    error = name + ": unexpected answer to version: " + output.substr(0, 200);
    return false;
  }
  version = fields[1];
  return true;
}

Outcome PeerContender::Run(const WorkloadSpec& spec, const std::string& csvPath, double capSeconds,
                           int rounds, double repeatBelowSeconds, ResultSet& results) const {
  Outcome outcome;
  std::string output;
  const std::vector<std::string> argv = {interpreter,
                                         script,
                                         "run",
                                         spec.kind == WorkloadKind::Everyday ? "W1" : "W2",
                                         csvPath,
                                         std::to_string(capSeconds),
                                         std::to_string(rounds),
                                         std::to_string(repeatBelowSeconds)};
  if (!RunChild(argv, kWallLimitPerCapSecond * capSeconds, output, outcome.message)) {
    outcome.message = name + ": " + outcome.message;
    return outcome;
  }

  bool timed = false;
  std::size_t start = 0;
  while (start < output.size()) {
    std::size_t end = output.find('\n', start);
    if (end == std::string::npos) end = output.size();
    const std::vector<std::string> fields = SplitTabs(output.substr(start, end - start));
    start = end + 1;
    double number = 0;
    if (fields.size() == 4 && fields[0] == "result" && ParseNumber(fields[3], number)) {
      results.Set(fields[1], fields[2], number);
    } else if (fields.size() == 2 && (fields[0] == "seconds" || fields[0] == "over-cap") &&
               ParseNumber(fields[1], number)) {
      outcome.seconds = number;
      outcome.status = fields[0] == "seconds" ? Outcome::Done : Outcome::OverCap;
      timed = true;
    } else if (!(fields.size() == 1 && fields[0].empty())) {
      outcome.status = Outcome::Failed;
      outcome.message = name + ": unexpected line: " + fields[0].substr(0, 200);
      timed = false;
      break;
    }
  }
  if (!timed && outcome.message.empty()) outcome.message = name + ": no time reported";
  if (outcome.status != Outcome::Done) results.Clear();
  return outcome;
}

}  // namespace stattree_bench
