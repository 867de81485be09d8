#include "tools/stattree/printable_text.h"

namespace stattree {
namespace cli {
namespace {

void AppendEscaped(std::string& out, unsigned char byte) {
  static constexpr char kDigits[] = "0123456789abcdef";
  out += "\\x";
  out += kDigits[byte >> 4];
  out += kDigits[byte & 0xf];
}

}  // namespace

std::string PrintableText::Escape(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool c1 = byte == 0xc2 && i + 1 < text.size() &&
                    (static_cast<unsigned char>(text[i + 1]) & 0xe0) == 0x80;
    if (c1) {
      AppendEscaped(out, byte);
      AppendEscaped(out, static_cast<unsigned char>(text[++i]));
    } else if (byte < 0x20 || byte == 0x7f) {
      AppendEscaped(out, byte);
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace cli
}  // namespace stattree
