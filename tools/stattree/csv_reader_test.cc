#include "tools/stattree/csv_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/tests/csv_transcript.h"

namespace stattree {
namespace cli {
namespace {

// Reads all of `text`, `chunk` bytes per source read, into a transcript:
// "line: cell|cell" per row, then the error or the count of skipped rows.
std::string Read(const std::string& text, const CsvReader::Options& options, std::size_t chunk) {
  MemorySource source(text.data(), text.size());
  source.SetChunkSize(chunk);
  CsvReader reader(source, options);
  CsvReader::Status status;
  const std::string out = Transcript(reader, status);
  if (status == CsvReader::Status::Error) return out;
  return out + "skipped " + std::to_string(reader.GetSkippedRows());
}

TEST(CsvReader, RowsLinesAndErrorsWhateverTheChunkSize) {
  const struct {
    std::string text;
    bool skipBadRows;
    std::string expected;
    std::size_t maxCellBytes = std::size_t{1} << 20;
  } kCases[] = {
      {"\xEF\xBB\xBF"
       "a,b\n1,2\n\n3,4\n",
       false, "1: a|b\n2: 1|2\n4: 3|4\nskipped 0"},
      {"a,b,c\r\n 1 ,,\r\n3,4,5", false, "1: a|b|c\n2:  1 ||\n3: 3|4|5\nskipped 0"},
      {"name,note\n\"Smith, J\",\"said \"\"hi\"\"\nthen left\"\nx,\"\"\n", false,
       "1: name|note\n2: Smith, J|said \"hi\"\nthen left\n4: x|\nskipped 0"},
      {"a,b\r1,2\r\r3,4\r", false, "1: a|b\n2: 1|2\n4: 3|4\nskipped 0"},
      {"a,b\r1,2\r3\r", false,
       "1: a|b\n2: 1|2\nerror: line 3: the row has 1 cell, the header has 2"},
      {"a,b\r\n1,\"x\ry\"\r3\r\n4,5\n6,7", true, "1: a|b\n2: 1|x\ry\n5: 4|5\n6: 6|7\nskipped 1"},
      {"a,b\n1,2\n3\n4,5\n", false,
       "1: a|b\n2: 1|2\nerror: line 3: the row has 1 cell, the header has 2"},
      {"a,b\n1,2\n\"x\ny\"z,3\n", false,
       "1: a|b\n2: 1|2\nerror: line 3: malformed quoting (a quote inside an unquoted cell, or "
       "text after a closing quote; quote the whole cell and double inner quotes)"},
      {"a,b\n1,2\n3\nx\"y,1\n4,5\n6,7,8\n9,10\n", true,
       "1: a|b\n2: 1|2\n5: 4|5\n7: 9|10\nskipped 3"},
      {"a,b\n1,2\n3,\"open\n", true, "1: a|b\n2: 1|2\nskipped 1"},
      {"a,\"b\n", true,
       "error: line 1: unterminated quote: the quoted cell opened in this row never closes"},
      {"a,b\n1,\"" + std::string(10000, 'x') + "\n2,3\n", true, "1: a|b\n3: 2|3\nskipped 1", 64},
  };
  for (const auto& c : kCases) {
    CsvReader::Options options;
    options.skipBadRows = c.skipBadRows;
    options.maxCellBytes = c.maxCellBytes;
    for (std::size_t chunk :
         {std::size_t{1} << 20, std::size_t{1}, std::size_t{2}, std::size_t{7}}) {
      EXPECT_EQ(Read(c.text, options, chunk), c.expected) << c.text << "\nchunk " << chunk;
    }
  }
}

}  // namespace
}  // namespace cli
}  // namespace stattree
