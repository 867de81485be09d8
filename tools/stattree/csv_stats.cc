#include "tools/stattree/csv_stats.h"

#include <algorithm>
#include <memory>

#include "tools/stattree/cell_converter.h"
#include "tools/stattree/job_text.h"

namespace stattree {
namespace cli {
namespace {

// The host's own error codes, outside the library's table.
constexpr int kNoSuchColumnCode = 90101;
constexpr int kCsvReadCode = 90102;
constexpr int kNodeLimitCode = 90103;

}  // namespace

bool CsvRecord::GetValue(Variant& value, int colNum) const {
  if (colNum < 0 || static_cast<std::size_t>(colNum) >= values_.size()) {
    lastBadColumn_ = colNum;
    return false;
  }
  value = values_[static_cast<std::size_t>(colNum)];
  return true;
}

bool CsvRecord::GetError(int& code, int& second, std::string& message, bool& flag) const {
  code = kNoSuchColumnCode;
  second = 0;
  message = "no column " + std::to_string(lastBadColumn_) + " in the CSV header";
  flag = false;
  return true;
}

bool CsvStats::ColumnFlags(std::vector<bool>& used, std::vector<bool>& forceText,
                           std::string& error, const Job& job,
                           const std::vector<std::string>& header,
                           const std::vector<std::string>& textColumns) {
  forceText.assign(header.size(), false);
  for (const std::string& name : textColumns) {
    const auto it = std::find(header.begin(), header.end(), name);
    if (it == header.end()) {
      error = "unknown column \"" + name + "\"; the header has " + JobText::QuotedList(header);
      return false;
    }
    forceText[static_cast<std::size_t>(it - header.begin())] = true;
  }
  used.assign(header.size(), false);
  auto use = [&used](const ColumnRef& ref) {
    if (ref.column >= 0 && static_cast<std::size_t>(ref.column) < used.size()) {
      used[static_cast<std::size_t>(ref.column)] = true;
    }
  };
  for (const ColumnRef& ref : job.tree) use(ref);
  for (const StatisticSpec& spec : job.statistics) {
    use(spec.field);
    for (const ColumnRef& ref : spec.groupingFields) use(ref);
    for (const SubsetCondition& c : spec.where) use(c.column);
  }
  return true;
}

CsvStats::CsvStats(CsvReader& reader, CsvRecord& record, const std::vector<bool>& used,
                   const std::vector<bool>& forceText)
    : Stats(&record), reader_(reader), record_(record), used_(used), forceText_(forceText) {}

void CsvStats::SetNodeLimit(long long maxNodes, const std::vector<int>& treeColumns, bool journal) {
  maxNodes_ = maxNodes;
  nodeCounter_.reset();
  if (maxNodes > 0) nodeCounter_ = std::make_unique<NodeCounter>(treeColumns, journal);
}

bool CsvStats::Next() {
  if (recordLimit_ > 0 && records_ >= recordLimit_) return false;
  switch (reader_.ReadRow(cells_)) {
    case CsvReader::Status::Row:
      break;
    case CsvReader::Status::End:
      return false;
    case CsvReader::Status::Error:
      dataError_ = reader_.GetError();
      Stats::SetError(kCsvReadCode, 0, dataError_, false);
      return false;
  }
  std::vector<Variant>& values = record_.Values();
  // The reader guarantees the header's width; only the columns the job
  // reads are converted.
  const std::size_t columns = std::min(values.size(), cells_.size());
  if (warnings_ == nullptr) {
    for (std::size_t i = 0; i < columns; ++i) {
      if (used_[i]) CellConverter::Convert(values[i], cells_[i], forceText_[i]);
    }
  } else {
    const std::vector<bool>& audited = warnings_->Audited();
    const long long line = reader_.GetRowLine();
    for (std::size_t i = 0; i < columns; ++i) {
      if (!used_[i]) continue;
      CellConverter::Convert(values[i], cells_[i], forceText_[i]);
      if (audited[i]) warnings_->Observe(i, values[i], cells_[i], line);
    }
  }
  if (nodeCounter_ != nullptr && nodeCounter_->Add(values) > maxNodes_) {
    nodeLimitReached_ = true;
    Stats::SetError(kNodeLimitCode, 0, "the results tree reached its node limit", false);
    return false;
  }
  ++records_;
  return true;
}

}  // namespace cli
}  // namespace stattree
