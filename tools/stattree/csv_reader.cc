#include "tools/stattree/csv_reader.h"

#include <cstring>
#include <utility>

namespace stattree {
namespace cli {
namespace {

constexpr std::size_t kChunkBytes = 1 << 16;
constexpr std::size_t kParserBlockBytes = 4096;

// Spaces are part of a cell (libcsv would trim them by default).
int NoSpace(unsigned char) { return 0; }

// The first `c` in [begin, end), or end.
const char* Find(const char* begin, const char* end, char c) {
  const void* found = std::memchr(begin, c, static_cast<std::size_t>(end - begin));
  return found != nullptr ? static_cast<const char*>(found) : end;
}

bool IsBlankLine(const char* data, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] != '\r' && data[i] != '\n') return false;
  }
  return true;
}

}  // namespace

CsvReader::CsvReader(ByteSource& source, const Options& options)
    : source_(source), options_(options), buffer_(new char[kChunkBytes]) {
  csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
  ResetParser();
  if (options_.headerCells >= 0) {
    expectedCells_ = options_.headerCells;
    line_ = rowLine_ = options_.firstLine;
    bomMatched_ = -1;
  }
}

CsvReader::~CsvReader() { csv_free(&parser_); }

void CsvReader::ResetParser() {
  csv_free(&parser_);
  csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
  csv_set_delim(&parser_, static_cast<unsigned char>(options_.delimiter));
  csv_set_space_func(&parser_, NoSpace);
  csv_set_blk_size(&parser_, kParserBlockBytes);
  cellCount_ = 0;
}

std::string CsvReader::AtLine(long long line) const {
  return "line " + std::to_string(line) + ": ";
}

void CsvReader::OnCell(void* data, std::size_t size, void* self) {
  static_cast<CsvReader*>(self)->AddCell(static_cast<const char*>(data), size);
}

void CsvReader::OnRowEnd(int, void* self) { static_cast<CsvReader*>(self)->EndRow(); }

void CsvReader::AddCell(const char* data, std::size_t size) {
  if (failed_) return;
  if (expectedCells_ < 0 && cellCount_ >= options_.maxColumns) {
    failed_ = true;
    error_ = AtLine(rowLine_) + "the header has more than " + std::to_string(options_.maxColumns) +
             " columns";
    return;
  }
  // A row wider than the header is refused anyway: past one extra cell
  // only the count matters, so a runaway row can't grow memory.
  const bool keep = expectedCells_ < 0 || cellCount_ <= static_cast<std::size_t>(expectedCells_);
  if (keep) {
    if (cellCount_ < current_.size()) {
      current_[cellCount_].assign(data == nullptr ? "" : data, data == nullptr ? 0 : size);
    } else {
      current_.emplace_back(data == nullptr ? "" : data, data == nullptr ? 0 : size);
    }
  }
  ++cellCount_;
}

void CsvReader::EndRow() {
  if (failed_) return;
  const std::size_t count = cellCount_;
  cellCount_ = 0;
  rowPending_ = true;
  if (expectedCells_ >= 0 && count != static_cast<std::size_t>(expectedCells_)) {
    BadRow(AtLine(rowLine_) + "the row has " + std::to_string(count) +
           (count == 1 ? " cell" : " cells") + ", the header has " +
           std::to_string(expectedCells_));
    return;
  }
  if (expectedCells_ < 0) expectedCells_ = static_cast<long long>(count);
  if (readyCount_ == ready_.size()) ready_.emplace_back();
  Row& row = ready_[readyCount_++];
  current_.resize(count);
  std::swap(row.cells, current_);
  row.line = rowLine_;
}

void CsvReader::BadRow(const std::string& message) {
  if (options_.skipBadRows && expectedCells_ >= 0) {
    ++skippedRows_;
    return;
  }
  failed_ = true;
  error_ = message;
}

