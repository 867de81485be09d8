// CsvRecord and CsvStats: the tool's host of the engine over a CSV stream.
//
// CsvStats pulls one row at a time from a CsvReader (whose header has
// already been read), converts the cells of the columns the job reads into
// the CsvRecord's values (CellConverter rules; forced-text columns stay
// text), and hands them to the engine. A CSV fault ends the record stream
// with an error set in the library's error manager, so ProcessRecords
// fails; the host's own message is kept for the user.
//
// With a node limit set, a record that would grow the results tree past it
// ends the stream the same way, before the engine sees the record
// (NodeCounter counts ahead of the engine).
//
// A WarningCollector, when set, sees the converted cells of the columns
// it audits, in the same loop, so that warnings cost no second pass.
//
// The record count is unknown for a stream: GetRecordCount answers 0.
// Thread-safety: none.
#ifndef STATTREE_TOOLS_CSV_STATS_H_
#define STATTREE_TOOLS_CSV_STATS_H_

#include <memory>
#include <string>
#include <vector>

#include "stattree/stattree.h"
#include "tools/stattree/csv_reader.h"
#include "tools/stattree/node_counter.h"
#include "tools/stattree/warning_collector.h"

namespace stattree {
namespace cli {

class CsvRecord : public StatsRecord {
 public:
  explicit CsvRecord(std::size_t columns) : values_(columns) {}
  // A column outside the header fails (GetError explains).
  bool GetValue(Variant& value, int colNum) const override;
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override;
  std::vector<Variant>& Values() { return values_; }

 private:
  std::vector<Variant> values_;
  mutable int lastBadColumn_ = 0;
};

class CsvStats : public Stats {
 public:
  // The flags the constructor takes, for `job` resolved against `header`:
  // the columns the job reads, and those named in `textColumns`. False, with
  // `error` naming the first name missing from the header.
  static bool ColumnFlags(std::vector<bool>& used, std::vector<bool>& forceText, std::string& error,
                          const Job& job, const std::vector<std::string>& header,
                          const std::vector<std::string>& textColumns);

  // Everything is borrowed. `used` and `forceText` are per header column.
  CsvStats(CsvReader& reader, CsvRecord& record, const std::vector<bool>& used,
           const std::vector<bool>& forceText);

  bool MoveToFirstRecord() override { return Next(); }
  bool MoveToNextRecord() override { return Next(); }
  int GetRecordCount() override { return 0; }

  // At most `maxNodes` nodes (0: no limit); `treeColumns` from the root
  // down. With `journal`, the counter keeps one (NodeCounter).
  void SetNodeLimit(long long maxNodes, const std::vector<int>& treeColumns, bool journal = false);
  bool NodeLimitReached() const { return nodeLimitReached_; }
  // The nodes counted so far, the root included; 1 without a limit.
  long long GetCountedNodes() const {
    return nodeCounter_ != nullptr ? nodeCounter_->GetCount() : 1;
  }
  // The node counter's journal as bytes; empty without a limit or journal.
  std::string SaveNodeJournal() const {
    return nodeCounter_ != nullptr ? nodeCounter_->SaveJournal() : std::string();
  }

  // Shows the cells of the columns it audits to `warnings` (borrowed; may
  // be null).
  void SetWarningCollector(WarningCollector* warnings) { warnings_ = warnings; }
  // Ends the stream after `records` records (0: no limit), as if the input
  // ended there.
  void SetRecordLimit(long long records) { recordLimit_ = records; }

  long long GetRecords() const { return records_; }
  bool HasDataError() const { return !dataError_.empty(); }
  // "line 7: ..." as the reader words it.
  const std::string& GetDataError() const { return dataError_; }

 private:
  bool Next();

  CsvReader& reader_;
  CsvRecord& record_;
  const std::vector<bool>& used_;
  const std::vector<bool>& forceText_;
  std::vector<std::string> cells_;
  long long records_ = 0;
  std::string dataError_;
  long long maxNodes_ = 0;
  std::unique_ptr<NodeCounter> nodeCounter_;
  bool nodeLimitReached_ = false;
  WarningCollector* warnings_ = nullptr;
  long long recordLimit_ = 0;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_CSV_STATS_H_
