#include "stattree/boundary/record_cache.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace stattree {

namespace {

// Columns at or past this (and negative ones) go to the host every time:
// a host's column numbers need not be dense, and the slots must stay small.
constexpr int kCachedColumns = 4096;

std::atomic<std::uint64_t> sRuns{0};

}  // namespace

RecordCache::RecordCache(const StatsRecord& host, bool enabled)
    : host(host), enabled(enabled), runId(++sRuns) {}

bool RecordCache::GetValue(Variant& value, int colNum) const {
  const Variant* read = Peek(colNum);
  if (read == nullptr) return false;
  value = *read;
  return true;
}

bool RecordCache::GetError(int& code, int& second, std::string& message, bool& flag) const {
  return host.GetError(code, second, message, flag);
}

const Variant* RecordCache::Read(int colNum) const {
  // Every read goes into a value in the default-constructed state (which
  // SetEmpty gives without freeing text storage), as a reader's own would.
  if (!enabled || colNum < 0 || colNum >= kCachedColumns) {
    uncached.SetEmpty();
    return host.GetValue(uncached, colNum) ? &uncached : nullptr;
  }
  const auto at = static_cast<std::size_t>(colNum);
  if (at >= slots.size()) slots.resize(at + 1);
  Slot& slot = slots[at];
  if (slot.generation == generation) return &slot.value;
  slot.value.SetEmpty();
  if (!host.GetValue(slot.value, colNum)) return nullptr;
  slot.generation = generation;
  return &slot.value;
}

}  // namespace stattree
