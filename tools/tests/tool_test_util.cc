#include "tools/tests/tool_test_util.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

extern char** environ;

namespace stattree {
namespace cli {
namespace testing {
namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Spawns the tool with stdin from `stdinFd` and stdout/stderr to files in
// `dir`; returns the pid or -1.
pid_t Spawn(const std::vector<std::string>& args, int stdinFd, const ScratchDir& dir,
            int closeInChild) {
  std::vector<std::string> argv = {STATTREE_TOOL_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> raw;
  for (std::string& a : argv) raw.push_back(&a[0]);
  raw.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, stdinFd, STDIN_FILENO);
  if (closeInChild >= 0) posix_spawn_file_actions_addclose(&actions, closeInChild);
  const std::string out = dir.Path(".stdout");
  const std::string err = dir.Path(".stderr");
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, raw[0], &actions, nullptr, raw.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return rc == 0 ? pid : -1;
}

ToolResult Wait(pid_t pid, const ScratchDir& dir) {
  ToolResult result;
  if (pid < 0) return result;
  int status = 0;
  struct rusage usage {};
  while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.maxRssKb = usage.ru_maxrss;
  result.out = ReadFile(dir.Path(".stdout"));
  result.err = ReadFile(dir.Path(".stderr"));
  return result;
}

}  // namespace

ScratchDir::ScratchDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/stattree-cli-XXXXXX";
  if (mkdtemp(&pattern[0]) != nullptr) path_ = pattern;
}

ScratchDir::~ScratchDir() {
  if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
}

std::string ScratchDir::Write(const std::string& name, const std::string& content) const {
  const std::string path = Path(name);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

ToolResult RunTool(const std::vector<std::string>& args, const std::string& stdinPath) {
  ScratchDir dir;
  const int in = open(stdinPath.empty() ? "/dev/null" : stdinPath.c_str(), O_RDONLY);
  const pid_t pid = Spawn(args, in, dir, -1);
  close(in);
  return Wait(pid, dir);
}

ToolResult RunToolFed(const std::vector<std::string>& args,
                      const std::function<void(const std::function<bool(const std::string&)>& write,
                                               int pid, int pipeFd)>& feed) {
  ScratchDir dir;
  int fds[2];
  if (pipe(fds) != 0) return ToolResult{};
  // A child that stops reading must not kill the test with SIGPIPE.
  signal(SIGPIPE, SIG_IGN);
  const pid_t pid = Spawn(args, fds[0], dir, fds[1]);
  close(fds[0]);
  if (pid >= 0) {
    const int writeFd = fds[1];
    feed(
        [writeFd](const std::string& data) {
          std::size_t done = 0;
          while (done < data.size()) {
            const ssize_t n = write(writeFd, data.data() + done, data.size() - done);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
          }
          return true;
        },
        pid, writeFd);
  }
  close(fds[1]);
  return Wait(pid, dir);
}

}  // namespace testing
}  // namespace cli
}  // namespace stattree
