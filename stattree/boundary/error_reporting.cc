#include "stattree/boundary/error_reporting.h"

#include "stattree/boundary/error_table.h"

namespace stattree {

namespace {
constexpr int kOutOfMemoryCode = 10001;
}  // namespace

ErrorManager* sBuiltErrorManager = nullptr;

ErrorManager& TheErrorManager() {
  // Function-local so that hosts' static objects may report during their
  // own static initialisation.
  static ErrorManager manager(kErrorTable, "QK");
  sBuiltErrorManager = &manager;
  return manager;
}

namespace {
// Built at load time as well, so that the first report of a process can be
// an allocation failure while memory stays exhausted.
[[maybe_unused]] const bool sBuiltAtLoad = (TheErrorManager(), true);
}  // namespace

std::string IndexDetail(int index, int bound) {
  return std::to_string(index) + "," + std::to_string(bound);
}

bool IndexError(int code, int location, int index, int bound) {
  TheErrorManager().Set(code, IndexDetail(index, bound));
  return TheErrorManager().DumpCode(location);
}

bool OutOfMemoryError(int location) {
  TheErrorManager().Set(kOutOfMemoryCode);
  return TheErrorManager().DumpCode(location);
}

}  // namespace stattree
