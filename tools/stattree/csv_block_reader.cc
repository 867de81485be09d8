#include "tools/stattree/csv_block_reader.h"

#include <cstring>
#include <utility>

namespace stattree {
namespace cli {
namespace {

constexpr std::size_t kChunkBytes = 1 << 16;
// Room past a block's size, so that the record that crosses it seldom
// makes the buffer grow.
constexpr std::size_t kSlackBytes = 4 * kChunkBytes;

}  // namespace

CsvBlockReader::CsvBlockReader(ByteSource& source, std::string head, char delimiter,
                               std::size_t blockBytes, std::size_t maxCellBytes)
    : source_(source),
      scanner_(delimiter, maxCellBytes),
      blockBytes_(blockBytes == 0 ? 1 : blockBytes),
      pending_(NewBuffer(head.data(), head.size())) {}

MappedBuffer CsvBlockReader::NewBuffer(const char* data, std::size_t size) const {
  MappedBuffer buffer;
  buffer.Reserve(size + blockBytes_ + kSlackBytes);
  if (size > 0) std::memcpy(buffer.Data(), data, size);
  buffer.SetSize(size);
  return buffer;
}

CsvBlockReader::Status CsvBlockReader::Next(CsvBlock& block) {
  if (final_ != Status::Block) return final_;
  for (;;) {
    while (scanned_ < pending_.Size()) {
      const long long cutAt =
          blockStart_ < 0 ? 0 : blockStart_ + static_cast<long long>(blockBytes_);
      std::size_t taken = 0;
      const CsvScanner::Step step =
          scanner_.Take(pending_.Data() + scanned_, pending_.Size() - scanned_, cutAt, taken);
      scanned_ += taken;
      if (step == CsvScanner::Step::Irregular) return final_ = Status::Rest;
      if (step == CsvScanner::Step::More) break;
      if (blockStart_ < 0) {
        blockStart_ = scanner_.GetPosition();
        blockLine_ = scanner_.GetLine();
        continue;
      }
      Cut(block, scanned_);
      return Status::Block;
    }
    const std::size_t size = pending_.Size();
    if (pending_.Capacity() - size < kChunkBytes) pending_.Reserve(2 * pending_.Capacity());
    const long n = source_.Read(pending_.Data() + size, kChunkBytes);
    if (n < 0) return final_ = Status::Rest;
    if (n > 0) {
      pending_.SetSize(size + static_cast<std::size_t>(n));
      continue;
    }
    // Before the first cut the whole stream is pending: one reader takes it.
    if (!scanner_.Finish() || !cut_) return final_ = Status::Rest;
    final_ = Status::End;
    // Blank lines alone after the last cut give no record.
    if (scanner_.GetRows() == 0) return Status::End;
    Cut(block, size);
    return Status::Block;
  }
}

void CsvBlockReader::Cut(CsvBlock& block, std::size_t end) {
  const auto start = static_cast<std::size_t>(blockStart_ - pendingOffset_);
  MappedBuffer rest = NewBuffer(pending_.Data() + end, pending_.Size() - end);
  block.bytes = std::move(pending_);
  // The header, before the first block.
  if (start > 0) std::memmove(block.bytes.Data(), block.bytes.Data() + start, end - start);
  block.bytes.SetSize(end - start);
  block.offset = blockStart_;
  block.firstLine = blockLine_;
  pending_ = std::move(rest);
  pendingOffset_ += static_cast<long long>(end);
  scanned_ -= end;
  blockStart_ = pendingOffset_;
  blockLine_ = scanner_.GetLine();
  cut_ = true;
}

std::string CsvBlockReader::TakePending(long long& offset, long long& firstLine) {
  offset = pendingOffset_;
  firstLine = cut_ ? blockLine_ : 1;
  std::string bytes(pending_.Data(), pending_.Size());
  pending_.Release();
  scanned_ = 0;
  return bytes;
}

}  // namespace cli
}  // namespace stattree
