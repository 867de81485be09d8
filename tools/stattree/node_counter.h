// NodeCounter: the size of the results tree, counted by the tool as the
// records arrive, so that --max-nodes can stop a job before the engine
// grows a node too many.
//
// The engine makes one node per distinct value of a tree field under each
// parent, values being the same when their text forms are; a node whose
// value has no text is transparent and not counted, but the nodes below it
// are. The count follows that: the root, plus one per distinct path of
// text forms from the root to a node with text. Paths are kept as 64-bit
// hashes (some 40 bytes per node, against the engine's kilobytes), so a
// collision, with odds near n*n/2^65, can only undercount by one.
//
// Asking the engine instead (Stats::GetNodeCount) walks the whole tree,
// too slow per record; this costs a hash and a set look-up per tree field.
//
// Workers that count consecutive parts of one record stream on their own
// keep a journal (the paths in the order first met, each with its record);
// merged in order into one counter, the journals tell the record at which
// one counter over the whole stream would have passed a limit.
// Thread-safety: none.
#ifndef STATTREE_TOOLS_NODE_COUNTER_H_
#define STATTREE_TOOLS_NODE_COUNTER_H_

#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "stattree/boundary/variant.h"

namespace stattree {
namespace cli {

class NodeCounter {
 public:
  // `columns`: the tree fields' columns in `values`, from the root down.
  explicit NodeCounter(std::vector<int> columns, bool journal = false)
      : columns_(std::move(columns)), journal_(journal) {}

  // Counts the nodes the record `values` adds; returns the new count.
  // A column outside `values` reads as empty.
  long long Add(const std::vector<Variant>& values);
  long long GetCount() const { return 1 + static_cast<long long>(paths_.size()); }

  // The journal as bytes (empty without one).
  std::string SaveJournal() const;
  // Counts the paths of a journal saved over the records right after
  // these. With `maxNodes` above 0 it stops at the first of its records
  // that passes `maxNodes`: `passedAt` is then how many of its records came
  // before that one, else -1. False, with nothing counted, for bytes that
  // are no journal.
  bool MergeJournal(const std::string& journal, long long maxNodes, long long& passedAt);

 private:
  struct NewPath {
    std::uint64_t path;
    long long record;  // records counted before the one that brought it
  };

  std::vector<int> columns_;
  std::unordered_set<std::uint64_t> paths_;
  bool journal_;
  std::vector<NewPath> newPaths_;
  long long records_ = 0;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_NODE_COUNTER_H_
