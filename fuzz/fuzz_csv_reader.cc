// Fuzzes the CSV reader and the cell conversion: any bytes, any chunking,
// with and without skipping bad rows, must end in rows, an end or an error.
// Then the text as standard input cut into blocks for workers: the blocks,
// each read on its own, and the rest must read as one reader reads them.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/stattree/cell_converter.h"
#include "tools/stattree/csv_reader.h"
#include "tools/tests/csv_transcript.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  // Two bytes of settings, the rest is the CSV text.
  const std::size_t chunk = data[0] % 16 == 0 ? size : data[0] % 16;
  stattree::cli::CsvReader::Options options;
  options.skipBadRows = (data[1] & 1) != 0;
  options.delimiter = (data[1] & 2) != 0 ? ';' : ',';
  options.maxCellBytes = 256;
  options.maxColumns = 64;
  stattree::cli::MemorySource source(reinterpret_cast<const char*>(data + 2), size - 2);
  source.SetChunkSize(chunk);
  stattree::cli::CsvReader reader(source, options);
  std::vector<std::string> cells;
  std::size_t width = 0;
  bool header = true;
  stattree::Variant value;
  while (reader.ReadRow(cells) == stattree::cli::CsvReader::Status::Row) {
    if (header) {
      width = cells.size();
      header = false;
    } else if (cells.size() != width) {
      __builtin_trap();  // a row of the wrong width must never be handed out
    }
    for (const std::string& cell : cells) {
      stattree::cli::CellConverter::Convert(value, cell, false);
      (void)value.ToString();
    }
  }
  if (header) return 0;  // no header row: nothing to cut

  const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::string want = stattree::cli::WholeTranscript(text, options, /*header=*/false);
  stattree::cli::CsvReader::Options partOptions = options;
  partOptions.headerCells = static_cast<long long>(width);
  // Small blocks, so that short inputs are cut many times; the header's
  // reader took a few bytes ahead.
  const std::size_t blockBytes = 1 + data[0] / 16 * 8;
  const std::size_t headBytes = data[1] >> 2;
  bool consistent = false;
  std::size_t blocks = 0;
  bool cut = false;
  const std::string got = stattree::cli::BlockTranscript(text, partOptions, headBytes, blockBytes,
                                                         chunk, consistent, blocks, cut);
  if (!consistent || (cut && got != want)) __builtin_trap();
  return 0;
}
