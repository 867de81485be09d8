#include "stattree/boundary/binary_writer.h"

#include <cstring>

namespace stattree {

void BinaryWriter::U32(std::uint32_t value) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void BinaryWriter::U64(std::uint64_t value) {
  for (int i = 0; i < 8; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void BinaryWriter::F32(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  U32(bits);
}

void BinaryWriter::Text(std::string_view text) {
  Count(text.size());
  out.append(text.data(), text.size());
}

void BinaryWriter::Value(const Variant& value) {
  switch (value.GetKind()) {
    case Variant::Kind::Empty:
      U8(kEmpty);
      return;
    case Variant::Kind::Integer:
      U8(kInteger);
      U64(static_cast<std::uint64_t>(value.GetInteger()));
      return;
    case Variant::Kind::Real: {
      U8(kReal);
      const double real = value.GetReal();
      std::uint64_t bits = 0;
      std::memcpy(&bits, &real, sizeof bits);
      U64(bits);
      return;
    }
    case Variant::Kind::Text:
      U8(kText);
      Text(value.GetText());
      return;
    case Variant::Kind::Invalid:
      U8(kInvalid);
      return;
  }
}

void BinaryWriter::PatchU64(std::size_t at, std::uint64_t value) {
  for (std::size_t i = 0; i < 8; ++i) out[at + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

std::uint64_t BinaryWriter::Checksum(std::string_view bytes) {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ULL;
  }
  return hash;
}

}  // namespace stattree
