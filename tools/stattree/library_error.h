// LibraryError: the library's current error as one line a person reads.
//
// Reads the process-wide error state through Stats' static members
// (code, message, detail, locations) and clears it.
#ifndef STATTREE_TOOLS_LIBRARY_ERROR_H_
#define STATTREE_TOOLS_LIBRARY_ERROR_H_

#include <string>

namespace stattree {
namespace cli {

class LibraryError {
 public:
  // "library error 11910 (message), detail "x", locations 11650, 11660";
  // "library call failed without an error" when none is set.
  static std::string TakeText();
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_LIBRARY_ERROR_H_
