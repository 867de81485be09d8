// Runs the built stattree tool as a child process for end-to-end tests.
#ifndef STATTREE_TOOLS_TESTS_TOOL_TEST_UTIL_H_
#define STATTREE_TOOLS_TESTS_TOOL_TEST_UTIL_H_

#include <functional>
#include <string>
#include <vector>

namespace stattree {
namespace cli {
namespace testing {

struct ToolResult {
  int exitCode = -1;  // -1 when the child did not exit normally
  int signal = 0;     // the terminating signal, if any
  std::string out;
  std::string err;
  long maxRssKb = 0;
};

// A fresh directory for one test's files, removed with the object.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  // Writes `content` to `name` in the directory; returns the full path.
  std::string Write(const std::string& name, const std::string& content) const;
  std::string Path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Runs the tool with `args`; standard input comes from `stdinPath` (or
// /dev/null when empty).
ToolResult RunTool(const std::vector<std::string>& args, const std::string& stdinPath = "");

// Runs the tool with a pipe as standard input: `feed` is called with a
// write function and the child's pid, and the pipe is closed after it
// returns.
ToolResult RunToolFed(const std::vector<std::string>& args,
                      const std::function<void(const std::function<bool(const std::string&)>& write,
                                               int pid, int pipeFd)>& feed);

}  // namespace testing
}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_TESTS_TOOL_TEST_UTIL_H_
