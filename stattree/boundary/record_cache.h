// RecordCache: the host's record as the engine's readers see it during a
// run, each column read through the host at most once per record.
//
// The engine wraps the host's StatsRecord in one RecordCache per
// ProcessRecords call and hands the wrapper to every node, criteria and
// statistic. A successful read is kept until the next record move
// (NextRecord); a failed read is never kept, so every reader that asks for
// that column calls the host again, reports its own failure with its own
// location and asks GetError exactly as it would without the cache. This is
// exact for every host whose record stays unchanged between its record
// moves. With caching disabled every read goes to the host, once per
// reader. (A failing column may be asked once more than uncached: a criteria
// set's quick walk gives up on a failed read and leaves the report to its
// ordinary walk, which reads again.)
//
// The wrapper also remembers, per record, answers that depend only on the
// record's values (whether a record meets a subset), keyed by the object
// that computed them; they are dropped with the values. Objects asked on
// every record (a criteria set's bin) keep theirs in a RecordAnswer of
// their own, which no other answer can displace.
//
// Readers use ReadColumn, which peeks at the cached value without copying
// it; any other StatsRecord is read into the caller's scratch value.
//
// Ownership: borrows the host's record, which must outlive it. Thread-safety:
// none; one run on one thread.
#ifndef STATTREE_BOUNDARY_RECORD_CACHE_H_
#define STATTREE_BOUNDARY_RECORD_CACHE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <typeinfo>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"

namespace stattree {

// An answer that depends only on the current record's values, kept by the
// object that worked it out (RecordCache::FindAnswer and KeepAnswer): one
// comparison finds it again. A copy of the object starts without one.
class RecordAnswer {
 public:
  RecordAnswer() = default;
  RecordAnswer(const RecordAnswer& /*other*/) noexcept {}
  RecordAnswer& operator=(const RecordAnswer& /*other*/) noexcept {
    run = 0;
    return *this;
  }
  ~RecordAnswer() = default;

 private:
  friend class RecordCache;
  std::uint64_t run = 0;  // no run has this id
  std::uint64_t generation = 0;
  int value = 0;
};

class RecordCache final : public StatsRecord {
 public:
  RecordCache(const StatsRecord& host, bool enabled);
  RecordCache(const RecordCache&) = delete;
  RecordCache& operator=(const RecordCache&) = delete;

  // False when every read goes to the host.
  bool Enabled() const { return enabled; }
  // Different for every cache the process makes: what is worked out once
  // per run may be kept under it.
  std::uint64_t RunId() const { return runId; }

  // Forgets every value and answer: the host has moved to another record.
  void NextRecord() { ++generation; }

  bool GetValue(Variant& value, int colNum) const override;
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override;

  // The column's value, valid until the next read of any column; null when
  // the host's read failed.
  const Variant* Peek(int colNum) const {
    const auto at = static_cast<std::size_t>(colNum);
    if (at < slots.size() && slots[at].generation == generation) return &slots[at].value;
    return Read(colNum);
  }

  // A remembered answer of `owner` for the current record.
  bool FindAnswer(const void* owner, int& answer) const {
    const Answer& kept = answers[AnswerSlot(owner)];
    if (!enabled || kept.owner != owner || kept.generation != generation) return false;
    answer = kept.value;
    return true;
  }
  void KeepAnswer(const void* owner, int answer) const {
    if (enabled) answers[AnswerSlot(owner)] = Answer{owner, generation, answer};
  }
  // The same, kept by the owner itself: never displaced by another's.
  bool FindAnswer(const RecordAnswer& kept, int& answer) const {
    if (!enabled || kept.run != runId || kept.generation != generation) return false;
    answer = kept.value;
    return true;
  }
  void KeepAnswer(RecordAnswer& kept, int answer) const {
    if (!enabled) return;
    kept.run = runId;
    kept.generation = generation;
    kept.value = answer;
  }

  // The cache behind `record`, or null when it is some other record. Only
  // the library makes caches, so one type_info object stands for them all;
  // were it ever missed, readers would still read through GetValue.
  static const RecordCache* Of(const StatsRecord& record) {
    if (&typeid(record) != &typeid(RecordCache)) return nullptr;
    return static_cast<const RecordCache*>(&record);
  }

 private:
  // Peek past the kept values: through the host, keeping what it gives.
  const Variant* Read(int colNum) const;

  struct Slot {
    std::uint64_t generation = 0;
    Variant value;
  };
  struct Answer {
    const void* owner = nullptr;
    std::uint64_t generation = 0;
    int value = 0;
  };
  // Direct-mapped by owner: a collision only costs a recomputation.
  static constexpr std::size_t kAnswerSlots = 64;
  static std::size_t AnswerSlot(const void* owner) {
    const auto bits = reinterpret_cast<std::uintptr_t>(owner);
    return static_cast<std::size_t>((bits >> 4) ^ (bits >> 10)) % kAnswerSlots;
  }

  const StatsRecord& host;
  const bool enabled;
  const std::uint64_t runId;
  std::uint64_t generation = 1;
  mutable std::vector<Slot> slots;  // by column number
  mutable Variant uncached;         // columns outside the slots, or caching off
  mutable Answer answers[kAnswerSlots];
};

// Whether a lookup by value may stand in for a walk that reads the record
// once per candidate: not when the engine's caching is off.
inline bool MayLookUpByValue(const StatsRecord& record) {
  const RecordCache* cache = RecordCache::Of(record);
  return cache == nullptr || cache->Enabled();
}

// The value of `column` for a reader: peeked from the engine's cache, or read
// into `scratch` from any other record. Null when the read failed.
inline const Variant* ReadColumn(const StatsRecord& record, int column, Variant& scratch) {
  if (const RecordCache* cache = RecordCache::Of(record)) return cache->Peek(column);
  return record.GetValue(scratch, column) ? &scratch : nullptr;
}

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_RECORD_CACHE_H_
