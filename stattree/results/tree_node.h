// TreeNode: one node of the results tree.
//
// The root accepts every record; every other node stands for one value of
// the tree field of its level and holds a criteria that recognises the
// records carrying it. Each non-empty node keeps its own statistics
// (NodeResults). A node whose value has no text is empty: records pass
// through it, it holds no statistics, and navigation skips it, so that its
// children appear in its place as children of its nearest non-empty
// ancestor (GetChildCount, GetChild, GetParent).
//
// Visible children are cached per node and rebuilt on demand after any
// change to any node of its tree (children appended, criteria, fields,
// copies), so that
// walking all visible children costs linear time; a node below that cannot
// be named is never cached and is reported on every walk. The criteria that
// GetCriteria hands out are meant to be read: changing one later leaves the
// names cached until the next change to a node.
//
// CreateChild keeps an index of the children's values (hashed by their
// text once a node has more than a few children), so that a record finds
// its child without a test per sibling. The index answers exactly what the walk in creation
// order would, and is used only when that is provable: every child with a
// criteria holds a plain single "=" term on one column, no error is set and
// the record's value reads without one; otherwise the walk runs. It is
// dropped whenever a child's criteria may change (GetCriteria, copies,
// clearing); the same caveat as above holds for criteria changed later
// through a pointer kept from GetCriteria.
//
// Ownership: a node owns its criteria, its results and its children, and
// points at its parent. Children are held through owning pointers, so a
// node's address never changes while the tree grows: pointers obtained from
// CreateChild or GetChild stay valid for the node's lifetime. Children keep
// their creation order (new ones are appended); copies are deep and the
// children of a copy point at the copy, while the copy keeps the source's
// parent.
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_TREE_NODE_H_
#define STATTREE_RESULTS_TREE_NODE_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "stattree/boundary/field.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/export.h"
#include "stattree/results/node_results.h"

namespace stattree {

class Criteria;
struct CriteriaTerm;
class DefinitionCopies;
class StatsDefn;

class STATTREE_EXPORT TreeNode {
 public:
  // "[no name]": the name of every empty node.
  static const std::string sEmptyNodeName;

  TreeNode();
  TreeNode(const TreeNode& other);
  virtual ~TreeNode();
  // Deep copy; assigning a node to itself does nothing. Returns nothing.
  void operator=(const TreeNode& other);  // NOLINT(misc-unconventional-assign-operator)

  void CopyDataMembers(const TreeNode& other);
  // Drops criteria, children and results and clears the field; the parent
  // pointer stays.
  void DeleteDataMembers();

  // The root's criteria: accepts every record.
  bool CreateCriteriaForAllRecords();
  // A single "=" term on `colNum` holding the record's value there.
  bool CreateCriteria(int colNum, const StatsRecord& record);
  Criteria* GetCriteria() const;

  bool InitializeResults(const NodeResults& prototype);
  void SetField(const Field& newField);
  bool GetField(Field& out) const;

  // A null record is refused (code 11120, location 11110).
  bool ProcessRecord(const StatsRecord* record);
  void Finalize();
  // This node's results and every descendant's stop borrowing from the
  // statistic definitions (see DefinitionCopies).
  void DetachFromDefinitions(DefinitionCopies& copies);

  void SetParent(TreeNode* newParent) { parent = newParent; }
  // The nearest non-empty ancestor; null for the root.
  TreeNode* GetParent();

  // Finds the first child (creation order) whose criteria the record meets,
  // or appends a new bare child (no criteria, field or results) and sets
  // `created`.
  bool CreateChild(TreeNode*& child, bool& created, const StatsRecord* record);
  // The index-th visible child; `child` is left as it was on failure.
  bool GetChild(TreeNode*& child, int index);
  // Visible children: empty children are replaced by their own visible
  // children, recursively.
  int GetChildCount();

  // "root" for the node whose field is named "Root", else the value's text,
  // or sEmptyNodeName when that text is empty.
  bool GetName(std::string& name) const;
  // Also true for a node that cannot be named.
  bool EmptyNode();

  SubsetResults* GetSubsetResults(const std::string& name) const;

  // The node's results only: no name, no children.
  void DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns);

  // Partial results (Stats::Merge and their binary form): the children in
  // creation order, empty ones included; the value a child stands for (the
  // term of its criteria; false without one); the node's results.
  std::size_t GetCreatedChildCount() const { return children.size(); }
  const TreeNode& GetCreatedChild(std::size_t index) const { return *children[index]; }
  bool GetValueTerm(CriteriaTerm& term) const;
  NodeResults& GetNodeResults() { return results; }
  const NodeResults& GetNodeResults() const { return results; }

 private:
  bool FindIthChild(TreeNode*& child, int& counter, int index);
  // Whether the node is empty, without reporting; false when it can't be
  // named.
  bool ProbeEmpty(bool& empty) const;
  bool CollectVisibleChildren(std::vector<TreeNode*>& out) const;
  // The cached visible children, or null when a node below can't be named.
  const std::vector<TreeNode*>* VisibleChildren();

  // As FindIndexedChild, for a few children: by comparing values, unhashed.
  bool FindScannedChild(std::size_t& position, bool& found, const StatsRecord& record);

  struct ChildIndex;
  // Sets `found`, and `position` when found, from the index; false when the
  // index can't decide and the walk must run.
  bool FindIndexedChild(std::size_t& position, bool& found, const StatsRecord& record);
  // The index brought up to date with the children, or null when it can't
  // be exact for them.
  ChildIndex* CurrentChildIndex();
  struct TreeClock;
  // Called before this node's criteria may change.
  void CriteriaMayChange() const;
  // Called on every change that can alter a node's children or name.
  void TreeChanged() const;
  // This node's tree's clock, made on first need.
  const std::shared_ptr<TreeClock>& Clock() const;
  // This node and its descendants share `treeClock` from now on.
  void JoinTree(const std::shared_ptr<TreeClock>& treeClock);

  std::unique_ptr<Criteria> criteria;
  NodeResults results;
  Field field;
  TreeNode* parent = nullptr;  // not owned
  std::vector<std::unique_ptr<TreeNode>> children;
  // Shared with every node of the tree: a child joins its parent's.
  mutable std::shared_ptr<TreeClock> clock;
  std::vector<TreeNode*> visibleChildren;  // valid at visibleGeneration only
  std::uint64_t visibleGeneration = UINT64_MAX;
  // Built lazily past a few children: most nodes never have one.
  std::unique_ptr<ChildIndex> childIndex;
  // Set by the parent when this node's criteria became one of its index's
  // keys (or was skipped as missing): changing it then drops the indexes.
  bool inParentIndex = false;
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_TREE_NODE_H_
