// EnumResult and EnumPercentResult: the distribution accumulators.
//
// An EnumResult counts how many records fall into each bin of a
// CriteriaSet: each value of an enumeration ("EnumCount") or each bin of a
// histogram ("Histogram1"; its accumulator answers GetType with EnumCount).
// EnumPercentResult ("EnumPercent") counts the same way and turns the
// counts into percentages of the records that landed in any bin when it is
// finalized.
//
// The criteria set is borrowed from the statistic's definition, which must
// keep it alive and unchanged while the accumulator and its clones use it;
// clones share it. Calling order: ConfigureCriteriaSet once, ProcessRecord
// per record, Finalize once, then the queries and DumpObject. Until a set
// is configured, ProcessRecord, both GetEnumValue and FindEnumIndex fail
// with error 11430, GetEnumValueCount is 0 and GetEnumResult knows only the
// two pseudo indexes.
//
// Two pseudo indexes are valid wherever an enumeration index is taken or
// given: NoMatchIndex (the record matched no bin) and NotAvailableIndex
// (empty values that matched no bin; text "N/A"). A non-empty value that
// matches no bin is counted nowhere. The percent class has no
// not-available entry: asking it for NotAvailableIndex is an index error.
//
// The counters are single-precision numbers, so a bin stops growing at
// 16,777,216 records. The not-available count and the percentage base
// stop at INT_MAX rather than wrap; Finalize scales at most as many
// counters as exist.
//
// A failing ProcessRecord leaves the counters as they were. Thread-safety:
// none; several accumulators may share one set read-only on one thread.
#ifndef STATTREE_STATISTICS_ENUM_RESULT_H_
#define STATTREE_STATISTICS_ENUM_RESULT_H_

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "stattree/boundary/record_cache.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {

class EnumResult : public StatsResult {
 public:
  static constexpr int NoMatchIndex = 10000;
  static constexpr int NotAvailableIndex = 10001;
  // "N/A", the text of NotAvailableIndex.
  static const std::string sNotAvailableText;

