// NodeResults: every statistic of one tree node.
//
// One SubsetResults per subset name (byte-wise name order; the empty name,
// all records, first). The engine configures one prototype from its
// definitions; each node that holds statistics gets a deep copy of it.
// Records are counted only in the statistics sets below.
//
// Ownership: subsets are held by value and copied deeply; only the subset
// criteria inside them are borrowed from the definitions.
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_NODE_RESULTS_H_
#define STATTREE_RESULTS_NODE_RESULTS_H_

#include <map>
#include <ostream>
#include <string>

#include "stattree/boundary/stats_record.h"
#include "stattree/export.h"
#include "stattree/results/named_list.h"
#include "stattree/results/subset_results.h"

namespace stattree {

class BinaryReader;
class BinaryWriter;
class DefinitionCopies;
class StatsDefn;

class STATTREE_EXPORT NodeResults {
 public:
  NodeResults();
  NodeResults(const NodeResults& other);
  NodeResults& operator=(const NodeResults& other);
  virtual ~NodeResults();

  // A known subset name keeps the subset criteria of its first definition.
  bool AddNewStatsDefn(const StatsDefn& defn);
  bool ProcessRecord(const StatsRecord& record);
  void Finalize();
  // See SubsetResults::DetachFromDefinitions.
  void DetachFromDefinitions(DefinitionCopies& copies);
  // Removes every subset: as if just constructed.
  void ClearResults();

  // Null (no error) for an unknown name; the object keeps ownership.
  SubsetResults* GetSubsetResults(const std::string& name) const;

  void DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns);

  // Partial results, subset by subset (node_results.cc, at the end); both
  // hold the same subsets.
  bool MergeFrom(const NodeResults& later);
  void SaveResults(BinaryWriter& out) const;
  bool LoadResults(BinaryReader& in);

 private:
  void CopyDataMembers(const NodeResults& other);

  NamedList<SubsetResults> subsets;
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_NODE_RESULTS_H_
