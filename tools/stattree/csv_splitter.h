// CsvSplitter: cuts a CSV file into consecutive byte ranges, each starting
// at a record boundary, so that several readers can parse it at once.
//
// One sequential scan from byte 0 (CsvScanner) follows the quoting the way
// CsvReader does and counts its lines, so that each range knows the line
// it starts on. The header row is in no range: the first range starts
// right after it. A file with a fault the scanner stops at is refused, and
// read by one reader.
//
// Thread-safety: none.
#ifndef STATTREE_TOOLS_CSV_SPLITTER_H_
#define STATTREE_TOOLS_CSV_SPLITTER_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tools/stattree/byte_source.h"

namespace stattree {
namespace cli {

struct CsvRange {
  long long offset = 0;
  long long length = 0;
  long long firstLine = 1;  // the line (from 1) of the range's first byte
};

class CsvSplitter {
 public:
  // Reads `source` (its GetSize known) to the end and fills `ranges` with at
  // most `parts` ranges near equal in bytes, each holding at least one
  // record, together covering everything after the header. Fewer when there
  // are fewer records; none for a file with no records. False, with
  // `ranges` empty, for an irregular file or a read failure.
  static bool Split(std::vector<CsvRange>& ranges, ByteSource& source, char delimiter, int parts,
                    std::size_t maxCellBytes);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_CSV_SPLITTER_H_
