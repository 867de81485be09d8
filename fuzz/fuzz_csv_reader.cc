// Fuzzes the CSV reader and the cell conversion: any bytes, any chunking,
// with and without skipping bad rows, must end in rows, an end or an error.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/stattree/cell_converter.h"
#include "tools/stattree/csv_reader.h"

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
  return 0;
}