void CsvReader::Feed(const char* data, std::size_t size) {
  const bool endsLine = size > 0 && (data[size - 1] == '\n' || data[size - 1] == '\r');
  if (skippingLine_) {
    if (endsLine) skippingLine_ = false;
    return;
  }
  if (rowPending_ && !IsBlankLine(data, size)) {
    rowLine_ = line_;
    rowPending_ = false;
  }
  const std::size_t done = csv_parse(&parser_, data, size, OnCell, OnRowEnd, this);
  if (failed_) return;
  std::string fault;
  if (done < size || csv_error(&parser_) != CSV_SUCCESS) {
    fault = csv_error(&parser_) == CSV_ENOMEM || csv_error(&parser_) == CSV_ETOOBIG
                ? "a cell is too large to hold in memory"
                : "malformed quoting (a quote inside an unquoted cell, or text after a closing "
                  "quote; quote the whole cell and double inner quotes)";
  } else if (parser_.entry_pos > options_.maxCellBytes) {  // the cell parsed so far
    fault = "a cell is longer than " + std::to_string(options_.maxCellBytes) +
            " bytes (is a quote left open?)";
  }
  if (fault.empty()) return;
  BadRow(AtLine(rowLine_) + fault);
  if (failed_) return;
  // Resynchronise at the next line: drop this row and its unparsed rest.
  ResetParser();
  rowPending_ = true;
  skippingLine_ = !endsLine;
}

void CsvReader::Finish() {
  eof_ = true;
  if (skippingLine_ || failed_) return;
  if (csv_fini(&parser_, OnCell, OnRowEnd, this) != 0 && !failed_) {
    BadRow(AtLine(rowLine_) +
           "unterminated quote: the quoted cell opened in this row never closes");
  }
}

bool CsvReader::Fill() {
  const long n = source_.Read(buffer_.get(), kChunkBytes);
  if (n < 0) {
    failed_ = true;
    error_ = "read error: " + source_.GetError();
    return false;
  }
  static constexpr char kBom[] = "\xEF\xBB\xBF";
  if (n == 0) {
    // A mark cut short by the end of the input was data after all.
    if (bomMatched_ > 0) Feed(kBom, static_cast<std::size_t>(bomMatched_));
    bomMatched_ = -1;
    Finish();
    return false;
  }
  const char* begin = buffer_.get();
  const char* end = begin + n;
  // The mark may arrive split over several reads (a pipe), so it is matched
  // byte by byte and given back when the input turns out to be no mark.
  while (bomMatched_ >= 0 && bomMatched_ < 3 && begin < end) {
    if (*begin != kBom[bomMatched_]) {
      if (bomMatched_ > 0) Feed(kBom, static_cast<std::size_t>(bomMatched_));
      bomMatched_ = -1;
      break;
    }
    ++begin;
    ++bomMatched_;
  }
  if (bomMatched_ == 3) bomMatched_ = -1;
  bytesRead_ += n;
  // The next LF is looked up once for all the CRs before it, so that
  // neither kind of file is scanned more than twice.
  const char* nextLf = Find(begin, end, '\n');
  while (begin < end && !failed_) {
    // The LF of a CRLF split over two reads: the CR counted the line.
    const bool splitCrlf = afterCr_ && *begin == '\n';
    if (!splitCrlf && nextLf < begin) nextLf = Find(begin, end, '\n');
    const char* segmentEnd = splitCrlf ? begin : Find(begin, nextLf, '\r');
    const bool endsLine = !splitCrlf && segmentEnd < end;
    if (segmentEnd < end) {
      const bool crlf = *segmentEnd == '\r' && segmentEnd + 1 < end && segmentEnd[1] == '\n';
      segmentEnd += crlf ? 2 : 1;
    }
    afterCr_ = segmentEnd[-1] == '\r';
    Feed(begin, static_cast<std::size_t>(segmentEnd - begin));
    if (endsLine) ++line_;
    begin = segmentEnd;
  }
  return true;
}

CsvReader::Status CsvReader::ReadRow(std::vector<std::string>& cells) {
  while (readyHead_ == readyCount_) {
    readyHead_ = 0;
    readyCount_ = 0;
    if (failed_) return Status::Error;
    if (eof_) return Status::End;
    Fill();
  }
  Row& row = ready_[readyHead_++];
  std::swap(cells, row.cells);
  lastRowLine_ = row.line;
  return Status::Row;
}

}  // namespace cli
}  // namespace stattree
