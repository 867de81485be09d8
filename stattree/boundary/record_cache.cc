#include "stattree/boundary/record_cache.h"

#include <cstddef>

namespace stattree {

namespace {

// Columns at or past this (and negative ones) go to the host every time:
// a host's column numbers need not be dense, and the slots must stay small.
constexpr int kCachedColumns = 4096;

// Answers kept per record; past this the rest are recomputed.
constexpr std::size_t kKeptAnswers = 64;

}  // namespace

RecordCache::RecordCache(const StatsRecord& host, bool enabled) : host(host), enabled(enabled) {}

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
  if (!enabled || colNum < 0 || colNum >= kCachedColumns) {
    // Every read is a fresh default-constructed value, as a reader's own.
    uncached = Variant();
    return host.GetValue(uncached, colNum) ? &uncached : nullptr;
  }
  const auto at = static_cast<std::size_t>(colNum);
  if (at >= slots.size()) slots.resize(at + 1);
  Slot& slot = slots[at];
  if (slot.generation == generation) return &slot.value;
  slot.value = Variant();
  if (!host.GetValue(slot.value, colNum)) return nullptr;
  slot.generation = generation;
  return &slot.value;
}

bool RecordCache::FindAnswer(const void* owner, int& answer) const {
  if (!enabled) return false;
  for (const Answer& kept : answers) {
    if (kept.owner == owner && kept.generation == generation) {
      answer = kept.value;
      return true;
    }
  }
  return false;
}

void RecordCache::KeepAnswer(const void* owner, int answer) const {
  if (!enabled) return;
  for (Answer& kept : answers) {
    if (kept.owner == owner || kept.generation != generation) {
      kept = Answer{owner, generation, answer};
      return;
    }
  }
  if (answers.size() < kKeptAnswers) answers.push_back(Answer{owner, generation, answer});
}

}  // namespace stattree
