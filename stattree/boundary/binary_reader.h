// BinaryReader: reads what BinaryWriter wrote, every read bounds-checked.
//
// A read past the end, or a malformed value, fails the reader for good:
// every later read answers false and zero, so a caller may read a whole
// record and test Ok() once. Counts are checked against the bytes left
// (each element takes at least `minBytes`), so a corrupted count can never
// ask for a huge allocation.
//
// Ownership: views the caller's bytes, which must outlive the reader.
// Thread-safety: none.
#ifndef STATTREE_BOUNDARY_BINARY_READER_H_
#define STATTREE_BOUNDARY_BINARY_READER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "stattree/boundary/variant.h"

namespace stattree {

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view bytes) : bytes(bytes) {}

  bool U8(std::uint8_t& value);
  bool U32(std::uint32_t& value);
  bool U64(std::uint64_t& value);
  bool I32(std::int32_t& value);
  bool F32(float& value);
  bool Text(std::string& text);
  bool Value(Variant& value);
  // A container count that the remaining bytes can hold.
  bool Count(std::size_t& count, std::size_t minBytes);
  // The next `size` bytes, skipped.
  bool Bytes(std::string_view& view, std::size_t size);

  bool Ok() const { return ok; }
  bool AtEnd() const { return ok && at == bytes.size(); }
  std::size_t Remaining() const { return ok ? bytes.size() - at : 0; }
  // Fails the reader (a value out of its range); false.
  bool Fail() {
    ok = false;
    return false;
  }

 private:
  bool Take(const unsigned char*& data, std::size_t size);

  std::string_view bytes;
  std::size_t at = 0;
  bool ok = true;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_BINARY_READER_H_
