#include "stattree/results/tree_node.h"

#include <string_view>
#include <typeinfo>
#include <utility>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/criteria/single_criteria.h"
#include "stattree/results/first_match_index.h"

namespace stattree {

namespace {

constexpr int kRootCriteriaExistsCode = 11070;
constexpr int kCriteriaExistsCode = 11080;
constexpr int kLocCriteriaValue = 11100;
constexpr int kLocResultsRecord = 11110;
constexpr int kNullRecordCode = 11120;
constexpr int kLocChildTest = 11130;
constexpr int kChildIndexCode = 11140;
constexpr int kLocNameText = 11150;
constexpr int kLocEmptyName = 11152;

constexpr const char* kRootFieldName = "Root";
constexpr const char* kRootNodeName = "root";

// A node walks its children up to this many; past it, it indexes them.
constexpr std::size_t kLinearChildren = 8;

const CriteriaTerm& TermOf(const Criteria& criteria) {
  return static_cast<const SingleCriteria&>(criteria).GetTerm();
}

// The term by which a child's value can be looked up, or null: only the
// plain single "=" test is known to mean text equality of one column (any
// other kind, a subclass included, keeps the walk). `column` is the column
// of the other children's terms so far, -1 for none.
const CriteriaTerm* KeyTermOf(const Criteria& test, int column) {
  if (typeid(test) != typeid(SingleCriteria)) return nullptr;
  const CriteriaTerm& term = TermOf(test);
  if (term.op != Equal || term.column == -1 || (column != -1 && term.column != column)) {
    return nullptr;
  }
  return &term;
}

}  // namespace

// The generations of one tree's caches, shared by its nodes, so that a
// change anywhere in a tree reaches the caches of every ancestor while other
// trees (and other engines, on other threads) keep theirs.
struct TreeNode::TreeClock {
  // Bumped by every change that can alter a node's children or name; a
  // visible-children list is good only at the generation it was built at.
  std::uint64_t tree = 0;
  // Bumped when the criteria of a node that its parent has indexed may
  // change; an index is good only at the generation it was built at. Not
  // bumped while records are processed, so indexes then only grow.
  std::uint64_t index = 0;
};

struct TreeNode::ChildIndex {
  std::uint64_t generation = 0;
  std::size_t indexedChildren = 0;  // children below this position are in `keys`
  int column = -1;                  // the one column of every indexed term
  bool exact = true;                // false: some child's criteria can't be keyed
  FirstMatchIndex keys;
  // Child i's "=" value (null: no criteria yet), for scans and for the
  // keys' exact comparison without the chase through the child.
  std::vector<const Variant*> values;
};

const std::string TreeNode::sEmptyNodeName = "[no name]";

TreeNode::TreeNode() = default;

// Delegates, so that a copy failing halfway is destroyed as a node and
// releases the criteria it already holds.
TreeNode::TreeNode(const TreeNode& other) : TreeNode() { CopyDataMembers(other); }

// Nothing to bump: a node goes only with its whole tree, or through its
// parent's DeleteDataMembers or CopyDataMembers, which bump.
TreeNode::~TreeNode() = default;

void TreeNode::operator=(const TreeNode& other) {  // NOLINT(misc-unconventional-assign-operator)
  // CopyDataMembers replaces every member and reads `other` completely
  // before releasing anything, so assigning a node from one of its own
  // descendants is safe too.
  if (this != &other) CopyDataMembers(other);
}

void TreeNode::CopyDataMembers(const TreeNode& other) {
  if (this == &other) return;
  CriteriaMayChange();
  std::unique_ptr<Criteria> newCriteria(other.criteria != nullptr ? other.criteria->Clone()
                                                                  : nullptr);
  std::vector<std::unique_ptr<TreeNode>> newChildren;
  newChildren.reserve(other.children.size());
  for (const auto& child : other.children)
    newChildren.push_back(std::make_unique<TreeNode>(*child));

  criteria = std::move(newCriteria);
  results = other.results;
  field = other.field;
  parent = other.parent;
  children.swap(newChildren);  // the old children go with newChildren
  childIndex.reset();
  for (auto& child : children) {
    child->SetParent(this);
    child->JoinTree(Clock());
  }
  TreeChanged();
}

void TreeNode::DeleteDataMembers() {
  CriteriaMayChange();
  criteria.reset();
  childIndex.reset();
  children.clear();
  results.ClearResults();
  field.colNum = -1;
  field.name.clear();
  TreeChanged();
}

bool TreeNode::CreateCriteriaForAllRecords() {
  if (criteria != nullptr) return SetErrorCode(kRootCriteriaExistsCode);
  CriteriaMayChange();
  criteria = std::make_unique<AlwaysPassCriteria>();
  TreeChanged();
  return true;
}

bool TreeNode::CreateCriteria(int colNum, const StatsRecord& record) {
  if (criteria != nullptr) return SetErrorCode(kCriteriaExistsCode);
  auto single = std::make_unique<SingleCriteria>();
  CriteriaTerm term;
  term.column = colNum;
  term.op = Equal;
  single->AddNewCriteria(term);  // its answer is not needed: the value read below fails too
  CriteriaMayChange();
  criteria = std::move(single);
  // The criteria stays attached when it cannot take the record's value.
  const bool valued = criteria->SetValuesFromRecord(record);
  // After the read: a host's call made during it may have cached the
  // names without this value.
  TreeChanged();
  if (!valued) return DumpLocation(kLocCriteriaValue);
  return true;
}

bool TreeNode::InitializeResults(const NodeResults& prototype) {
  results = prototype;
  return true;
}

Criteria* TreeNode::GetCriteria() const {
  // The caller may change the node's value through it.
  TreeChanged();
  CriteriaMayChange();
  return criteria.get();
}

void TreeNode::CriteriaMayChange() const {
  if (inParentIndex) ++Clock()->index;
}

void TreeNode::TreeChanged() const { ++Clock()->tree; }

const std::shared_ptr<TreeNode::TreeClock>& TreeNode::Clock() const {
  if (clock == nullptr) clock = std::make_shared<TreeClock>();
  return clock;
}

void TreeNode::JoinTree(const std::shared_ptr<TreeClock>& treeClock) {
  if (clock == treeClock) return;
  clock = treeClock;
  // Generations of the old clock mean nothing against the new one.
  visibleGeneration = UINT64_MAX;
  childIndex.reset();
  for (auto& child : children) child->JoinTree(treeClock);
}

void TreeNode::SetField(const Field& newField) {
  field = newField;
  TreeChanged();
}

bool TreeNode::GetField(Field& out) const {
  out = field;
  return true;
}

bool TreeNode::ProcessRecord(const StatsRecord* record) {
  if (record == nullptr) {
    SetErrorCode(kNullRecordCode);
    return DumpLocation(kLocResultsRecord);
  }
  if (!results.ProcessRecord(*record)) return DumpLocation(kLocResultsRecord);
  return true;
}

void TreeNode::Finalize() { results.Finalize(); }

void TreeNode::DetachFromDefinitions(DefinitionCopies& copies) {
  results.DetachFromDefinitions(copies);
  for (auto& child : children) child->DetachFromDefinitions(copies);
}

TreeNode* TreeNode::GetParent() {
  // Empty ancestors are skipped. Walked with two pointers so that a parent
  // chain that loops (only an assignment from a node's own child makes one)
  // ends in null instead of running forever.
  TreeNode* slow = parent;
  TreeNode* fast = parent;
  while (fast != nullptr) {
    if (!fast->EmptyNode()) return fast;
    fast = fast->parent;
    if (fast == nullptr) return nullptr;
    if (!fast->EmptyNode()) return fast;
    fast = fast->parent;
    slow = slow->parent;
    if (fast == slow) return nullptr;
  }
  return nullptr;
}

bool TreeNode::CreateChild(TreeNode*& child, bool& created, const StatsRecord* record) {
  if (record == nullptr) return SetErrorCode(kNullRecordCode);
  std::size_t position = 0;
  bool found = false;
  if (FindScannedChild(position, found, *record) || FindIndexedChild(position, found, *record)) {
    if (found) {
      child = children[position].get();
      created = false;
      return true;
    }
  } else {
    // The reference walk: the index, where it decides, answers the same.
    for (auto& candidate : children) {
      Criteria* test = candidate->criteria.get();
      if (test == nullptr) continue;
      if (test->RecordMeetsCriteria(*record)) {
        child = candidate.get();
        created = false;
        return true;
      }
      // Also catches an error left set by an earlier call, on purpose.
      if (IsErrorSet()) return DumpLocation(kLocChildTest);
    }
  }
  created = true;
  TreeChanged();
  children.push_back(std::make_unique<TreeNode>());
  children.back()->SetParent(this);
  children.back()->JoinTree(Clock());
  child = children.back().get();
  return true;
}

bool TreeNode::FindScannedChild(std::size_t& position, bool& found, const StatsRecord& record) {
  // Few children, the engine's cache: the record's value is compared with
  // each child's as its "=" test would, without the calls.
  const RecordCache* cache = RecordCache::Of(record);
  if (children.size() > kLinearChildren || cache == nullptr || !cache->Enabled() || IsErrorSet()) {
    return false;
  }
  const ChildIndex* index = CurrentChildIndex();
  if (index == nullptr) return false;
  const Variant* value = cache->Peek(index->column);
  if (value == nullptr) return false;  // the walk reports the failure
  const std::uint32_t match = FirstEqualValue(*value, index->values);
  found = match != FirstMatchIndex::kNone;
  if (found) position = match;
  return true;
}

bool TreeNode::FindIndexedChild(std::size_t& position, bool& found, const StatsRecord& record) {
  // An error already set makes the walk fail at the first child that does
  // not match: only the walk reproduces that.
  if (children.size() <= kLinearChildren || IsErrorSet() || !MayLookUpByValue(record)) return false;
  ChildIndex* index = CurrentChildIndex();
  if (index == nullptr) return false;
  Variant scratch;
  // A failed read is reported by the first child's test, in the walk.
  const Variant* value = ReadColumn(record, index->column, scratch);
  if (value == nullptr || IsErrorSet()) return false;
  Variant::TextBuffer buffer;
  const std::string_view key = value->TextView(buffer);
  const std::uint32_t match =
      index->keys.Find(FirstMatchIndex::HashText(key), [&](std::uint32_t at) {
        Variant::TextBuffer childBuffer;
        return index->values[at]->TextView(childBuffer) == key;
      });
  found = match != FirstMatchIndex::kNone;
  if (found) position = match;
  return true;
}

TreeNode::ChildIndex* TreeNode::CurrentChildIndex() {
  const std::uint64_t generation = Clock()->index;
  if (childIndex == nullptr || childIndex->generation != generation) {
    childIndex = std::make_unique<ChildIndex>();
    childIndex->generation = generation;
  }
  ChildIndex& index = *childIndex;
  if (!index.exact) return nullptr;
  for (; index.indexedChildren < children.size(); ++index.indexedChildren) {
    TreeNode& candidate = *children[index.indexedChildren];
    // From here on a change to its criteria drops the index, also for a
    // child that has none yet (the walk skips it; it may get one later).
    candidate.inParentIndex = true;
    if (candidate.criteria == nullptr) {
      index.values.push_back(nullptr);
      continue;
    }
    const CriteriaTerm* term = KeyTermOf(*candidate.criteria, index.column);
    if (term == nullptr) {
      index.exact = false;
      index.keys.Clear();
      std::vector<const Variant*>().swap(index.values);
      return nullptr;
    }
    index.column = term->column;
    index.values.push_back(&term->value);
    Variant::TextBuffer buffer;
    const std::string_view key = term->value.TextView(buffer);
    const auto at = static_cast<std::uint32_t>(index.indexedChildren);
    index.keys.Insert(FirstMatchIndex::HashText(key), at, [&](std::uint32_t other) {
      Variant::TextBuffer otherBuffer;
      return TermOf(*children[other]->criteria).value.TextView(otherBuffer) == key;
    });
  }
  // Only children without criteria so far: nothing to read the record by.
  if (index.column == -1) return nullptr;
  return &index;
}

bool TreeNode::FindIthChild(TreeNode*& child, int& counter, int index) {
  for (auto& candidate : children) {
    if (candidate->EmptyNode()) {
      if (candidate->FindIthChild(child, counter, index)) return true;
      continue;
    }
    if (counter == index) {
      child = candidate.get();
      return true;
    }
    ++counter;
  }
  return false;
}

bool TreeNode::ProbeEmpty(bool& empty) const {
  if (field.name == kRootFieldName) {
    empty = false;
    return true;
  }
  std::string text;
  if (criteria == nullptr || !criteria->GetCriteriaText(text, 0, false)) return false;
  empty = text.empty() || text == sEmptyNodeName;
  return true;
}

bool TreeNode::CollectVisibleChildren(std::vector<TreeNode*>& out) const {
  for (const auto& child : children) {
    bool empty = false;
    if (!child->ProbeEmpty(empty)) return false;
    if (!empty) {
      out.push_back(child.get());
    } else if (!child->CollectVisibleChildren(out)) {
      return false;
    }
  }
  return true;
}

const std::vector<TreeNode*>* TreeNode::VisibleChildren() {
  const std::uint64_t generation = Clock()->tree;
  if (visibleGeneration != generation) {
    visibleChildren.clear();
    if (!CollectVisibleChildren(visibleChildren)) {
      visibleGeneration = UINT64_MAX;
      return nullptr;
    }
    visibleGeneration = generation;
  }
  return &visibleChildren;
}

bool TreeNode::GetChild(TreeNode*& child, int index) {
  if (index >= 0) {
    if (const std::vector<TreeNode*>* visible = VisibleChildren()) {
      if (static_cast<size_t>(index) < visible->size()) {
        child = (*visible)[static_cast<size_t>(index)];
        return true;
      }
    } else {
      int counter = 0;
      if (FindIthChild(child, counter, index)) return true;
    }
  }
  return SetErrorCode(kChildIndexCode);
}

int TreeNode::GetChildCount() {
  if (const std::vector<TreeNode*>* visible = VisibleChildren()) {
    return static_cast<int>(visible->size());
  }
  int count = 0;
  for (auto& child : children) count += child->EmptyNode() ? child->GetChildCount() : 1;
  return count;
}

bool TreeNode::GetName(std::string& name) const {
  if (field.name == kRootFieldName) {
    name = kRootNodeName;
    return true;
  }
  if (criteria != nullptr && criteria->GetCriteriaText(name, 0, false)) {
    if (name.empty()) name = sEmptyNodeName;
    return true;
  }
  return DumpLocation(kLocNameText);
}

bool TreeNode::EmptyNode() {
  std::string name;
  if (!GetName(name)) {
    DumpLocation(kLocEmptyName);
    return true;  // a node that cannot be named counts as empty
  }
  return name == sEmptyNodeName;
}

SubsetResults* TreeNode::GetSubsetResults(const std::string& name) const {
  return results.GetSubsetResults(name);
}

void TreeNode::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  results.DumpObject(os, defns);
}

// Unlike GetCriteria, reading the term leaves the indexes and caches alone.
bool TreeNode::GetValueTerm(CriteriaTerm& term) const {
  return criteria != nullptr && criteria->GetCriteriaCount() >= 1 && criteria->GetCriteria(term, 0);
}

}  // namespace stattree
