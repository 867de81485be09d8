// The rows a CsvReader hands out as text, for tests (and the fuzz target)
// that compare readings: "line: cell|cell" per row, then "error: <message>"
// when reading failed.
#ifndef STATTREE_TOOLS_TESTS_CSV_TRANSCRIPT_H_
#define STATTREE_TOOLS_TESTS_CSV_TRANSCRIPT_H_

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tools/stattree/csv_block_reader.h"
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

// One reader over the whole text: its Transcript, then "\n" after an
// error or "skipped N\n". Without the header row when `header` is false.
inline std::string WholeTranscript(const std::string& text, const CsvReader::Options& options,
                                   bool header = true) {
  MemorySource source(text.data(), text.size());
  CsvReader reader(source, options);
  std::vector<std::string> cells;
  if (!header && reader.ReadRow(cells) != CsvReader::Status::Row) return "no header\n";
  CsvReader::Status end;
  const std::string out = Transcript(reader, end);
  if (end == CsvReader::Status::Error) return out + "\n";
  return out + "skipped " + std::to_string(reader.GetSkippedRows()) + "\n";
}

// Transcript of one part, read without the header from `firstLine` on; true
// when it ended in an error, which ends the reading ("\n" added).
inline bool AddPart(std::string& out, long long& skippedRows, const char* data, std::size_t size,
                    CsvReader::Options options, long long firstLine) {
  options.firstLine = firstLine;
  MemorySource part(data, size);
  CsvReader reader(part, options);
  CsvReader::Status end;
  out += Transcript(reader, end);
  skippedRows += reader.GetSkippedRows();
  if (end != CsvReader::Status::Error) return false;
  out += "\n";
  return true;
}

// What the tool's parts make of `text` when it arrives on standard input:
// CsvBlockReader's blocks, each read on its own, then the rest by one
// reader, fed in chunks of `chunk` bytes after the header's reader took the
// first `headBytes`. `options.headerCells` is the header's width. Ends in
// "skipped N" unless an error ended it. `consistent` turns false when a
// block or the rest is not the text's own bytes where it says it starts;
// `blocks` counts the blocks. When nothing was cut the header's reader
// reads on alone, which only the text itself can tell: `cut` is false then.
inline std::string BlockTranscript(const std::string& text, const CsvReader::Options& options,
                                   std::size_t headBytes, std::size_t blockBytes, std::size_t chunk,
                                   bool& consistent, std::size_t& blocks, bool& cut) {
  consistent = true;
  blocks = 0;
  cut = true;
  MemorySource source(text.data(), text.size());
  source.SetChunkSize(chunk);
  // What the header's reader took is gone from the source.
  std::string head;
  std::vector<char> taken(std::min(headBytes, text.size()));
  while (head.size() < taken.size()) {
    const long got = source.Read(taken.data(), taken.size() - head.size());
    if (got <= 0) break;
    head.append(taken.data(), static_cast<std::size_t>(got));
  }
  CsvBlockReader reader(source, head, options.delimiter, blockBytes, options.maxCellBytes);
  std::string out;
  long long skippedRows = 0;
  CsvBlock block;
  CsvBlockReader::Status status;
  while ((status = reader.Next(block)) == CsvBlockReader::Status::Block) {
    ++blocks;
    const auto offset = static_cast<std::size_t>(block.offset);
    if (block.bytes.Size() == 0 || offset > text.size() ||
        text.compare(offset, block.bytes.Size(), block.bytes.Data(), block.bytes.Size()) != 0) {
      consistent = false;
      return out;
    }
    if (AddPart(out, skippedRows, block.bytes.Data(), block.bytes.Size(), options,
                block.firstLine)) {
      return out;
    }
  }
  if (status == CsvBlockReader::Status::Rest) {
    long long offset = 0;
    long long firstLine = 1;
    const std::string pending = reader.TakePending(offset, firstLine);
    const auto at = static_cast<std::size_t>(offset);
    if (at > text.size() || text.compare(at, pending.size(), pending) != 0) {
      consistent = false;
      return out;
    }
    if (offset == 0) {
      cut = false;
      return out;
    }
    if (AddPart(out, skippedRows, text.data() + at, text.size() - at, options, firstLine)) {
      return out;
    }
  }
  return out + "skipped " + std::to_string(skippedRows) + "\n";
}

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_TESTS_CSV_TRANSCRIPT_H_
