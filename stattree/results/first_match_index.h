// FirstMatchIndex: a hash index from a key to the first position, in
// creation order, that holds that key.
//
// Used by TreeNode (children keyed by their value's text) and by
// GroupingResults (combination sets keyed by their values' texts) to find
// the match of a record without testing every candidate. The index stores
// only the hash and a position per key; the owner keeps the keys and
// answers the exact comparison through `equals(position)`, so hash
// collisions never decide a match. Open addressing, at most half full:
// about 32 bytes per key.
//
// Below a few candidates an index costs more than it saves; the owners then
// compare the record's value with each candidate's (FirstEqualValue).
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_FIRST_MATCH_INDEX_H_
#define STATTREE_RESULTS_FIRST_MATCH_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "stattree/boundary/variant.h"

namespace stattree {

class FirstMatchIndex {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // The hash of one key part (a value's text form).
  static std::size_t HashText(std::string_view text);
  // Folds the hash of the next key part into `seed`.
  static std::size_t Combine(std::size_t seed, std::size_t part);

  // The position stored under a key equal to the probed one, or kNone.
  template <class Equals>
  std::uint32_t Find(std::size_t hash, Equals&& equals) const {
    if (slots.empty()) return kNone;
    for (std::size_t at = hash & (slots.size() - 1);; at = (at + 1) & (slots.size() - 1)) {
      const Slot& slot = slots[at];
      if (slot.position == kNone) return kNone;
      if (slot.hash == hash && equals(slot.position)) return slot.position;
    }
  }

  // Stores `position` unless an equal key is there already: the earlier
  // position wins, as it would in a walk in creation order.
  template <class Equals>
  void Insert(std::size_t hash, std::uint32_t position, Equals&& equals) {
    if (Find(hash, equals) != kNone) return;
    if ((count + 1) * 2 > slots.size()) Grow();
    Place(Slot{hash, position});
    ++count;
  }

  // Empties the index and releases its memory.
  void Clear();

 private:
  struct Slot {
    std::size_t hash;
    std::uint32_t position;  // kNone marks a free slot
  };

  void Place(const Slot& slot);
  void Grow();

  std::vector<Slot> slots;  // a power of two in size, or empty
  std::size_t count = 0;
};

// The first of `values` that `value` equals as an "=" term decides it (a
// null entry is a candidate the walk skips), or FirstMatchIndex::kNone.
inline std::uint32_t FirstEqualValue(const Variant& value,
                                     const std::vector<const Variant*>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] != nullptr && value.IsStringEquivalentTo(*values[i])) {
      return static_cast<std::uint32_t>(i);
    }
  }
  return FirstMatchIndex::kNone;
}

}  // namespace stattree

#endif  // STATTREE_RESULTS_FIRST_MATCH_INDEX_H_
