#include "tools/stattree/node_counter.h"

#include <cstddef>
#include <functional>
#include <string_view>

#include "tools/stattree/byte_pack.h"

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
    if (!text.empty() && paths_.insert(path).second && journal_) {
      newPaths_.push_back({path, records_});
    }
  }
  ++records_;
  return GetCount();
}

std::string NodeCounter::SaveJournal() const {
  BytePacker out;
  if (!journal_) return out.Bytes();
  out.PutNumber(newPaths_.size());
  for (const NewPath& p : newPaths_) {
    out.PutNumber(p.path);
    out.PutSigned(p.record);
  }
  return out.Bytes();
}

bool NodeCounter::MergeJournal(const std::string& journal, long long maxNodes,
                               long long& passedAt) {
  passedAt = -1;
  if (journal.empty()) return true;
  // Read whole first, so that bad bytes count nothing.
  ByteUnpacker in(journal);
  std::uint64_t count = 0;
  if (!in.GetNumber(count) || count > journal.size() / 16) return false;
  std::vector<NewPath> later(static_cast<std::size_t>(count));
  long long previous = 0;
  for (NewPath& p : later) {
    if (!in.GetNumber(p.path) || !in.GetSigned(p.record) || p.record < previous) return false;
    previous = p.record;
  }
  if (!in.AtEnd()) return false;
  for (const NewPath& p : later) {
    if (!paths_.insert(p.path).second) continue;
    if (maxNodes > 0 && GetCount() > maxNodes) {
      passedAt = p.record;
      return true;
    }
  }
  return true;
}

}  // namespace cli
}  // namespace stattree
