#include "tools/stattree/csv_scanner.h"

#include <gtest/gtest.h>

#include <string>

namespace stattree {
namespace cli {
namespace {

// Cuts `text`, fed `chunk` bytes per call, first at the header's end, then
// at the first boundary `every` bytes or more past the last cut: "offset@line"
// per cut, "rows N" for the last part, or "irregular".
std::string Cuts(const std::string& text, long long every, std::size_t chunk = 1 << 20,
                 std::size_t maxCellBytes = 1 << 20) {
  CsvScanner scanner(',', maxCellBytes);
  std::string out;
  long long cutAt = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = std::min(chunk, text.size() - at);
    std::size_t taken = 0;
    const CsvScanner::Step step = scanner.Take(text.data() + at, size, cutAt, taken);
    EXPECT_LE(taken, size);
    at += taken;
    if (step == CsvScanner::Step::Irregular) return "irregular";
    if (step == CsvScanner::Step::Cut) {
      EXPECT_EQ(scanner.GetPosition(), static_cast<long long>(at));
      out += std::to_string(at) + "@" + std::to_string(scanner.GetLine()) + " ";
      cutAt = scanner.GetPosition() + every;
    }
  }
  if (!scanner.Finish()) return "irregular";
  return out + "rows " + std::to_string(scanner.GetRows());
}

TEST(CsvScanner, CutsAtBoundariesPastTheTarget) {
  const struct {
    std::string text;
    long long every;
    std::string expected;
  } kCases[] = {
      {"h\n1\n2\n3\n", 1, "2@2 4@3 6@4 rows 1"},
      {"h\n1\n2\n3\n", 3, "2@2 6@4 rows 1"},
      {"h\n1\n2\n3", 100, "2@2 rows 3"},  // the last row needs no line end
      // A part needs a row: blank lines are no part of their own.
      {"\n\nh\n\n\n1\n\n2\n", 1, "4@4 8@7 rows 1"},
      {"h\r\n1\r\n2\r", 1, "3@2 6@3 rows 1"},
      {"h,i\n\"a\nb\",1\n\"x\r\ny\"\"\",2\n", 1, "4@2 12@4 rows 1"},
      // The byte order mark counts in the offsets; half a mark is data.
      {"\xEF\xBB\xBFh\n1\n", 1, "5@2 rows 1"},
      {"\xEF\xBBh\n1\n", 1, "4@2 rows 1"},
      {"\xEF\xBB\"h\"\n1\n", 1, "irregular"},
      {"h\n\"a\"b\n", 1, "irregular"},
      {"h\na\"b\n", 1, "irregular"},
      {"h\n\"open\n1\n", 1, "irregular"},
  };
  for (const auto& c : kCases) {
    for (std::size_t chunk : {std::size_t{1} << 20, std::size_t{1}, std::size_t{2}}) {
      EXPECT_EQ(Cuts(c.text, c.every, chunk), c.expected) << c.text << "\nchunk " << chunk;
    }
  }
}

TEST(CsvScanner, CellsUpToTheLimit) {
  // Quoted cells count their bytes, an escaped quote as one, the quotes not.
  const struct {
    std::string text;
    std::string expected;
  } kCases[] = {
      {"h\nxxxx,xxxx\n", "2@2 rows 1"},
      {"h\nxxxxx\n", "irregular"},
      {"h\nxxxx,\"x\"\"xx\"\n", "2@2 rows 1"},
      {"h\n\"xxxxx\"\n", "irregular"},
  };
  for (const auto& c : kCases) {
    for (std::size_t chunk : {std::size_t{1} << 20, std::size_t{1}}) {
      EXPECT_EQ(Cuts(c.text, 1, chunk, 4), c.expected) << c.text << "\nchunk " << chunk;
    }
  }
}

}  // namespace
}  // namespace cli
}  // namespace stattree
