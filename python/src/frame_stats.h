// FrameRecord and FrameStats: the engine's host over a FrameTable.
//
// Records are the table's rows in order; the record reads its cells in
// place (FrameColumn::Read). With a node limit set, a row that would grow
// the results tree past it ends the record stream before the engine sees
// it, with the host's error set, so ProcessRecords fails (NodeCounter
// counts ahead of the engine, as the tool does).
//
// Everything is borrowed: the table outlives the engine. Thread-safety:
// none.
#ifndef STATTREE_PYTHON_FRAME_STATS_H_
#define STATTREE_PYTHON_FRAME_STATS_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "python/src/frame_table.h"
#include "stattree/stattree.h"
#include "tools/stattree/node_counter.h"
#include "tools/stattree/warning_collector.h"

namespace stattree {
namespace python {

class FrameRecord : public StatsRecord {
 public:
  explicit FrameRecord(const FrameTable& table) : table_(table) {}
  // A column outside the table or absent fails (GetError explains).
  bool GetValue(Variant& value, int colNum) const override;
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override;
  void SetRow(std::size_t row) { row_ = row; }

 private:
  const FrameTable& table_;
  std::size_t row_ = 0;
  mutable int lastBadColumn_ = 0;
};

class FrameStats : public Stats {
 public:
  static constexpr int kUnreadColumnCode = 90111;
  static constexpr int kNodeLimitCode = 90113;

  FrameStats(const FrameTable& table, FrameRecord& record);

  bool MoveToFirstRecord() override { return MoveTo(0); }
  bool MoveToNextRecord() override { return MoveTo(next_); }
  int GetRecordCount() override;

  // At most `maxNodes` nodes (0: no limit); `treeColumns` from the root
  // down. Rows are counted only when the table could make more nodes.
  void SetNodeLimit(long long maxNodes, const std::vector<int>& treeColumns);
  bool NodeLimitReached() const { return nodeLimitReached_; }
  // Borrowed; null for none. `job` is the collector's, resolved against
  // the table.
  void SetWarningCollector(cli::WarningCollector* warnings, const cli::Job& job);
  long long GetRecords() const { return static_cast<long long>(next_); }

 private:
  bool MoveTo(std::size_t row);
  void Observe(std::size_t row);
  // An upper bound of the tree's nodes over this table.
  double MaxNodes(const std::vector<int>& treeColumns) const;

  const FrameTable& table_;
  FrameRecord& record_;
  std::size_t next_ = 0;
  long long maxNodes_ = 0;
  std::vector<int> treeColumns_;
  std::vector<Variant> treeValues_;
  std::unique_ptr<cli::NodeCounter> nodeCounter_;
  bool nodeLimitReached_ = false;
  cli::WarningCollector* warnings_ = nullptr;
  // Per column: whether a number's text may serve as an example (the
  // column is compared with enumeration or subset values).
  std::vector<bool> numberText_;
  Variant cell_;
  std::string cellText_;
};

}  // namespace python
}  // namespace stattree

#endif  // STATTREE_PYTHON_FRAME_STATS_H_
