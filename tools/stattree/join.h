// Join: the one place the tool puts separators between listed texts.
//
// Stateless; safe to call from any thread.
#ifndef STATTREE_TOOLS_JOIN_H_
#define STATTREE_TOOLS_JOIN_H_

#include <string>
#include <vector>

namespace stattree {
namespace cli {

// `parts` with `separator` between each two. With `skipLeadingEmpty`, the
// empty parts before the first non-empty one are left out together with
// their separators: the default spec names and the warnings' name lists
// have always been formed that way.
std::string Join(const std::vector<std::string>& parts, const std::string& separator,
                 bool skipLeadingEmpty = false);

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_JOIN_H_
