#include "tools/stattree/library_error.h"

#include <vector>

#include "stattree/stattree.h"
#include "tools/stattree/join.h"

namespace stattree {
namespace cli {

std::string LibraryError::TakeText() {
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  if (!Stats::GetError(code, second, message, flag)) {
    return "library call failed without an error";
  }
  std::string text = "library error " + std::to_string(code);
  if (!message.empty()) text += " (" + message + ")";
  const std::string detail = Stats::GetErrorDetail();
  if (!detail.empty()) text += ", detail \"" + detail + "\"";
  const std::vector<int> locations = Stats::GetErrorLocations();
  if (!locations.empty()) {
    std::vector<std::string> numbers;
    numbers.reserve(locations.size());
    for (int location : locations) numbers.push_back(std::to_string(location));
    text += ", locations " + Join(numbers, ", ");
  }
  Stats::ClearError();
  return text;
}

}  // namespace cli
}  // namespace stattree
