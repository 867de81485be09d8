#include "tools/stattree/csv_block_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/stattree/csv_reader.h"
#include "tools/tests/csv_transcript.h"

namespace stattree {
namespace cli {
namespace {

// Rows as "line: cell|cell", then the error; reading stops at the first.
std::string Reading(const char* data, std::size_t size, const CsvReader::Options& options,
                    bool& failed) {
  MemorySource source(data, size);
  CsvReader reader(source, options);
  CsvReader::Status status;
  std::string out = Transcript(reader, status);
  failed = status == CsvReader::Status::Error;
  return out + (failed ? "\n" : "skipped " + std::to_string(reader.GetSkippedRows()) + "\n");
}

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
      bool failed = false;
      const std::string expected = Reading(text.data(), text.size(), options, failed);
      for (std::size_t blockBytes : {1, 30, 200, 100000}) {
        for (std::size_t chunk : {std::size_t{1} << 20, std::size_t{7}}) {
          SCOPED_TRACE(text + "\nskip " + std::to_string(skip) + ", block " +
                       std::to_string(blockBytes) + ", chunk " + std::to_string(chunk));
          MemorySource source(text.data(), text.size());
          source.SetChunkSize(chunk);
          // The header's reader read some bytes first.
          std::string head(text, 0, std::min<std::size_t>(3, text.size()));
          std::vector<char> skipped(head.size());
          source.Read(skipped.data(), skipped.size());
          CsvBlockReader blocks(source, head, ',', blockBytes, options.maxCellBytes);
          CsvReader::Options partOptions = options;
          partOptions.headerCells = text[0] == 'h' || text[0] == '\xEF' ? 1 : 3;
          std::string got;
          long long skippedRows = 0;
          std::size_t count = 0;
          CsvBlock block;
          CsvBlockReader::Status status;
          bool stopped = false;
          while (!stopped && (status = blocks.Next(block)) == CsvBlockReader::Status::Block) {
            ++count;
            EXPECT_GT(block.bytes.Size(), 0u);
            ASSERT_EQ(std::string(block.bytes.Data(), block.bytes.Size()),
                      text.substr(static_cast<std::size_t>(block.offset), block.bytes.Size()));
            partOptions.firstLine = block.firstLine;
            MemorySource part(block.bytes.Data(), block.bytes.Size());
            CsvReader reader(part, partOptions);
            CsvReader::Status end;
            got += Transcript(reader, end);
            skippedRows += reader.GetSkippedRows();
            stopped = end == CsvReader::Status::Error;
            if (stopped) got += "\n";
          }
          if (!stopped && status == CsvBlockReader::Status::Rest) {
            long long offset = 0;
            long long firstLine = 0;
            const std::string pending = blocks.TakePending(offset, firstLine);
            ASSERT_EQ(pending, text.substr(offset, pending.size()));
            // Nothing cut: the header's reader goes on over the whole text.
            if (offset == 0) {
              EXPECT_EQ(count, 0u);
              continue;
            }
            partOptions.firstLine = firstLine;
            const std::string rest = text.substr(offset);
            MemorySource part(rest.data(), rest.size());
            CsvReader reader(part, partOptions);
            CsvReader::Status end;
            got += Transcript(reader, end);
            skippedRows += reader.GetSkippedRows();
            if (end == CsvReader::Status::Error) got += "\n";
            stopped = end == CsvReader::Status::Error;
          }
          if (!stopped) got += "skipped " + std::to_string(skippedRows) + "\n";
          // Header rows aside, one reader's transcript.
          std::string want = expected;
          want.erase(0, want.find('\n') + 1);
          EXPECT_EQ(got, want);
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
