// DefinitionCopies: one copy of each criteria and criteria set that a
// results tree borrows from its statistic definitions.
//
// The results of a node borrow the subset criteria and the enumeration and
// histogram criteria sets of the definitions they were configured from.
// Stats::Reset forgets the definitions but keeps the nodes; it gives them
// copies through this class, so that the host may free its old map. Every
// node that borrowed one object gets the same shared copy, so the tree
// grows by one copy per borrowed object, not per node.
//
// Thread-safety: none; used by one pass over one tree.
#ifndef STATTREE_RESULTS_DEFINITION_COPIES_H_
#define STATTREE_RESULTS_DEFINITION_COPIES_H_

#include <map>
#include <memory>

namespace stattree {

class Criteria;
class CriteriaSet;

class DefinitionCopies {
 public:
  std::shared_ptr<Criteria> CopyOf(const Criteria& criteria);
  std::shared_ptr<CriteriaSet> CopyOf(const CriteriaSet& set);

 private:
  std::map<const Criteria*, std::shared_ptr<Criteria>> criteriaCopies;
  std::map<const CriteriaSet*, std::shared_ptr<CriteriaSet>> setCopies;
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_DEFINITION_COPIES_H_
