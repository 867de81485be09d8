// StatsSet: the statistics of one grouping value combination.
//
// A set holds one accumulator per statistic name, the grouping criteria
// that tell which records belong to it, and the number of records it took.
// A GroupingResults owns three kinds: one per combination met in the
// records (a copy of the prototype bound to the first record's values), a
// totals set (always-pass criteria) and the never-fed prototype.
//
// ProcessRecord feeds whatever it is given: the owner asks
// RecordMeetsCriteria first. The count is raised before anything else, so
// a failed ProcessRecord still counts the record.
//
// Ownership: the set owns its criteria clone and every accumulator; copies
// are deep (Clone). Accumulators are kept in byte-wise order of their names;
// the name table is shared by copies (it is the same for every set of a
// grouping) and copied before it changes, so a set costs its accumulators
// and a few words.
//
// Failures are reported through TheErrorManager() (code at the detecting
// site, then each caller's location) and answered with false or null.
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_STATS_SET_H_
#define STATTREE_RESULTS_STATS_SET_H_

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/export.h"

namespace stattree {

class BinaryReader;
class BinaryWriter;
class Criteria;
class DefinitionCopies;
class RecordCache;
class StatsDefn;
class StatsResult;

class STATTREE_EXPORT StatsSet {
 public:
  StatsSet();
  StatsSet(const StatsSet& other);
  StatsSet& operator=(const StatsSet& other);
  // Moves hand the criteria and accumulators over and leave `other` empty;
  // they let the combination vector grow and sort without deep copies.
  StatsSet(StatsSet&& other) noexcept;
  StatsSet& operator=(StatsSet&& other) noexcept;
  virtual ~StatsSet();

  // Makes the accumulator for the definition's name; the first definition
  // of a name wins (a later one answers true and changes nothing).
  bool AddNewStatsDefn(const StatsDefn& defn);
  // Stores a clone of `criteria`; the caller keeps its object. Meant to be
  // called once: a second call replaces (and releases) the earlier clone.
  bool ConfigureCriteria(Criteria* criteria);
  // Binds the criteria to the record's values (first record of a
  // combination).
  bool SetGroupingValues(const StatsRecord& record);
  // False without an error: the record belongs elsewhere. False with an
  // error set: the test failed.
  bool RecordMeetsCriteria(const StatsRecord& record);
  bool ProcessRecord(const StatsRecord& record);
  // Whether ProcessRecord on the cache's current record is sure to succeed
  // (see StatsResult::CannotFailOn); false with an error held.
  bool CannotFailOn(const RecordCache& cache) const;
  // Takes the other set's record count and accumulators (deep copies); the
  // criteria stay this set's own. Both sets hold the same statistics.
  void CopyResultsFrom(const StatsSet& other);
  void Finalize();
  // Gives the distribution accumulators copies of the criteria sets they
  // borrow from the definitions.
  void DetachFromDefinitions(DefinitionCopies& copies);

  bool GetResult(Variant& value, const std::string& name) const;
  // Null (with an error set) for an unknown name; the set keeps ownership.
  StatsResult* GetStatsResult(const std::string& name) const;
  // The combination's values as text, one per grouping field; empty for an
  // always-pass criteria.
  bool GetCriteriaText(std::vector<std::string>& texts) const;
  Criteria* GetCriteria() const { return groupingCriteria.get(); }
  // Whether the criteria is an always-pass criteria: every record meets it
  // without a read.
  bool AlwaysPasses() const { return alwaysPasses; }
  int GetRecordsProcessed() const { return recordsProcessed; }

  // Grouping values compared position by position; a set without criteria
  // is equivalent to every set.
  bool operator<(const StatsSet& other) const;

  // One block per statistic, indented by 12 spaces; definitions give the
  // subset and grouping field descriptions, the set the values.
  void DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns);

  // Partial results (stats_set.cc, at the end). Whether `later` holds the
  // same statistics, each of the same kind.
  bool HoldsSameStatistics(const StatsSet& later) const;
  // Adds `later`'s record count and accumulator states to this set's (see
  // ResultState); the criteria stay this set's own. False, nothing changed,
  // when the two do not hold the same statistics.
  bool MergeFrom(const StatsSet& later);
  // The record count and the accumulator states, not the criteria.
  void SaveResults(BinaryWriter& out) const;
  // Replaces the count and states with saved ones; false on malformed input.
  bool LoadResults(BinaryReader& in);

 private:
  void CopyDataMembers(const StatsSet& other);
  void DeleteDataMembers();
  // Takes `criteria` as the grouping criteria (null for none).
  void UseCriteria(std::unique_ptr<Criteria> criteria);

  struct NameTable;

  // CannotFailOn for a record it has not answered yet; apart, so that the
  // answers already known cost a short call.
  bool WorkOutCannotFail(const RecordCache& cache) const;

  // The accumulator named `name`, or null.
  StatsResult* Find(const std::string& name) const;

  std::unique_ptr<Criteria> groupingCriteria;
  std::shared_ptr<const NameTable> table;  // null while there is no accumulator
  // results[i] is named table->names[i]; never null.
  std::vector<std::unique_ptr<StatsResult>> results;
  int recordsProcessed = 0;
  bool alwaysPasses = false;  // see AlwaysPasses
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_STATS_SET_H_
