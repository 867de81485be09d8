// CriteriaSet: an ordered list of criteria that sorts a record into one of
// several bins, the values of an enumeration or the bins of a histogram.
// The bin of a record is the first criteria in list order that it meets.
//
// A statistic definition builds its set with CreateEnum or CreateHistogram
// (each appends to what the list holds, never clears it); the enumeration
// accumulators borrow it read-only to find, count and name bins.
//
// Ownership: the set owns every criteria in its list; copies clone them.
// Entries may be null and every operation skips them. DeleteDataMembers
// destroys the criteria but keeps the entries (as nulls), so a set that is
// assigned onto keeps its former entry count ahead of the copied bins;
// assignment is meant for freshly constructed sets.
//
// Errors: 10595 for a column of -1, 10785 for a histogram without bins,
// 10645 for an index out of range, each with the location of the failing
// operation.
//
// Thread-safety: none.
#ifndef STATTREE_CRITERIA_CRITERIA_SET_H_
#define STATTREE_CRITERIA_CRITERIA_SET_H_

#include <cstddef>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "stattree/boundary/record_cache.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/export.h"

namespace stattree {

class STATTREE_EXPORT CriteriaSet {
 public:
  CriteriaSet() = default;
  CriteriaSet(const CriteriaSet& other);
  // Releases, then copies; assigning a set to itself does nothing.
  CriteriaSet& operator=(const CriteriaSet& other);
  ~CriteriaSet();

  // One single "=" criteria per value, in the vector's order, duplicates
  // included. Column -1 fails (10595 at 10780).
  bool CreateEnum(const std::vector<std::string>& values, int colNum);
  // One single "=" criteria per value, in ascending byte-wise order. Column
  // -1 fails (10595 at 10800).
  bool CreateEnum(const std::set<std::string>& values, int colNum);
  // binCount + 2 bins: below start, binCount bins [start + (i-1)*width,
  // start + i*width), then at or above start + binCount*width.
  bool CreateHistogram(const Variant& start, const Variant& width, int binCount, int colNum);
  // edges.size() + 1 bins between consecutive edges; `logic` says which
  // edge of a bin is inclusive (any value but LowerEdgeInclusive acts as
  // UpperEdgeInclusive). The edges are not checked for order.
  bool CreateHistogram(const std::vector<Variant>& edges, HistogramBinLogic logic, int colNum);

  // `index` becomes the position of the first criteria the record meets, or
  // -1 when none does (still true). False only when a test failed with an
  // error held.
  bool RecordMeetsCriteria(int& index, const StatsRecord& record);
  // What RecordMeetsCriteria answers on the cache's current record, without
  // the call, once it has run on that record (false when it has not). Only
  // while no error is held: RecordMeetsCriteria would then look again.
  bool KnownBin(const RecordCache& cache, int& index) const {
    return cache.FindAnswer(currentBin, index);
  }

  // Whether RecordMeetsCriteria on the cache's current record is sure to
  // succeed: the list is flattened and every column it reads reads (the
  // reads are made now, through the cache). When it is, the bin is found
  // now and kept as RecordMeetsCriteria keeps it, so that KnownBin has it
  // for every reader of the record.
  bool FindBinAhead(const RecordCache& cache) const;

  // Number of list entries.
  int GetCriteriaCount() const;
  // Number of terms of the first criteria (all are assumed alike).
  int GetCriteriaValueCount() const;
  bool GetCriteriaValue(Variant& value, int criteriaIndex, int valueIndex) const;
  // A bad term index is reported with the criteria index and count (10930),
  // unlike GetCriteriaValue, which reports the term index (10900).
  bool GetCriteriaValueText(std::string& text, int criteriaIndex, int valueIndex,
                            bool withOperator) const;

  // Error 10785, then `location`; false.
  static bool InvalidSpecError(int location);

  // The prefix (null means empty), then each bin's short form: one-line
  // separates by ", "; multi-line by "\r\n", repeating the prefix before
  // each bin, so the first line carries it twice.
  void DumpCriteraValues(std::ostream& out, const char* prefix, bool oneLine);
  // Each bin's DumpObject after `indent`, each ended by "\r\n".
  void DumpObject(std::ostream& out, const char* indent);
  // One bin's DumpObject; nothing for a bad index.
  void DumpCriteria(std::ostream& out, const char* indent, int index);
  // One bin's DumpCriteriaValue; nothing for a bad index.
  void DumpCriteriaValue(std::ostream& out, const char* indent, int index);

 private:
  void CopyDataMembers(const CriteriaSet& other);
  void DeleteDataMembers();
  const Criteria* EntryAt(int index) const;
  // The walk behind RecordMeetsCriteria.
  bool FindBin(int& index, const StatsRecord& record) const;

  // The list again as plain terms, rebuilt whenever the list changes, so
  // that the engine's record loop finds a bin without a virtual call or a
  // read per term. Only the four criteria kinds themselves (no subclass)
  // and columns other than -1 can be flattened; otherwise, and while the
  // list has changed since (an append cut short by an exception included),
  // the walk runs.
  struct FlatEntry {
    int index;             // position in criteriaList
    std::size_t termsEnd;  // its terms end here in flatTerms
  };
  static constexpr std::size_t kNotFlat = static_cast<std::size_t>(-1);
  void Flatten();
  bool IsFlat() const { return flatFor == criteriaList.size(); }
  // The walk over the flat terms; false when a read failed (nothing is
  // reported: the walk then runs and reports it).
  bool FindBinFlat(int& index, const RecordCache& cache) const;
  // Fills the ranges below when the flat bins are consecutive ranges of one
  // column between strictly ascending number edges (both histogram kinds).
  void FindRanges();

  std::vector<std::unique_ptr<Criteria>> criteriaList;
  std::vector<CriteriaTerm> flatTerms;
  std::vector<FlatEntry> flatEntries;
  std::vector<int> flatColumns;  // each column of flatTerms once
  // The number of list entries the flat form stands for.
  std::size_t flatFor = kNotFlat;
  // For a number, such bins are decided by its place among the edges: a
  // binary search finds the one bin the walk would find. Empty: no ranges.
  std::vector<Variant> rangeEdges;
  int rangeColumn = -1;
  bool rangeUpperInclusive = false;  // bins (low, high] rather than [low, high)
  // The bin of the engine's current record.
  mutable RecordAnswer currentBin;
};

}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_SET_H_
