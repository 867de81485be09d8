#include "tools/stattree/job_text.h"

#include "tools/stattree/join.h"

namespace stattree {
namespace cli {
namespace {

// Enough names to find a typo in, few enough to read.
constexpr std::size_t kMaxListedNames = 40;

}  // namespace

std::string JobText::Quote(const std::string& text) { return "\"" + text + "\""; }

std::string JobText::QuotedList(const std::vector<std::string>& names) {
  std::vector<std::string> quoted;
  for (std::size_t i = 0; i < names.size() && i < kMaxListedNames; ++i) {
    quoted.push_back(Quote(names[i]));
  }
  std::string text = Join(quoted, ", ");
  if (names.size() > kMaxListedNames) {
    text += ", ... (" + std::to_string(names.size() - kMaxListedNames) + " more)";
  }
  return text;
}

std::string JobText::PointerToken(const std::string& token) {
  std::string escaped;
  for (char c : token) {
    if (c == '~') {
      escaped += "~0";
    } else if (c == '/') {
      escaped += "~1";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string JobText::Where(const std::string& path) { return path.empty() ? "(top level)" : path; }

}  // namespace cli
}  // namespace stattree
