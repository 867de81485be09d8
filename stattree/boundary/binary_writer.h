// BinaryWriter: appends fixed-width little-endian numbers, texts and
// Variants to a byte string, the binary form of partial results.
//
// The layout depends on nothing of the host: integers are written byte by
// byte, reals by their IEEE-754 bits, texts with a 32-bit length.
// BinaryReader reads the same layout back. Thread-safety: none.
#ifndef STATTREE_BOUNDARY_BINARY_WRITER_H_
#define STATTREE_BOUNDARY_BINARY_WRITER_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "stattree/boundary/variant.h"

namespace stattree {

class BinaryWriter {
 public:
  explicit BinaryWriter(std::string& out) : out(out) {}

  void U8(std::uint8_t value) { out.push_back(static_cast<char>(value)); }
  void U32(std::uint32_t value);
  void U64(std::uint64_t value);
  void I32(std::int32_t value) { U32(static_cast<std::uint32_t>(value)); }
  void F32(float value);
  void Text(std::string_view text);
  // Bytes as they are, without a length.
  void Raw(std::string_view bytes) { out.append(bytes.data(), bytes.size()); }
  void Value(const Variant& value);
  // Counts of containers: 32 bits.
  void Count(std::size_t count) { U32(static_cast<std::uint32_t>(count)); }

  // The checksum the binary form keeps of its payload (64-bit FNV-1a).
  static std::uint64_t Checksum(std::string_view bytes);

  std::size_t Size() const { return out.size(); }
  // Overwrites 8 bytes at `at`, for lengths known only at the end.
  void PatchU64(std::size_t at, std::uint64_t value);

  // The tag of each Variant kind in the binary form.
  enum ValueTag : std::uint8_t { kEmpty = 0, kInteger = 1, kReal = 2, kText = 3, kInvalid = 4 };

 private:
  std::string& out;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_BINARY_WRITER_H_
