#include "tools/stattree/node_counter.h"

#include <cstddef>
#include <functional>
#include <string_view>

namespace stattree {
namespace cli {
namespace {

// splitmix64's finalizer: spreads a weak combination over all 64 bits.
std::uint64_t Mix(std::uint64_t x) {
  x ^= x >> 30;
  x *= 0xbf58476d1ce4e5b9ULL;
  x ^= x >> 27;
  x *= 0x94d049bb133111ebULL;
  return x ^ (x >> 31);
}

}  // namespace

long long NodeCounter::Add(const std::vector<Variant>& values) {
  static const Variant kEmpty{};
  Variant::TextBuffer buffer;
  std::uint64_t path = 0;
  for (const int column : columns_) {
    const Variant& value = column >= 0 && static_cast<std::size_t>(column) < values.size()
                               ? values[static_cast<std::size_t>(column)]
                               : kEmpty;
    const std::string_view text = value.TextView(buffer);
    // The text's own hash alone would make "a" under "b" the same as "b"
    // under "a"; mixing the parent's path in first keeps them apart.
    path = Mix(Mix(path + 0x9e3779b97f4a7c15ULL) ^ std::hash<std::string_view>{}(text));
    // A transparent node still parts its children from their cousins.
    if (!text.empty()) paths_.insert(path);
  }
  return GetCount();
}

}  // namespace cli
}  // namespace stattree
