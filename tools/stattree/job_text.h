// JobText: how messages about a job quote what they cite: names, lists of
// names and JSON pointers.
//
// Stateless; safe to call from any thread.
#ifndef STATTREE_TOOLS_JOB_TEXT_H_
#define STATTREE_TOOLS_JOB_TEXT_H_

#include <string>
#include <vector>

namespace stattree {
namespace cli {

class JobText {
 public:
  // "text", in double quotes.
  static std::string Quote(const std::string& text);
  // "a", "b", "c": the first 40 names, then ", ... (N more)".
  static std::string QuotedList(const std::vector<std::string>& names);
  // RFC 6901 escaping of one reference token.
  static std::string PointerToken(const std::string& token);
  // The pointer a message starts with; "(top level)" for the document.
  static std::string Where(const std::string& path);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_JOB_TEXT_H_
