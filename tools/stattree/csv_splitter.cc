#include "tools/stattree/csv_splitter.h"

#include <cstring>
#include <memory>

namespace stattree {
namespace cli {
namespace {

constexpr std::size_t kChunkBytes = 1 << 16;

enum class Cell { Start, Unquoted, Quoted, QuoteInQuoted };

// The scan's state between chunks.
class Scan {
 public:
  Scan(std::vector<CsvRange>& ranges, char delimiter, int parts, long long size,
       std::size_t maxCellBytes)
      : ranges_(ranges),
        delimiter_(delimiter),
        parts_(parts),
        size_(size),
        maxCellBytes_(maxCellBytes) {}

  // False on an irregular byte.
  bool Take(const char* data, std::size_t size);
  // False when the input ends inside a quoted cell.
  bool Finish();
  void Skip(long long bytes) { position_ += bytes; }

 private:
  void Boundary();
  void EndLine();

  std::vector<CsvRange>& ranges_;
  const char delimiter_;
  const int parts_;
  const long long size_;
  const std::size_t maxCellBytes_;

  Cell cell_ = Cell::Start;
  long long position_ = 0;  // of the byte being taken
  long long line_ = 1;
  bool afterCr_ = false;
  bool lineEnded_ = false;  // the last byte ended a line outside quotes
  bool rowHasContent_ = false;
  std::size_t cellBytes_ = 0;
  bool headerEnded_ = false;
  bool inData_ = false;  // past the header's boundary
  long long start_ = 0;
  long long startLine_ = 1;
  long long records_ = 0;  // in the range being scanned
  std::vector<long long> targets_;
  std::size_t nextTarget_ = 0;
};

void Scan::Boundary() {
  if (!inData_) {
    if (!headerEnded_) return;
    inData_ = true;
    start_ = position_;
    startLine_ = line_;
    for (int k = 1; k < parts_; ++k) targets_.push_back(start_ + k * (size_ - start_) / parts_);
    return;
  }
  if (nextTarget_ == targets_.size() || position_ < targets_[nextTarget_] || records_ == 0) return;
  ranges_.push_back({start_, position_ - start_, startLine_});
  start_ = position_;
  startLine_ = line_;
  records_ = 0;
  while (nextTarget_ < targets_.size() && targets_[nextTarget_] <= position_) ++nextTarget_;
}

void Scan::EndLine() {
  cell_ = Cell::Start;
  cellBytes_ = 0;
  lineEnded_ = true;
  if (!rowHasContent_) return;
  rowHasContent_ = false;
  if (inData_) {
    ++records_;
  } else {
    headerEnded_ = true;
  }
}

bool Scan::Take(const char* data, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i, ++position_) {
    const char c = data[i];
    if (lineEnded_ && !(afterCr_ && c == '\n')) {
      lineEnded_ = false;
      Boundary();
    }
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
    if (cellBytes_ > maxCellBytes_) return false;
  }
  return true;
}

bool Scan::Finish() {
  if (cell_ == Cell::Quoted) return false;
  if (rowHasContent_ && inData_) ++records_;
  if (!inData_) return true;
  if (records_ > 0) {
    ranges_.push_back({start_, position_ - start_, startLine_});
  } else if (!ranges_.empty()) {
    // Only blank lines after the last record: they end the last range.
    ranges_.back().length = position_ - ranges_.back().offset;
  }
  return true;
}

}  // namespace

bool CsvSplitter::Split(std::vector<CsvRange>& ranges, ByteSource& source, char delimiter,
                        int parts, std::size_t maxCellBytes) {
  ranges.clear();
  const long long size = source.GetSize();
  if (size < 0 || parts < 1) return false;
  Scan scan(ranges, delimiter, parts, size, maxCellBytes);
  std::unique_ptr<char[]> buffer(new char[kChunkBytes]);
  long long total = 0;
  bool first = true;
  for (;;) {
    const long n = source.Read(buffer.get(), kChunkBytes);
    if (n < 0) break;
    if (n == 0) {
      if (total == size && scan.Finish()) return true;
      break;
    }
    const char* data = buffer.get();
    std::size_t count = static_cast<std::size_t>(n);
    // The reader drops a byte order mark at the start; so does the scan,
    // counting its bytes all the same.
    if (first && count >= 3 && std::memcmp(data, "\xEF\xBB\xBF", 3) == 0) {
      scan.Skip(3);
      data += 3;
      count -= 3;
    }
    first = false;
    total += n;
    if (!scan.Take(data, count)) break;
  }
  ranges.clear();
  return false;
}

}  // namespace cli
}  // namespace stattree
