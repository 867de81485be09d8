// SubsetResults: the results of one subset of a node's records.
//
// Tests each record against the subset criteria and hands the records that
// pass to one GroupingResults per grouping name (byte-wise name order; the
// empty name, no grouping spec, first).
//
// Ownership: the groupings are held by value and copied deeply. The subset
// criteria are borrowed from the first definition of the subset name; the
// host keeps its definitions alive while the engine uses them. Each object
// has its own always-pass criteria for the totals sets (never copied).
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_SUBSET_RESULTS_H_
#define STATTREE_RESULTS_SUBSET_RESULTS_H_

#include <map>
#include <memory>
#include <ostream>
#include <string>

#include "stattree/boundary/stats_record.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/export.h"
#include "stattree/results/grouping_results.h"
#include "stattree/results/named_list.h"

namespace stattree {

class BinaryReader;
class BinaryWriter;
class Criteria;
class DefinitionCopies;
class StatsDefn;

class STATTREE_EXPORT SubsetResults {
 public:
  SubsetResults();
  SubsetResults(const SubsetResults& other);
  SubsetResults& operator=(const SubsetResults& other);
  virtual ~SubsetResults();

  // Keeps the pointer (not a clone); a second call replaces it.
  bool ConfigureCriteria(Criteria* criteria);
  // A known grouping name keeps the criteria of its first definition.
  bool AddNewStatsDefn(const StatsDefn& defn);
  // A record outside the subset answers true and changes nothing.
  bool ProcessRecord(const StatsRecord& record);
  void Finalize();
  // Uses copies of the subset criteria and of the criteria sets borrowed
  // below, so that the definitions may go.
  void DetachFromDefinitions(DefinitionCopies& copies);

  // Null (no error) for an unknown name; the object keeps ownership.
  GroupingResults* GetGroupingResults(const std::string& name) const;

  void DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns);

  // Partial results, grouping by grouping (subset_results.cc, at the end);
  // both hold the same groupings.
  bool MergeFrom(const SubsetResults& later);
  void SaveResults(BinaryWriter& out) const;
  bool LoadResults(BinaryReader& in);

 private:
  void CopyDataMembers(const SubsetResults& other);
  bool MeetsSubset(const StatsRecord& record) const;

  Criteria* subsetCriteria = nullptr;     // borrowed from a definition, or ownCriteria
  std::shared_ptr<Criteria> ownCriteria;  // once the definitions may be gone
  // The subset criteria is an always-pass criteria: every record meets it.
  bool subsetAlwaysPasses = false;
  NamedList<GroupingResults> groupings;
  AlwaysPassCriteria totalsCriteria;
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_SUBSET_RESULTS_H_
