#include "tools/stattree/csv_scanner.h"

#include <initializer_list>

namespace stattree {
namespace cli {
namespace {

constexpr char kMark[] = "\xEF\xBB\xBF";
constexpr int kMarkBytes = 3;

}  // namespace

CsvScanner::CsvScanner(char delimiter, std::size_t maxCellBytes)
    : delimiter_(delimiter), maxCellBytes_(maxCellBytes) {
  for (const char c : {'"', '\n', '\r', delimiter}) special_[static_cast<unsigned char>(c)] = true;
}

void CsvScanner::EndLine() {
  cell_ = Cell::Start;
  cellBytes_ = 0;
  lineEnded_ = true;
  if (!rowHasContent_) return;
  rowHasContent_ = false;
  ++rows_;
}

bool CsvScanner::Follow(char c) {
  const bool lineByte = c == '\n' || c == '\r';
  if (lineByte && !(afterCr_ && c == '\n')) ++line_;
  afterCr_ = c == '\r';
  if (!lineByte) rowHasContent_ = true;
  switch (cell_) {
    case Cell::Start:
      if (c == '"') {
        cell_ = Cell::Quoted;
      } else if (lineByte) {
        EndLine();
      } else if (c != delimiter_) {
        cell_ = Cell::Unquoted;
        cellBytes_ = 1;
      }
      break;
    case Cell::Unquoted:
      if (c == '"') return false;
      if (lineByte) {
        EndLine();
      } else if (c == delimiter_) {
        cell_ = Cell::Start;
        cellBytes_ = 0;
      } else {
        ++cellBytes_;
      }
      break;
    case Cell::Quoted:
      if (c == '"') {
        cell_ = Cell::QuoteInQuoted;
      } else {
        ++cellBytes_;
      }
      break;
    case Cell::QuoteInQuoted:
      if (c == '"') {
        cell_ = Cell::Quoted;
        ++cellBytes_;
      } else if (lineByte) {
        EndLine();
      } else if (c == delimiter_) {
        cell_ = Cell::Start;
        cellBytes_ = 0;
      } else {
        return false;
      }
      break;
  }
  return cellBytes_ <= maxCellBytes_;
}

bool CsvScanner::FollowMarkAsData() {
  const int matched = markMatched_;
  markMatched_ = -1;
  for (int k = 0; k < matched; ++k) {
    if (!Follow(kMark[k])) return false;
  }
  return true;
}

CsvScanner::Step CsvScanner::Take(const char* data, std::size_t size, long long cutAt,
                                  std::size_t& taken) {
  taken = 0;
  if (irregular_) return Step::Irregular;
  const long long start = position_;  // of data[0]
  std::size_t i = 0;
  // The reader drops the mark; bytes that turn out to be no mark are data.
  while (markMatched_ >= 0 && i < size) {
    if (data[i] == kMark[markMatched_]) {
      ++i;
      if (++markMatched_ == kMarkBytes) markMatched_ = -1;
    } else if (!FollowMarkAsData()) {
      return Stop(Step::Irregular, i, taken);
    }
  }
  while (i < size) {
    if (lineEnded_ && !(afterCr_ && data[i] == '\n')) {
      lineEnded_ = false;
      if (start + static_cast<long long>(i) >= cutAt && rows_ > 0) {
        rows_ = 0;
        position_ = start + static_cast<long long>(i);
        return Stop(Step::Cut, i, taken);
      }
    }
    // Most bytes are none of the four the state turns on.
    std::size_t end = i;
    while (end < size && !special_[static_cast<unsigned char>(data[end])]) ++end;
    if (end > i) {
      if (cell_ == Cell::QuoteInQuoted) return Stop(Step::Irregular, i, taken);
      if (cell_ == Cell::Start) {
        cell_ = Cell::Unquoted;
        cellBytes_ = 0;
      }
      cellBytes_ += end - i;
      rowHasContent_ = true;
      afterCr_ = false;
      if (cellBytes_ > maxCellBytes_) return Stop(Step::Irregular, i, taken);
      i = end;
    } else {
      if (!Follow(data[i])) return Stop(Step::Irregular, i, taken);
      ++i;
    }
  }
  position_ = start + static_cast<long long>(size);
  return Stop(Step::More, size, taken);
}

CsvScanner::Step CsvScanner::Stop(Step step, std::size_t at, std::size_t& taken) {
  taken = at;
  if (step == Step::Irregular) irregular_ = true;
  return step;
}

bool CsvScanner::Finish() {
  if (irregular_ || (markMatched_ > 0 && !FollowMarkAsData()) || cell_ == Cell::Quoted) {
    irregular_ = true;
    return false;
  }
  if (rowHasContent_) {
    rowHasContent_ = false;
    ++rows_;
  }
  return true;
}

}  // namespace cli
}  // namespace stattree
