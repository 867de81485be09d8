#include "stattree/boundary/binary_reader.h"

#include <cstring>

#include "stattree/boundary/binary_writer.h"

namespace stattree {

bool BinaryReader::Take(const unsigned char*& data, std::size_t size) {
  if (!ok || size > bytes.size() - at) return Fail();
  data = reinterpret_cast<const unsigned char*>(bytes.data()) + at;
  at += size;
  return true;
}

bool BinaryReader::U8(std::uint8_t& value) {
  const unsigned char* data = nullptr;
  value = 0;
  if (!Take(data, 1)) return false;
  value = data[0];
  return true;
}

bool BinaryReader::U32(std::uint32_t& value) {
  const unsigned char* data = nullptr;
  value = 0;
  if (!Take(data, 4)) return false;
  for (int i = 3; i >= 0; --i) value = (value << 8) | data[i];
  return true;
}

bool BinaryReader::U64(std::uint64_t& value) {
  const unsigned char* data = nullptr;
  value = 0;
  if (!Take(data, 8)) return false;
  for (int i = 7; i >= 0; --i) value = (value << 8) | data[i];
  return true;
}

bool BinaryReader::I32(std::int32_t& value) {
  std::uint32_t bits = 0;
  const bool read = U32(bits);
  value = static_cast<std::int32_t>(bits);
  return read;
}

bool BinaryReader::F32(float& value) {
  std::uint32_t bits = 0;
  const bool read = U32(bits);
  std::memcpy(&value, &bits, sizeof value);
  return read;
}

bool BinaryReader::Count(std::size_t& count, std::size_t minBytes) {
  std::uint32_t raw = 0;
  count = 0;
  if (!U32(raw)) return false;
  if (minBytes > 0 && raw > Remaining() / minBytes) return Fail();
  count = raw;
  return true;
}

bool BinaryReader::Bytes(std::string_view& view, std::size_t size) {
  const unsigned char* data = nullptr;
  if (!Take(data, size)) return false;
  view = std::string_view(reinterpret_cast<const char*>(data), size);
  return true;
}

bool BinaryReader::Text(std::string& text) {
  std::size_t size = 0;
  std::string_view view;
  if (!Count(size, 1) || !Bytes(view, size)) return false;
  text.assign(view.data(), view.size());
  return true;
}

bool BinaryReader::Value(Variant& value) {
  std::uint8_t tag = 0;
  value.SetEmpty();
  if (!U8(tag)) return false;
  switch (tag) {
    case BinaryWriter::kEmpty:
      return true;
    case BinaryWriter::kInteger: {
      std::uint64_t bits = 0;
      if (!U64(bits)) return false;
      value = Variant(static_cast<long long>(bits));
      return true;
    }
    case BinaryWriter::kReal: {
      std::uint64_t bits = 0;
      if (!U64(bits)) return false;
      double real = 0;
      std::memcpy(&real, &bits, sizeof real);
      // A NaN is never stored: Variant keeps it as invalid.
      if (real != real) return Fail();
      value = Variant(real);
      return true;
    }
    case BinaryWriter::kText: {
      std::string text;
      if (!Text(text)) return false;
      value = Variant(text);
      return true;
    }
    case BinaryWriter::kInvalid:
      value = Variant::Invalid();
      return true;
    default:
      return Fail();
  }
}

}  // namespace stattree
