// BytePacker and ByteUnpacker: the tool's own state (warning findings,
// partial runs) as bytes that cross processes, little-endian and
// length-prefixed.
//
// The unpacker checks every length against what is left, so truncated or
// corrupted bytes make it fail (and stay failed) rather than read past the
// end or allocate what a corrupted length claims. Thread-safety: none.
#ifndef STATTREE_TOOLS_BYTE_PACK_H_
#define STATTREE_TOOLS_BYTE_PACK_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace stattree {
namespace cli {

class BytePacker {
 public:
  void PutNumber(std::uint64_t value) {
    for (int i = 0; i < 8; ++i) bytes_.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  }
  void PutSigned(long long value) { PutNumber(static_cast<std::uint64_t>(value)); }
  void PutText(std::string_view text) {
    PutNumber(text.size());
    bytes_.append(text.data(), text.size());
  }
  const std::string& Bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

class ByteUnpacker {
 public:
  // `bytes` is borrowed and must outlive the unpacker.
  explicit ByteUnpacker(std::string_view bytes) : bytes_(bytes) {}

  bool GetNumber(std::uint64_t& value) {
    if (failed_ || bytes_.size() - at_ < 8) return Fail();
    value = 0;
    for (int i = 0; i < 8; ++i) {
      value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes_[at_ + i])) << (8 * i);
    }
    at_ += 8;
    return true;
  }
  bool GetSigned(long long& value) {
    std::uint64_t raw = 0;
    if (!GetNumber(raw)) return false;
    value = static_cast<long long>(raw);
    return true;
  }
  bool GetText(std::string& text) {
    std::uint64_t size = 0;
    if (!GetNumber(size) || size > bytes_.size() - at_) return Fail();
    text.assign(bytes_.data() + at_, static_cast<std::size_t>(size));
    at_ += static_cast<std::size_t>(size);
    return true;
  }
  bool AtEnd() const { return !failed_ && at_ == bytes_.size(); }

 private:
  bool Fail() {
    failed_ = true;
    return false;
  }

  std::string_view bytes_;
  std::size_t at_ = 0;
  bool failed_ = false;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_BYTE_PACK_H_
