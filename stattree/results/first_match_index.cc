#include "stattree/results/first_match_index.h"

#include <cstring>
#include <utility>

namespace stattree {

namespace {

constexpr std::size_t kFirstSize = 16;

}  // namespace

// Keys are mostly short texts (names, codes, numbers): eight bytes per
// multiply, then a final mix so that the low bits the slots use depend on
// every byte.
std::size_t FirstMatchIndex::HashText(std::string_view text) {
  const char* bytes = text.data();
  std::size_t left = text.size();
  std::uint64_t hash = 0x9e3779b97f4a7c15ULL ^ left;
  std::uint64_t word = 0;
  for (; left >= sizeof word; left -= sizeof word, bytes += sizeof word) {
    std::memcpy(&word, bytes, sizeof word);
    hash = (hash ^ word) * 0xff51afd7ed558ccdULL;
    hash ^= hash >> 32;
  }
  if (left > 0) {
    word = 0;
    std::memcpy(&word, bytes, left);
    hash = (hash ^ word) * 0xc4ceb9fe1a85ec53ULL;
  }
  hash ^= hash >> 29;
  hash *= 0xbf58476d1ce4e5b9ULL;
  hash ^= hash >> 32;
  return static_cast<std::size_t>(hash);
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
