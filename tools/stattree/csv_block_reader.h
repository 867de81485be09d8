// CsvBlockReader: cuts a CSV stream that can't be read twice (standard
// input) into blocks of whole records as it reads it, so that each block
// can be read by a worker on its own, without the header, while the
// stream goes on.
//
// The cuts are CsvScanner's record boundaries: the first block starts
// right after the header, and each ends at the first boundary past
// `blockBytes` from its start (a record longer than that makes a longer
// block). Memory holds the block being read and no more; each block has
// a mapping of its own (MappedBuffer), for the parent forks a worker that
// shares it.
//
// When the scanner meets a fault, the read fails, or the stream ends
// before a first block was cut, what is left can only be read by one
// reader: the pending bytes (from the last cut, or from the stream's first
// byte), then whatever the source still holds.
//
// Thread-safety: none.
#ifndef STATTREE_TOOLS_CSV_BLOCK_READER_H_
#define STATTREE_TOOLS_CSV_BLOCK_READER_H_

#include <cstddef>
#include <string>

#include "tools/stattree/byte_source.h"
#include "tools/stattree/csv_scanner.h"
#include "tools/stattree/mapped_buffer.h"

namespace stattree {
namespace cli {

struct CsvBlock {
  MappedBuffer bytes;
  long long offset = 0;     // of its first byte in the stream
  long long firstLine = 1;  // the line (from 1) of its first byte
};

class CsvBlockReader {
 public:
  enum class Status {
    Block,  // the next block
    End,    // the stream is over and every record is in a block
    Rest,   // the rest is for one reader: TakePending, then the source
  };

  // `source` is borrowed; `head` holds the stream's first bytes, already
  // read from it.
  CsvBlockReader(ByteSource& source, std::string head, char delimiter, std::size_t blockBytes,
                 std::size_t maxCellBytes);

  // Replaces `block` with the next one. Once End or Rest, answers the same.
  Status Next(CsvBlock& block);
  // After Rest: the bytes read but in no block, and where they start in the
  // stream (0 when no block was cut).
  std::string TakePending(long long& offset, long long& firstLine);

 private:
  // Hands out the pending bytes up to `end` as a block.
  void Cut(CsvBlock& block, std::size_t end);
  // A new buffer for a block, holding `size` bytes from `data`.
  MappedBuffer NewBuffer(const char* data, std::size_t size) const;

  ByteSource& source_;
  CsvScanner scanner_;
  const std::size_t blockBytes_;
  MappedBuffer pending_;
  std::size_t scanned_ = 0;      // bytes of pending_ followed by the scanner
  long long pendingOffset_ = 0;  // where pending_ starts in the stream
  long long blockStart_ = -1;    // where the next block starts; -1 before the header's end
  long long blockLine_ = 1;
  bool cut_ = false;              // a block was handed out
  Status final_ = Status::Block;  // End or Rest once reached
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_CSV_BLOCK_READER_H_