  explicit EnumResult(int column) : StatsResult(column) {}
  // Copies the column, the counters, the set pointer (then shared) and the
  // not-available count.
  EnumResult& operator=(const EnumResult& other);

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  // Integer 0: the bins are read with GetEnumResult.
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return StatsDefn::EnumCount; }
  bool IsEnum() override { return true; }
  bool IsCountType() override { return true; }
  void DumpObject(std::ostream& os) override;

  // Bin `index` as an integer count (truncated), NotAvailableIndex as the
  // not-available count, NoMatchIndex as 0; any other index is error 11440
  // at 11480.
  virtual bool GetEnumResult(Variant& value, int index);
  // The record's bin, NoMatchIndex when none matched, -1 when the lookup
  // failed (the error is then set).
  virtual int GetRecordEnumIndex(const StatsRecord& record);

  // Borrows `set` and appends one zero counter per bin; null is
  // error 11430 at 11530. Meant to be called once: a second call appends a
  // second series of counters.
  bool ConfigureCriteriaSet(CriteriaSet* set);
  int GetEnumValueCount() const;
  // The criteria set in use (borrowed or owned), or null.
  CriteriaSet* GetCriteriaSet() const { return criteriaSet; }
  // Uses `copy` (shared with other accumulators) instead of the borrowed
  // set it was copied from; nothing else changes.
  void UseOwnCriteriaSet(std::shared_ptr<CriteriaSet> copy);
  // The text of bin `index` (with the operator in front when
  // `withOperator`); NoMatchIndex gives "". NotAvailableIndex leaves "N/A"
  // in `text` and then fails in the set like an out-of-range bin: false,
  // with error 10645 and location 11500.
  bool GetEnumValue(std::string& text, int index, bool withOperator) const;
  // The value of bin `index` (a histogram bin's lower edge);
  // NotAvailableIndex gives the text "N/A", NoMatchIndex the empty text.
  bool GetEnumValue(Variant& value, int index) const;
  // NotAvailableIndex for "N/A" (even when a bin has that text), else the
  // first bin whose text is byte-equal, else NoMatchIndex; -1 with error
  // 11430 when no set is configured.
  int FindEnumIndex(const std::string& text) const;

  // ProcessRecord on the cache's current record once the criteria set has
  // found its bin (CriteriaSet::KnownBin, so only while no error is held):
  // false, nothing done, when it has not; else ProcessRecord's answer in
  // `taken`.
  bool TakeKnownBin(const RecordCache& cache, bool& taken) {
    int index = 0;
    if (!KnownBin(cache, index)) return false;
    if (IsBin(index)) {
      counters[static_cast<std::size_t>(index)] += 1.0F;
      taken = true;
    } else {
      taken = CountBin(index, cache);
    }
    return true;
  }

  // Error 11430, then `location`; false.
  static bool CriteriaConfigError(int location);
  // Error 11440 with "index,count", then `location`; false.
  static bool InvalidIndexError(int location, int index, int count);

 protected:
  friend class ResultState;
  // The record's bin as GetRecordEnumIndex gives it, when known already.
  bool KnownBin(const RecordCache& cache, int& index) const {
    if (criteriaSet == nullptr || !criteriaSet->KnownBin(cache, index)) return false;
    if (index == -1) index = NoMatchIndex;
    return true;
  }
  // ProcessRecord once GetRecordEnumIndex gave `index`.
  bool CountBin(int index, const StatsRecord& record);
  // Whether CountBin, with no error held, would count `index` in a bin.
  bool IsBin(int index) const {
    return index != NoMatchIndex && index >= 0 && index < static_cast<int>(counters.size());
  }
  // The dump's frame both kinds share; `writeBin(i)` writes bin i's line.
  template <typename WriteBin>
  void DumpBins(std::ostream& os, WriteBin&& writeBin);

  CriteriaSet* criteriaSet = nullptr;   // borrowed, or ownSet's
  std::shared_ptr<CriteriaSet> ownSet;  // once the definitions may be gone
  // One per bin in the set's order; EnumPercentResult keeps percentages
  // here after Finalize.
  std::vector<float> counters;
  int notAvailableCount = 0;
};

class EnumPercentResult : public EnumResult {
 public:
  explicit EnumPercentResult(int column) : EnumResult(column) {}
  // As EnumResult's, plus the total; the transient matched flag is not
  // copied.
  EnumPercentResult& operator=(const EnumPercentResult& other);

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  // Counters become counter * 100 / total when total >= 1; a second call
  // scales again.
  void Finalize() override;
  StatsDefn::StatsType GetType() override { return StatsDefn::EnumPercent; }
  void DumpObject(std::ostream& os) override;

  // Bin `index` as a double (the percentage after Finalize), or empty while
  // no record landed in a bin; NoMatchIndex as integer 0; any other index,
  // NotAvailableIndex included, is error 11440 at 11540.
  bool GetEnumResult(Variant& value, int index) override;
  int GetRecordEnumIndex(const StatsRecord& record) override;

  // As EnumResult's.
  bool TakeKnownBin(const RecordCache& cache, bool& taken) {
    int index = 0;
    if (!KnownBin(cache, index)) return false;
    matched = index != NoMatchIndex;
    if (!IsBin(index)) {
      taken = CountMatched(index, cache);
      return true;
    }
    counters[static_cast<std::size_t>(index)] += 1.0F;
    AddOne(total);
    taken = true;
    return true;
  }

 private:
  // ProcessRecord once GetRecordEnumIndex gave `index`.
  bool CountMatched(int index, const StatsRecord& record);

  friend class ResultState;
  int total = 0;        // records that landed in a bin
  bool matched = true;  // whether the last lookup found a bin
};

}  // namespace stattree

#endif  // STATTREE_STATISTICS_ENUM_RESULT_H_
