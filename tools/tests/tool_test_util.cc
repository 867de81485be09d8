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

namespace stattree {
namespace cli {
namespace testing {
std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

ScratchDir::ScratchDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/stattree-cli-XXXXXX";
  if (mkdtemp(&pattern[0]) != nullptr) path_ = pattern;
}

ScratchDir::~ScratchDir() {
  if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
}

std::string ScratchDir::Write(const std::string& name, const std::string& content) const {
  std::string path = Path(name);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

bool Child::Write(const std::string& data) const {
  std::size_t done = 0;
  while (done < data.size()) {
    const ssize_t n = write(stdinFd, data.data() + done, data.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

ToolResult RunTool(const std::vector<std::string>& args,
                   const std::function<void(const Child&)>& feed) {
  ScratchDir dir;
  int fds[2];
  if (pipe(fds) != 0) return ToolResult{};
  // A child that stops reading must not kill the test with SIGPIPE.
  signal(SIGPIPE, SIG_IGN);
  std::vector<std::string> argv = {STATTREE_TOOL_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> raw;
  raw.reserve(argv.size() + 1);
  for (std::string& a : argv) raw.push_back(&a[0]);
  raw.push_back(nullptr);
  // Output goes to files, so that a chatty child never blocks on a full pipe.
  const std::string outPath = dir.Path("out");
  const std::string errPath = dir.Path("err");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[0], STDIN_FILENO);
  posix_spawn_file_actions_addclose(&actions, fds[1]);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = -1;
  const bool spawned = posix_spawn(&pid, raw[0], &actions, nullptr, raw.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  close(fds[0]);
  if (spawned && feed) feed(Child{pid, fds[1]});
  close(fds[1]);
  ToolResult result;
  if (!spawned) return result;
  int status = 0;
  struct rusage usage {};
  while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  result.maxRssKb = usage.ru_maxrss;
  result.out = ReadFile(outPath);
  result.err = ReadFile(errPath);
  return result;
}

}  // namespace testing
}  // namespace cli
}  // namespace stattree
