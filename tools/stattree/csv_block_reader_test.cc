#include "tools/stattree/csv_block_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/stattree/csv_reader.h"
#include "tools/tests/csv_transcript.h"

namespace stattree {
namespace cli {
namespace {

// A text that can be cut into blocks until a fault, with and without bad
// rows, before and after the fault.
std::string Mixed(int rows, const std::string& fault) {
  const char* const kEnds[] = {"\n", "\r\n", "\r", "\n\n"};
  std::string text = "id,note,n\r\n";
  for (int i = 0; i < rows; ++i) {
    text += std::to_string(i) + (i % 3 == 0 ? ",\"quoted, \"\"line\"\"\nbreak\r\n\"" : ",plain");
    text += i % 11 == 5 ? "\n" : "," + std::to_string(i * 7);  // a bad row: 2 cells
    text += kEnds[i % 4];
    if (i == rows / 2) text += fault;
  }
  return text;
}

// The blocks, each read on its own without the header, then the rest by
// one reader, give what one reader gives over the whole text.
TEST(CsvBlockReader, BlocksThenTheRestReadAsTheWhole) {
  const std::string kTexts[] = {
      Mixed(40, ""),
      Mixed(40, "1,x\"y,2\n"),             // a fault in the middle
      Mixed(40, "") + "\"never closed\n",  // at the end
      "\xEF\xBB\xBFh\n1\n2\n3\n\n\n",      // a mark; blank lines at the end
      "h\n",
  };
  for (const std::string& text : kTexts) {
    for (bool skip : {false, true}) {
      CsvReader::Options options;
      options.skipBadRows = skip;
      // Header row aside, one reader's transcript.
      const std::string expected = WholeTranscript(text, options, /*header=*/false);
      for (std::size_t blockBytes : {1, 30, 200, 100000}) {
        for (std::size_t chunk : {std::size_t{1} << 20, std::size_t{7}}) {
          SCOPED_TRACE(text + "\nskip " + std::to_string(skip) + ", block " +
                       std::to_string(blockBytes) + ", chunk " + std::to_string(chunk));
          CsvReader::Options partOptions = options;
          partOptions.headerCells = text[0] == 'h' || text[0] == '\xEF' ? 1 : 3;
          bool consistent = false;
          std::size_t count = 0;
          bool cut = false;
          // The header's reader read some bytes first.
          const std::string got =
              BlockTranscript(text, partOptions, 3, blockBytes, chunk, consistent, count, cut);
          ASSERT_TRUE(consistent);
          // Nothing cut: the header's reader goes on over the whole text.
          if (!cut) {
            EXPECT_EQ(count, 0u);
            continue;
          }
          EXPECT_EQ(got, expected);
          if (blockBytes == 1 && text.size() > 100) {
            EXPECT_GT(count, 5u);
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace cli
}  // namespace stattree
