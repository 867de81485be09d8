// BytePacker and ByteUnpacker: a flat binary form for what one process of
// the tool hands another over a pipe (integers, texts, values), read back
// by the same build of the tool on the same machine, so in native byte
// order and with no version. The unpacker never reads past its buffer: a
// short or garbled message makes every later Get answer false.
//
// Thread-safety: none.
#ifndef STATTREE_TOOLS_BYTE_PACK_H_
#define STATTREE_TOOLS_BYTE_PACK_H_

#include <cstdint>
#include <cstring>
#include <string>

#include "stattree/boundary/variant.h"

namespace stattree {
namespace cli {

class BytePacker {
 public:
  void PutInt(long long value) { PutRaw(&value, sizeof value); }
  void PutBool(bool value) { PutInt(value ? 1 : 0); }
  void PutString(const std::string& text) {
    PutInt(static_cast<long long>(text.size()));
    bytes_.append(text);
  }
  void PutVariant(const Variant& value) {
    PutInt(static_cast<long long>(value.GetKind()));
    if (value.IsInteger()) PutInt(value.GetInteger());
    if (value.IsText()) PutString(value.GetText());
    if (value.IsReal()) {
      const double real = value.GetReal();
      PutRaw(&real, sizeof real);
    }
  }
  const std::string& Bytes() const { return bytes_; }

 private:
  void PutRaw(const void* data, std::size_t size) {
    bytes_.append(static_cast<const char*>(data), size);
  }

  std::string bytes_;
};

class ByteUnpacker {
 public:
  // `bytes` is borrowed and must outlive the unpacker.
  explicit ByteUnpacker(const std::string& bytes) : bytes_(bytes) {}

  bool GetInt(long long& value) { return GetRaw(&value, sizeof value); }
  bool GetBool(bool& value) {
    long long number = 0;
    if (!GetInt(number)) return false;
    value = number != 0;
    return true;
  }
  bool GetString(std::string& text) {
    long long size = 0;
    if (!GetInt(size) || size < 0 || static_cast<unsigned long long>(size) > Left()) {
      return Broken();
    }
    text.assign(bytes_, position_, static_cast<std::size_t>(size));
    position_ += static_cast<std::size_t>(size);
    return true;
  }
  bool GetVariant(Variant& value) {
    long long kind = 0;
    if (!GetInt(kind)) return false;
    switch (static_cast<Variant::Kind>(kind)) {
      case Variant::Kind::Empty:
        value.SetEmpty();
        return true;
      case Variant::Kind::Integer: {
        long long number = 0;
        if (!GetInt(number)) return false;
        value = Variant(number);
        return true;
      }
      case Variant::Kind::Real: {
        double real = 0;
        if (!GetRaw(&real, sizeof real)) return false;
        value = Variant(real);
        return true;
      }
      case Variant::Kind::Text: {
        std::string text;
        if (!GetString(text)) return false;
        value = Variant(text);
        return true;
      }
      case Variant::Kind::Invalid:
        value = Variant::Invalid();
        return true;
    }
    return Broken();
  }
  bool AtEnd() const { return !broken_ && position_ == bytes_.size(); }

 private:
  std::size_t Left() const { return bytes_.size() - position_; }
  bool Broken() {
    broken_ = true;
    return false;
  }
  bool GetRaw(void* data, std::size_t size) {
    if (broken_ || size > Left()) return Broken();
    std::memcpy(data, bytes_.data() + position_, size);
    position_ += size;
    return true;
  }

  const std::string& bytes_;
  std::size_t position_ = 0;
  bool broken_ = false;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_BYTE_PACK_H_
