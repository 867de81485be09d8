// GroupingResults: the records of one subset broken down by one grouping.
//
// Holds one StatsSet per grouping value combination met in the records, a
// totals set fed with every record it is given, and a prototype set (the
// grouping criteria clone and one unfed accumulator per statistic) from
// which each new combination set is copied. A record's combination is the
// first set in first-met order whose criteria it meets; Finalize sorts them
// by their grouping values, so indexes handed out before Finalize are stale
// after it.
//
// A grouping with a single combination (always one without a grouping
// spec) feeds its totals only when they are looked at: until then they
// would receive exactly the records of that combination's set.
//
// Past a few combinations the sets are found through an index of their
// values' texts instead of a test per set. It answers exactly what the walk
// would and is used only when that is provable: every set's criteria is a
// plain single or multiple criteria of "=" terms on the same columns, no
// error is set and the record's values read without one; otherwise the
// walk runs. The criteria of the sets handed out by GetGroupingStatsSet are
// for reading: the index does not follow values changed through them.
//
// Ownership: the combination and totals sets are held by value and copied
// deeply. The never-fed prototype is shared by copies (every node of a tree
// starts from the same one) and copied before it changes; its criteria, as
// GetCriteriaPrototype hands it out, is for reading.
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_GROUPING_RESULTS_H_
#define STATTREE_RESULTS_GROUPING_RESULTS_H_

#include <cstddef>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/export.h"
#include "stattree/results/stats_set.h"

namespace stattree {

class AlwaysPassCriteria;
class BinaryReader;
class BinaryWriter;
class Criteria;
class DefinitionCopies;
class StatsDefn;
class ValueRecord;

class STATTREE_EXPORT GroupingResults {
 public:
  GroupingResults();
  GroupingResults(const GroupingResults& other);
  GroupingResults& operator=(const GroupingResults& other);
  virtual ~GroupingResults();

  // The caller keeps both objects; the prototype and the totals set store
  // clones.
  bool ConfigureCriteria(Criteria* groupingCriteria, AlwaysPassCriteria* totalsCriteria);
  // Adds the statistic to the prototype and the totals set only.
  bool AddNewStatsDefn(const StatsDefn& defn);
  bool ProcessRecord(const StatsRecord& record);
  // Finalizes and sorts the combination sets, then finalizes the totals.
  void Finalize();
  // Every set, the shared prototype included, stops borrowing.
  void DetachFromDefinitions(DefinitionCopies& copies);

  int GetGroupingsCount() const;
  // Index 0 with no combination yet answers the never-fed prototype.
  const StatsSet* GetGroupingStatsSet(int index) const;
  const StatsSet* GetTotalsStatsSet() const;
  // The prototype's own clone of the grouping criteria (may be null).
  Criteria* GetCriteriaPrototype() { return prototype->GetCriteria(); }

  // The dump of each combination set; totals and prototype are not dumped.
  void DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns);

  // Partial results (grouping_results.cc, at the end). Takes in `later`'s
  // unfinalized combinations as if its records had followed this grouping's:
  // a combination already here gets the later set's results added, a new
  // one is appended in `later`'s first-met order and keeps its values, the
  // totals add up. Both groupings hold the same statistics (false when a
  // set does not; nothing is changed then).
  bool MergeFrom(const GroupingResults& later);
  // The combinations in first-met order, each with its grouping values,
  // then the totals.
  void SaveResults(BinaryWriter& out) const;
  // Into a grouping that has seen no record; false on malformed input.
  bool LoadResults(BinaryReader& in);

 private:
  // The set a record goes to (records, and the values of merged sets): by
  // scan, index or the walk; false when a membership test failed with an
  // error.
  bool FindSetOf(std::size_t& position, bool& found, const StatsRecord& record);
  // The same for a merged or loaded set's values: among few plain "=" sets
  // by comparing them, without a test per set.
  bool FindSetOfValues(std::size_t& position, bool& found, const ValueRecord& values);
  void CopyDataMembers(const GroupingResults& other);

  struct SetIndex;
  // The set of the record's combination among few sets: the first set when
  // it always passes, else, for a one-field grouping, by comparing values;
  // false when the walk must decide.
  bool FindScannedSet(std::size_t& position, bool& found, const StatsRecord& record) const;
  // Sets `found`, and `position` when found, from the index; false when the
  // index can't decide and the walk must run.
  bool FindIndexedSet(std::size_t& position, bool& found, const StatsRecord& record);
  // The index brought up to date with the sets, or null when it can't be
  // exact for them.
  SetIndex* CurrentSetIndex();

  std::vector<StatsSet> groupings;
  // The prototype, no longer shared with any copy.
  StatsSet& OwnPrototype();
  // Feeds the record to set `position` (its failure reported at
  // `setLocation`), then to the totals.
  bool FeedSets(std::size_t position, const StatsRecord& record, int setLocation);
  // Brings the totals up to date when they stand in for the one set.
  void SyncTotals() const;

  std::shared_ptr<StatsSet> prototype;
  // While the grouping has one combination and every record so far was
  // sure to be taken by it, the totals would equal that set in all but
  // its criteria: they are then not fed (`totalsLag` is true) and are
  // copied from the set before anyone looks at them or the two could part.
  mutable StatsSet totals;
  mutable bool totalsLag = false;
  // Built lazily past a few combinations; dropped by copies and Finalize.
  std::unique_ptr<SetIndex> setIndex;
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_GROUPING_RESULTS_H_
