#include "tools/stattree/csv_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace stattree {
namespace cli {
namespace {

using Rows = std::vector<std::vector<std::string>>;

struct Outcome {
  Rows rows;  // header first
  std::vector<long long> lines;
  bool failed = false;
  std::string error;
  long long skipped = 0;
};

// Reads all of `text`, `chunk` bytes per source read.
Outcome ReadAll(const std::string& text, CsvReader::Options options = {},
                std::size_t chunk = 1 << 20) {
  MemorySource source(text.data(), text.size());
  source.SetChunkSize(chunk);
  CsvReader reader(source, options);
  Outcome outcome;
  std::vector<std::string> cells;
  for (;;) {
    const CsvReader::Status status = reader.ReadRow(cells);
    if (status == CsvReader::Status::End) break;
    if (status == CsvReader::Status::Error) {
      outcome.failed = true;
      outcome.error = reader.GetError();
      break;
    }
    outcome.rows.push_back(cells);
    outcome.lines.push_back(reader.GetRowLine());
  }
  outcome.skipped = reader.GetSkippedRows();
  return outcome;
}

TEST(CsvReader, ReadsHeaderAndRowsWithLineNumbers) {
  const Outcome out = ReadAll("a,b\n1,2\n\n3,4\n");
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows, (Rows{{"a", "b"}, {"1", "2"}, {"3", "4"}}));
  EXPECT_EQ(out.lines, (std::vector<long long>{1, 2, 4}));
}

TEST(CsvReader, HandlesQuotesEmbeddedSeparatorsAndLineBreaks) {
  const Outcome out = ReadAll("name,note\n\"Smith, J\",\"said \"\"hi\"\"\nthen left\"\nx,\"\"\n");
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows, (Rows{{"name", "note"}, {"Smith, J", "said \"hi\"\nthen left"}, {"x", ""}}));
  EXPECT_EQ(out.lines, (std::vector<long long>{1, 2, 4}));
}

TEST(CsvReader, AcceptsCrlfAndAMissingFinalLineEnd) {
  const Outcome out = ReadAll("a,b\r\n1,2\r\n3,4");
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows, (Rows{{"a", "b"}, {"1", "2"}, {"3", "4"}}));
}

TEST(CsvReader, KeepsSpacesAndEmptyCells) {
  const Outcome out = ReadAll("a,b,c\n 1 ,,\n");
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows[1], (std::vector<std::string>{" 1 ", "", ""}));
}

TEST(CsvReader, DropsUtf8ByteOrderMark) {
  const Outcome out = ReadAll("\xEF\xBB\xBFregion,amount\nN,1\n");
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows[0][0], "region");
}

TEST(CsvReader, UsesOtherDelimiters) {
  CsvReader::Options options;
  options.delimiter = ';';
  const Outcome out = ReadAll("a;b\n1,5;2\n", options);
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows[1], (std::vector<std::string>{"1,5", "2"}));
}

TEST(CsvReader, SameRowsWhateverTheChunkSize) {
  const std::string text = "a,b\r\n\"x\r\ny\",\"q\"\"\"\r\n3,\r\n";
  const Outcome whole = ReadAll(text);
  for (std::size_t chunk = 1; chunk < 8; ++chunk) {
    const Outcome pieces = ReadAll(text, {}, chunk);
    EXPECT_EQ(pieces.rows, whole.rows) << chunk;
    EXPECT_EQ(pieces.lines, whole.lines) << chunk;
  }
}

TEST(CsvReader, RowWidthMismatchNamesTheLine) {
  const Outcome out = ReadAll("a,b\n1,2\n3\n4,5\n");
  EXPECT_TRUE(out.failed);
  EXPECT_EQ(out.error, "line 3: the row has 1 cell, the header has 2");
  EXPECT_EQ(out.rows.size(), 2u);
}

TEST(CsvReader, WideRowIsRefusedWithItsCount) {
  const Outcome out = ReadAll("a,b\n1,2,3,4,5\n");
  EXPECT_EQ(out.error, "line 2: the row has 5 cells, the header has 2");
}

TEST(CsvReader, MalformedQuotingNamesTheLineWhereTheRowStarts) {
  const Outcome out = ReadAll("a,b\n1,2\n\"x\ny\"z,3\n");
  EXPECT_TRUE(out.failed);
  EXPECT_EQ(out.error.rfind("line 3: malformed quoting", 0), 0u) << out.error;
}

TEST(CsvReader, UnterminatedQuoteNamesTheLine) {
  const Outcome out = ReadAll("a,b\n1,2\n3,\"open\n4,5\n");
  EXPECT_TRUE(out.failed);
  EXPECT_EQ(out.error.rfind("line 3: unterminated quote", 0), 0u) << out.error;
}

TEST(CsvReader, SkipsAndCountsBadRowsWhenAsked) {
  CsvReader::Options options;
  options.skipBadRows = true;
  const Outcome out = ReadAll("a,b\n1,2\n3\nx\"y,1\n4,5\n6,7,8\n9,10\n", options);
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows, (Rows{{"a", "b"}, {"1", "2"}, {"4", "5"}, {"9", "10"}}));
  EXPECT_EQ(out.lines, (std::vector<long long>{1, 2, 5, 7}));
  EXPECT_EQ(out.skipped, 3);
}

TEST(CsvReader, SkippedUnterminatedQuoteAtTheEndIsCounted) {
  CsvReader::Options options;
  options.skipBadRows = true;
  const Outcome out = ReadAll("a,b\n1,2\n3,\"open\n", options);
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows.size(), 2u);
  EXPECT_EQ(out.skipped, 1);
}

TEST(CsvReader, OverlongCellIsABadRowAndReadingResumes) {
  CsvReader::Options options;
  options.skipBadRows = true;
  options.maxCellBytes = 64;
  const std::string text = "a,b\n1,\"" + std::string(10000, 'x') + "\n2,3\n";
  const Outcome out = ReadAll(text, options, 100);
  ASSERT_FALSE(out.failed) << out.error;
  EXPECT_EQ(out.rows, (Rows{{"a", "b"}, {"2", "3"}}));
  EXPECT_EQ(out.skipped, 1);
}

TEST(CsvReader, EmptyInputHasNoHeader) {
  const Outcome out = ReadAll("");
  EXPECT_FALSE(out.failed);
  EXPECT_TRUE(out.rows.empty());
}

TEST(CsvReader, BadHeaderIsNeverSkipped) {
  CsvReader::Options options;
  options.skipBadRows = true;
  const Outcome out = ReadAll("a,\"b\n", options);
  EXPECT_TRUE(out.failed);
  EXPECT_EQ(out.error.rfind("line 1: unterminated quote", 0), 0u) << out.error;
}

}  // namespace
}  // namespace cli
}  // namespace stattree
