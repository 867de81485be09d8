#include "stattree/results/first_match_index.h"

#include <functional>
#include <utility>

namespace stattree {

namespace {

constexpr std::size_t kFirstSize = 16;

}  // namespace

std::size_t FirstMatchIndex::HashText(std::string_view text) {
  return std::hash<std::string_view>()(text);
}

std::size_t FirstMatchIndex::Combine(std::size_t seed, std::size_t part) {
  return seed ^ (part + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

void FirstMatchIndex::Clear() {
  std::vector<Slot>().swap(slots);
  count = 0;
}

void FirstMatchIndex::Place(const Slot& slot) {
  std::size_t at = slot.hash & (slots.size() - 1);
  while (slots[at].position != kNone) at = (at + 1) & (slots.size() - 1);
  slots[at] = slot;
}

void FirstMatchIndex::Grow() {
  std::vector<Slot> old(slots.empty() ? kFirstSize : slots.size() * 2, Slot{0, kNone});
  old.swap(slots);
  for (const Slot& slot : old) {
    if (slot.position != kNone) Place(slot);
  }
}

}  // namespace stattree
