// StatsResult: the accumulator of one statistic over one stream of records.
//
// A StatsSet owns one accumulator per statistic definition and makes it
// with StatsResult::New from the definition's type and field column. The
// owner feeds it every record of its set (ProcessRecord), finalizes it once
// after the last record (Finalize), then reads it (GetResult, DumpObject).
// Further records after Finalize accumulate as before; a later Finalize
// recomputes.
//
// The virtual operations keep their slot order (destructor, Clone,
// ProcessRecord, Finalize, GetResult, GetType, IsEnum, IsCountType,
// DumpObject); the enumeration accumulators append theirs after these. The
// operations are non-const by interface.
//
// Failures go to TheErrorManager(): a failed record read is reported with
// the statistic-side record error report and the class's location, and
// ProcessRecord returns false leaving the accumulator unchanged. Every
// other scalar operation always succeeds.
//
// Thread-safety: none; an accumulator is used by one thread at a time.
#ifndef STATTREE_STATISTICS_STATS_RESULT_H_
#define STATTREE_STATISTICS_STATS_RESULT_H_

#include <climits>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

#include "stattree/boundary/record_cache.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/definitions/stats_defn.h"

namespace stattree {

class CriteriaSet;

class StatsResult {
 public:
  // What New made: a set feeds these from the engine's record cache
  // without a virtual call. Anything else, a class derived from the
  // library's included, is Other and fed through ProcessRecord.
  enum class Kind : unsigned char {
    Other,
    Count,
    CountValid,
    Min,
    Max,
    Sum,
    Average,
    StdDev,
    Enum,
    EnumPercent,
  };

  explicit StatsResult(int column) : column(column) {}
  virtual ~StatsResult() = default;

  // A deep copy on the heap, owned by the caller.
  virtual StatsResult* Clone() = 0;
  // True when the record was taken (also without effect); false with the
  // reason in the error manager.
  virtual bool ProcessRecord(const StatsRecord& record) = 0;
  virtual void Finalize() {}
  // Copies the current value into `result`.
  virtual bool GetResult(Variant& value) = 0;
  virtual StatsDefn::StatsType GetType() = 0;
  virtual bool IsEnum() { return false; }
  virtual bool IsCountType() { return false; }
  virtual void DumpObject(std::ostream& os) = 0;

  // What ProcessRecord reads, for telling ahead whether it can fail: the
  // columns it reads (appended to `columns`) and, for the distribution
  // kinds, their criteria set with the number of counters (appended to
  // `sets`). False for an accumulator of another kind than the library's
  // own, or without a criteria set. With every column read, every set's
  // lookup sure to succeed, the counters covering every bin and no error
  // held, ProcessRecord succeeds and depends on nothing but the state and
  // the record's values.
  bool DescribeReads(std::vector<int>& columns,
                     std::vector<std::pair<CriteriaSet*, int>>& sets) const;

  Kind GetKind() const { return kind; }
  int GetColumn() const { return column; }

  // Makes the accumulator of `type` reading `column`, owned by the caller.
  // Histogram1 and EnumCount both make an EnumResult (so a histogram's
  // accumulator answers GetType with EnumCount). Any other type outside
  // Count..EnumPercent sets error 11355 with the type as detail and gives
  // null.
  static StatsResult* New(StatsDefn::StatsType type, int column);

 protected:
  // Copy and assignment take the column; the kind stays Other or the
  // object's own (see GetKind).
  StatsResult(const StatsResult& other) : column(other.column) {}
  StatsResult& operator=(const StatsResult& other) {
    column = other.column;
    return *this;
  }

  // This statistic's column of `record`, read into `scratch` unless the
  // record is the engine's cache (the value is then only valid until the
  // next read). A failed read runs the statistic-side record error report
  // with `location` and gives null.
  const Variant* ReadValue(Variant& scratch, const StatsRecord& record, int location) const {
    const Variant* value = ReadColumn(record, column, scratch);
    return value != nullptr ? value : ReadFailed(record, location);
  }

  // The statistic-side record error report; null.
  static const Variant* ReadFailed(const StatsRecord& record, int location);
  // The same, answering ProcessRecord's false.
  static bool Failed(const StatsRecord& record, int location) {
    ReadFailed(record, location);
    return false;
  }
  // A value CountValid, Average and StdDev take.
  static bool IsUsable(const Variant& value) { return value.IsValid() && !value.IsEmpty(); }

  // What every Clone does: a fresh accumulator of the source's class, given
  // its state by that class's assignment.
  template <typename Result>
  static StatsResult* CloneOf(const Result& source) {
    auto copy = std::make_unique<Result>(source.column);
    *copy = source;
    copy->kind = source.kind;
    return copy.release();
  }

  // Counts stop at the largest int rather than wrap.
  static void AddOne(int& count) {
    if (count < INT_MAX) ++count;
  }

  // Column handed to StatsRecord::GetValue; -1 is passed on unchecked.
  int column;

 private:
  // Set by New and Clone only, so that it always names the exact class.
  Kind kind = Kind::Other;
};

}  // namespace stattree

#endif  // STATTREE_STATISTICS_STATS_RESULT_H_
