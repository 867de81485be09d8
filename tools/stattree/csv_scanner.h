// CsvScanner: follows a CSV text's quoting byte by byte, the way CsvReader
// reads it, to find record boundaries without parsing cells: places where
// the text can be cut so that each part, read on its own without the
// header, gives the rows, lines and errors that one reader gives.
//
// A quote opens a quoted cell only at a cell's start; quoted cells may
// hold delimiters and line breaks. Lines are counted as the reader counts
// them (LF, CRLF and a lone CR, inside quotes too). A boundary lies right
// after a line end outside quotes, never between a CR and its LF. A
// leading UTF-8 byte order mark is skipped (its bytes still count in the
// positions), even when it arrives over several calls.
//
// The reader resynchronises after some faults at the next line end, which
// may lie inside quotes; so at such a fault (a quote inside an unquoted
// cell, text after a closing quote, a quote never closed, a cell longer
// than the reader takes) the scan stops: no later boundary is trusted.
//
// Thread-safety: none.
#ifndef STATTREE_TOOLS_CSV_SCANNER_H_
#define STATTREE_TOOLS_CSV_SCANNER_H_

#include <cstddef>

namespace stattree {
namespace cli {

class CsvScanner {
 public:
  enum class Step {
    More,       // all the bytes were followed
    Cut,        // stopped at a boundary: a new part starts at GetPosition()
    Irregular,  // a fault; every later call answers the same
  };

  CsvScanner(char delimiter, std::size_t maxCellBytes);

  // Follows `data`, the text's next bytes, up to the first boundary at or
  // after byte `cutAt` of the text that ends a part holding a row (a line
  // with content; the first is the header). `taken` tells how many bytes
  // were followed; the rest is for the next call.
  Step Take(const char* data, std::size_t size, long long cutAt, std::size_t& taken);
  // At the text's end: false when it ends inside a quoted cell or after a
  // fault. A last row without a line end counts in GetRows.
  bool Finish();

  long long GetPosition() const { return position_; }
  // The line (from 1) of the next byte.
  long long GetLine() const { return line_; }
  // Rows ended in the current part.
  long long GetRows() const { return rows_; }

 private:
  enum class Cell { Start, Unquoted, Quoted, QuoteInQuoted };

  // False on a fault.
  bool Follow(char c);
  void EndLine();
  // Follows the bytes of a partly matched byte order mark as data.
  bool FollowMarkAsData();
  Step Stop(Step step, std::size_t at, std::size_t& taken);

  const char delimiter_;
  const std::size_t maxCellBytes_;
  bool special_[256] = {};  // the quote, the delimiter, CR and LF

  Cell cell_ = Cell::Start;
  long long position_ = 0;  // of the next byte, once a call returns
  long long line_ = 1;
  bool afterCr_ = false;
  bool lineEnded_ = false;  // the last byte ended a line outside quotes
  bool rowHasContent_ = false;
  std::size_t cellBytes_ = 0;
  long long rows_ = 0;
  int markMatched_ = 0;  // bytes of a leading byte order mark; -1 once decided
  bool irregular_ = false;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_CSV_SCANNER_H_
