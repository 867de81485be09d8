// CsvReader: streams the rows of an RFC 4180 CSV text, one at a time.
//
// The first row is the header; every later row must have as many cells.
// Cells may be quoted ("a ""b"", c"), quoted cells may hold separators and
// line breaks, lines may end in LF, CRLF or CR, blank lines are ignored, a
// leading UTF-8 byte order mark is dropped, and spaces are kept as they
// are. Memory stays bounded by the longest row: rows are handed out as
// they are parsed.
//
// A faulty row (wrong number of cells, a quote inside an unquoted cell or
// text after a closing quote, a quote never closed, a cell longer than the
// limit) ends reading with an error naming the line where the row starts,
// or, with `skipBadRows`, is skipped and counted; reading resumes at the
// next line. Lines are counted by LF, CRLF and lone CR alike, inside quoted
// cells too.
//
// A part of a file may be read without its header (Options::headerCells).
//
// Thread-safety: none.
#ifndef STATTREE_TOOLS_CSV_READER_H_
#define STATTREE_TOOLS_CSV_READER_H_

#include <csv.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tools/stattree/byte_source.h"

namespace stattree {
namespace cli {

class CsvReader {
 public:
  struct Options {
    char delimiter = ',';
    bool skipBadRows = false;
    std::size_t maxCellBytes = std::size_t{1} << 20;
    std::size_t maxColumns = 100000;
    // For a part of a file that starts at a record boundary after the
    // header: with a count of cells (0 or more), there is no header, every
    // row must have that many cells, lines are numbered from `firstLine`,
    // and a byte order mark at the start is data, as it is mid-file.
    long long headerCells = -1;
    long long firstLine = 1;
  };
  enum class Status { Row, End, Error };

  // `source` is borrowed and must outlive the reader.
  CsvReader(ByteSource& source, const Options& options);
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;
  ~CsvReader();

  // The first call yields the header (unless the options say there is none). `cells` is replaced
  // (its storage is recycled by the reader). After Error or End every call answers the same.
  Status ReadRow(std::vector<std::string>& cells);

  // Line (from 1) where the last row handed out starts.
  long long GetRowLine() const { return lastRowLine_; }
  long long GetSkippedRows() const { return skippedRows_; }
  long long GetBytesRead() const { return bytesRead_; }
  // Without a file name: "line 7: ...".
  const std::string& GetError() const { return error_; }

 private:
  struct Row {
    std::vector<std::string> cells;
    long long line = 0;
  };

  static void OnCell(void* data, std::size_t size, void* self);
  static void OnRowEnd(int terminator, void* self);
  void AddCell(const char* data, std::size_t size);
  void EndRow();
  bool Fill();
  void Feed(const char* data, std::size_t size);
  void Finish();
  // A faulty row: fails, or with skipBadRows counts it.
  void BadRow(const std::string& message);
  void ResetParser();
  std::string AtLine(long long line) const;

  ByteSource& source_;
  Options options_;
  csv_parser parser_;
  std::unique_ptr<char[]> buffer_;

  std::vector<std::string> current_;
  std::size_t cellCount_ = 0;
  std::vector<Row> ready_;
  std::size_t readyHead_ = 0;
  std::size_t readyCount_ = 0;

  long long expectedCells_ = -1;  // -1 until the header is read
  long long line_ = 1;            // line of the bytes being fed
  long long rowLine_ = 1;         // line where the row being parsed starts
  bool rowPending_ = true;        // the next non-blank byte starts a row
  bool afterCr_ = false;          // the last byte fed was a CR
  bool skippingLine_ = false;     // resynchronising after a bad row
  long long lastRowLine_ = 0;
  long long skippedRows_ = 0;
  long long bytesRead_ = 0;
  // Bytes of a leading UTF-8 byte order mark matched so far; -1 once decided.
  int bomMatched_ = 0;
  bool eof_ = false;
  bool failed_ = false;
  std::string error_;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_CSV_READER_H_
