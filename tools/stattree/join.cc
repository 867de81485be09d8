#include "tools/stattree/join.h"

namespace stattree {
namespace cli {

std::string Join(const std::vector<std::string>& parts, const std::string& separator,
                 bool skipLeadingEmpty) {
  std::string text;
  bool first = true;
  for (const std::string& part : parts) {
    if (first && skipLeadingEmpty && part.empty()) continue;
    if (!first) text += separator;
    text += part;
    first = false;
  }
  return text;
}

}  // namespace cli
}  // namespace stattree
