#include "tools/stattree/csv_splitter.h"

#include <limits>
#include <memory>

#include "tools/stattree/csv_scanner.h"

namespace stattree {
namespace cli {
namespace {

constexpr std::size_t kChunkBytes = 1 << 16;

}  // namespace

bool CsvSplitter::Split(std::vector<CsvRange>& ranges, ByteSource& source, char delimiter,
                        int parts, std::size_t maxCellBytes) {
  ranges.clear();
  const long long size = source.GetSize();
  if (size < 0 || parts < 1) return false;
  CsvScanner scanner(delimiter, maxCellBytes);
  // Set at the header's end: where the ranges after the first should start.
  std::vector<long long> targets;
  std::size_t nextTarget = 0;
  bool inData = false;
  long long start = 0;
  long long startLine = 1;
  std::unique_ptr<char[]> buffer(new char[kChunkBytes]);
  long long total = 0;
  for (;;) {
    const long n = source.Read(buffer.get(), kChunkBytes);
    if (n < 0) break;
    if (n == 0) {
      if (total != size || !scanner.Finish()) break;
      const long long end = scanner.GetPosition();
      if (inData && scanner.GetRows() > 0) {
        ranges.push_back({start, end - start, startLine});
      } else if (!ranges.empty()) {
        // Only blank lines after the last record: they end the last range.
        ranges.back().length = end - ranges.back().offset;
      }
      return true;
    }
    total += n;
    const char* data = buffer.get();
    std::size_t left = static_cast<std::size_t>(n);
    CsvScanner::Step step = CsvScanner::Step::Cut;
    while (step == CsvScanner::Step::Cut) {
      const long long cutAt = !inData                       ? 0
                              : nextTarget < targets.size() ? targets[nextTarget]
                                                            : std::numeric_limits<long long>::max();
      std::size_t taken = 0;
      step = scanner.Take(data, left, cutAt, taken);
      data += taken;
      left -= taken;
      if (step != CsvScanner::Step::Cut) break;
      const long long at = scanner.GetPosition();
      if (inData) {
        ranges.push_back({start, at - start, startLine});
        while (nextTarget < targets.size() && targets[nextTarget] <= at) ++nextTarget;
      } else {
        inData = true;
        for (int k = 1; k < parts; ++k) targets.push_back(at + k * (size - at) / parts);
      }
      start = at;
      startLine = scanner.GetLine();
    }
    if (step == CsvScanner::Step::Irregular) break;
  }
  ranges.clear();
  return false;
}

}  // namespace cli
}  // namespace stattree
