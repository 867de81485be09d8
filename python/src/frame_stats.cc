#include "python/src/frame_stats.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace stattree {
namespace python {

bool FrameRecord::GetValue(Variant& value, int colNum) const {
  if (colNum < 0 || static_cast<std::size_t>(colNum) >= table_.columns.size() ||
      !table_.columns[static_cast<std::size_t>(colNum)].Read(value, row_)) {
    lastBadColumn_ = colNum;
    return false;
  }
  return true;
}

bool FrameRecord::GetError(int& code, int& second, std::string& message, bool& flag) const {
  code = FrameStats::kUnreadColumnCode;
  second = 0;
  message = "column " + std::to_string(lastBadColumn_) + " of the DataFrame was not converted";
  flag = false;
  return true;
}

FrameStats::FrameStats(const FrameTable& table, FrameRecord& record)
    : Stats(&record), table_(table), record_(record) {}

int FrameStats::GetRecordCount() {
  // Only the progress total; the rows themselves are not limited.
  constexpr std::size_t kMax = static_cast<std::size_t>(std::numeric_limits<int>::max());
  return static_cast<int>(table_.rows < kMax ? table_.rows : kMax);
}

void FrameStats::SetWarningCollector(cli::WarningCollector* warnings, const cli::Job& job) {
  warnings_ = warnings;
  numberText_.assign(table_.columns.size(), false);
  auto compared = [this](const cli::ColumnRef& ref) {
    if (ref.column >= 0 && static_cast<std::size_t>(ref.column) < numberText_.size()) {
      numberText_[static_cast<std::size_t>(ref.column)] = true;
    }
  };
  for (const cli::StatisticSpec& spec : job.statistics) {
    if (spec.hasValues) compared(spec.field);
    for (const cli::SubsetCondition& condition : spec.where) compared(condition.column);
  }
}

void FrameStats::Observe(std::size_t row) {
  static const std::string kNoText;
  const std::vector<bool>& audited = warnings_->Audited();
  const long long line = static_cast<long long>(row) + 2;
  for (std::size_t i = 0; i < audited.size() && i < table_.columns.size(); ++i) {
    if (!audited[i] || !table_.columns[i].Read(cell_, row)) continue;
    if (cell_.IsText()) {
      warnings_->Observe(i, cell_, cell_.GetText(), line);
    } else if (cell_.IsNumber() && numberText_[i]) {
      cellText_ = cell_.ToString();
      warnings_->Observe(i, cell_, cellText_, line);
    } else {
      warnings_->Observe(i, cell_, kNoText, line);
    }
  }
}

double FrameStats::MaxNodes(const std::vector<int>& treeColumns) const {
  // Each level has at most one node per distinct path of values down to
  // it: no more than the rows, nor than the product of the levels' value
  // counts, which categoricals know (plus one for the empty value).
  double nodes = 1;
  double paths = 1;
  const double rows = static_cast<double>(table_.rows);
  for (const int column : treeColumns) {
    double values = rows;
    if (column >= 0 && static_cast<std::size_t>(column) < table_.columns.size()) {
      const FrameColumn& c = table_.columns[static_cast<std::size_t>(column)];
      if (c.kind == FrameColumn::Kind::Codes) values = static_cast<double>(c.dictionary.size() + 1);
    }
    paths = std::min(rows, paths * values);
    nodes += paths;
  }
  return nodes;
}

void FrameStats::SetNodeLimit(long long maxNodes, const std::vector<int>& treeColumns) {
  maxNodes_ = maxNodes;
  treeColumns_ = treeColumns;
  treeValues_.assign(treeColumns.size(), Variant());
  nodeCounter_.reset();
  if (maxNodes <= 0 || MaxNodes(treeColumns) <= static_cast<double>(maxNodes)) return;
  std::vector<int> positions(treeColumns.size());
  std::iota(positions.begin(), positions.end(), 0);
  nodeCounter_ = std::make_unique<cli::NodeCounter>(positions);
}

bool FrameStats::MoveTo(std::size_t row) {
  if (row >= table_.rows) return false;
  if (nodeCounter_ != nullptr) {
    for (std::size_t i = 0; i < treeColumns_.size(); ++i) {
      const int column = treeColumns_[i];
      // An unreadable tree column fails in the engine, with its error.
      if (column < 0 || static_cast<std::size_t>(column) >= table_.columns.size() ||
          !table_.columns[static_cast<std::size_t>(column)].Read(treeValues_[i], row)) {
        treeValues_[i].SetEmpty();
      }
    }
    if (nodeCounter_->Add(treeValues_) > maxNodes_) {
      nodeLimitReached_ = true;
      Stats::SetError(kNodeLimitCode, 0, "the results tree reached its node limit", false);
      return false;
    }
  }
  if (warnings_ != nullptr) Observe(row);
  record_.SetRow(row);
  next_ = row + 1;
  return true;
}

}  // namespace python
}  // namespace stattree
