// The rows a CsvReader hands out as text, for tests that compare readings:
// "line: cell|cell" per row, then "error: <message>" when reading failed.
#ifndef STATTREE_TOOLS_TESTS_CSV_TRANSCRIPT_H_
#define STATTREE_TOOLS_TESTS_CSV_TRANSCRIPT_H_

#include <string>
#include <vector>

#include "tools/stattree/csv_reader.h"

namespace stattree {
namespace cli {

// Reads `reader` to its end; `end` tells how reading ended.
inline std::string Transcript(CsvReader& reader, CsvReader::Status& end) {
  std::string out;
  std::vector<std::string> cells;
  while ((end = reader.ReadRow(cells)) == CsvReader::Status::Row) {
    out += std::to_string(reader.GetRowLine()) + ":";
    for (std::size_t i = 0; i < cells.size(); ++i) out += (i == 0 ? " " : "|") + cells[i];
    out += "\n";
  }
  if (end == CsvReader::Status::Error) out += "error: " + reader.GetError();
  return out;
}

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_TESTS_CSV_TRANSCRIPT_H_
