#include "tools/stattree/cell_converter.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace stattree {
namespace cli {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Index past a run of digits starting at `i`.
std::size_t SkipDigits(const std::string& s, std::size_t i) {
  while (i < s.size() && IsDigit(s[i])) ++i;
  return i;
}

enum class Shape { Text, Integer, Real };

Shape Classify(const std::string& s) {
  std::size_t i = 0;
  if (i < s.size() && s[i] == '-') ++i;
  const std::size_t intStart = i;
  i = SkipDigits(s, i);
  const std::size_t intDigits = i - intStart;
  if (intDigits == 0 || (intDigits > 1 && s[intStart] == '0')) return Shape::Text;
  bool real = false;
  if (i < s.size() && s[i] == '.') {
    const std::size_t fractionStart = ++i;
    i = SkipDigits(s, i);
    if (i == fractionStart) return Shape::Text;
    real = true;
  }
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    const std::size_t exponentStart = i;
    i = SkipDigits(s, i);
    if (i == exponentStart) return Shape::Text;
    real = true;
  }
  if (i != s.size()) return Shape::Text;
  return real ? Shape::Real : Shape::Integer;
}

}  // namespace

void CellConverter::Convert(Variant& value, const std::string& cell, bool forceText) {
  if (cell.empty()) {
    value.SetEmpty();
    return;
  }
  if (!forceText) {
    const char* first = cell.data();
    const char* last = first + cell.size();
    switch (Classify(cell)) {
      case Shape::Integer: {
        long long number = 0;
        const auto result = std::from_chars(first, last, number);
        if (result.ec == std::errc() && result.ptr == last) {
          value = Variant(number);
          return;
        }
        break;
      }
      case Shape::Real: {
        double number = 0;
        const auto result = std::from_chars(first, last, number);
        if (result.ec == std::errc() && result.ptr == last && std::isfinite(number)) {
          value = Variant(number);
          return;
        }
        break;
      }
      case Shape::Text:
        break;
    }
  }
  value = Variant(cell);
}

}  // namespace cli
}  // namespace stattree
