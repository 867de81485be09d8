#include "tools/stattree/csv_splitter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/stattree/csv_reader.h"
#include "tools/tests/csv_transcript.h"

namespace stattree {
namespace cli {
namespace {

// "offset@line" per range, or "irregular".
std::string Ranges(const std::string& text, int parts, std::size_t chunk = 1 << 20,
                   std::size_t maxCellBytes = 1 << 20) {
  MemorySource source(text.data(), text.size());
  source.SetChunkSize(chunk);
  std::vector<CsvRange> ranges;
  if (!CsvSplitter::Split(ranges, source, ',', parts, maxCellBytes)) return "irregular";
  std::string out;
  long long end = ranges.empty() ? 0 : ranges.front().offset;
  for (const CsvRange& r : ranges) {
    EXPECT_EQ(r.offset, end) << "ranges must follow each other";
    EXPECT_GT(r.length, 0);
    end = r.offset + r.length;
    out += (out.empty() ? "" : " ") + std::to_string(r.offset) + "@" + std::to_string(r.firstLine);
  }
  if (!ranges.empty()) {
    EXPECT_EQ(end, static_cast<long long>(text.size()));
  }
  return out;
}

// Rows as "line: cell|cell", then how reading ended.
std::string Reading(CsvReader& reader) {
  CsvReader::Status status;
  std::string out = Transcript(reader, status);
  if (status == CsvReader::Status::Error) out += "\n";
  return out;
}

TEST(CsvSplitter, CutsAfterLineEndsOutsideQuotes) {
  const struct {
    std::string text;
    int parts;
    std::string expected;
  } kCases[] = {
      {"h\n1\n2\n3\n4\n", 2, "2@2 6@4"},
      {"h\n1\n2\n3\n4\n", 4, "2@2 4@3 6@4 8@5"},
      {"h\n1\n2\n3\n4\n", 9, "2@2 4@3 6@4 8@5"},  // one record at least per range
      {"h\n1\n", 3, "2@2"},
      {"h\n", 2, ""},
      {"h", 2, ""},
      {"", 2, ""},
      // The byte order mark is skipped but counted in the offsets.
      {"\xEF\xBB\xBFh\n1\n2\n", 2, "5@2 7@3"},
      // Blank lines: before the header, and trailing ones end the last range.
      {"\n\nh\n1\n2\n\n\n", 3, "4@4 6@5"},
      // Never between CR and LF; a lone CR ends a line too.
      {"h\r\n1\r\n2\r\n3\r\n", 3, "3@2 6@3 9@4"},
      {"h\r1\r2\r3\r", 3, "2@2 4@3 6@4"},
      // Line breaks inside quotes are no boundary but are counted.
      {"h,i\n\"a\nb\nc\nd\",1\n2,3\n", 4, "4@2 16@6"},
      {"h,i\n\"a\r\nb\rc\",1\n\"x\"\"\ny\",2\n3,4\n", 4, "4@2 15@5 25@7"},
      // Broken quoting, or a cell longer than the reader takes.
      {"h,i\n1,a\"b\n2,3\n", 2, "irregular"},
      {"h,i\n1,\"a\"b\n2,3\n", 2, "irregular"},
      {"h,i\n1,2\n3,\"open\n", 2, "irregular"},
  };
  for (const auto& c : kCases) {
    for (std::size_t chunk : {std::size_t{1} << 20, std::size_t{3}}) {
      EXPECT_EQ(Ranges(c.text, c.parts, chunk), c.expected) << c.text << "\nchunk " << chunk;
    }
  }
  EXPECT_EQ(Ranges("h,i\n1,\"" + std::string(100, 'x') + "\"\n2,3\n", 2, 1 << 20, 64), "irregular");
}

// Each range read on its own, without a header, gives the rows and lines
// that one reader gives over the whole text.
TEST(CsvSplitter, RangesReadAsTheWholeIs) {
  std::string mixed = "id,note,n\r\n";
  const char* const kEnds[] = {"\n", "\r\n", "\r", "\n\n", "\r\n\r\n"};
  for (int i = 0; i < 60; ++i) {
    mixed += std::to_string(i) + ",";
    if (i % 3 == 0) mixed += "\"quoted, \"\"with\"\"\nline\r\nbreaks\rin it\"";
    if (i % 3 == 1) mixed += "plain text";
    mixed += "," + std::to_string(i * 7) + kEnds[i % 5];
  }
  const std::string kTexts[] = {
      mixed, mixed + "tail,without,end",
      "a,b\n1,2\n3\n4,5\n6,7\n8,9,10\n11,12\n",  // bad rows in several ranges
  };
  for (const std::string& text : kTexts) {
    for (bool skip : {false, true}) {
      CsvReader::Options options;
      options.skipBadRows = skip;
      MemorySource whole(text.data(), text.size());
      CsvReader wholeReader(whole, options);
      std::vector<std::string> header;
      ASSERT_EQ(wholeReader.ReadRow(header), CsvReader::Status::Row);
      const std::string expected = Reading(wholeReader);
      for (int parts = 2; parts <= 7; ++parts) {
        MemorySource source(text.data(), text.size());
        std::vector<CsvRange> ranges;
        ASSERT_TRUE(CsvSplitter::Split(ranges, source, ',', parts, options.maxCellBytes));
        EXPECT_GE(ranges.size(), 2u);
        EXPECT_LE(ranges.size(), static_cast<std::size_t>(parts));
        std::string got;
        long long skipped = 0;
        for (const CsvRange& r : ranges) {
          MemorySource part(text.data() + r.offset, static_cast<std::size_t>(r.length));
          CsvReader::Options partOptions = options;
          partOptions.headerCells = static_cast<long long>(header.size());
          partOptions.firstLine = r.firstLine;
          CsvReader reader(part, partOptions);
          got += Reading(reader);
          skipped += reader.GetSkippedRows();
          // One reader stops at the first error.
          if (got.find("error: ") != std::string::npos) break;
        }
        EXPECT_EQ(got, expected) << "parts " << parts;
        EXPECT_EQ(skipped, wholeReader.GetSkippedRows());
      }
    }
  }
}

}  // namespace
}  // namespace cli
}  // namespace stattree
