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

std::string ReadFile(const std::string& path);

// The running tool as its feeder sees it: standard input is a pipe.
struct Child {
  int pid;
  int stdinFd;
  bool Write(const std::string& data) const;  // false once the tool stopped reading
};

// Runs the tool with `args`; `feed`, if any, writes standard input, which is
// closed after it returns.
ToolResult RunTool(const std::vector<std::string>& args,
                   const std::function<void(const Child&)>& feed = nullptr);

}  // namespace testing
}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_TESTS_TOOL_TEST_UTIL_H_
