#include "stattree/boundary/variant.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <system_error>

namespace stattree {
namespace {

// 2^63 as a double: the first real above every long long.
constexpr double kTwoPow63 = 9223372036854775808.0;

// -1, 0 or 1 as an exact comparison of an integer with a (non-NaN) real.
int CompareIntReal(long long i, double d) {
  if (d >= kTwoPow63) return -1;
  if (d < -kTwoPow63) return 1;
  // |d| < 2^63 here (or d == -2^63, which converts exactly), so the
  // truncation is exact and so is the fraction d - t.
  const auto t = static_cast<long long>(d);
  if (i < t) return -1;
  if (i > t) return 1;
  const double fraction = d - static_cast<double>(t);
  if (fraction > 0) return -1;
  if (fraction < 0) return 1;
  return 0;
}

// A text acts as a number in arithmetic only when it parses fully.
bool ParseNumber(const std::string& text, Variant& out) {
  if (text.empty()) return false;
  const char* first = text.data();
  const char* last = first + text.size();
  long long i = 0;
  auto [ip, iec] = std::from_chars(first, last, i);
  if (iec == std::errc() && ip == last) {
    out = Variant(i);
    return true;
  }
  double d = 0;
  auto [dp, dec] = std::from_chars(first, last, d);
  if (dec == std::errc() && dp == last && std::isfinite(d)) {
    out = Variant(d);
    return true;
  }
  return false;
}

// Numeric view of an operand for arithmetic: false for invalid and for
// text that is not a number.
bool AsNumber(const Variant& v, Variant& out) {
  if (v.IsNumber()) {
    out = v;
    return true;
  }
  if (v.IsText()) return ParseNumber(v.GetText(), out);
  return false;
}

int KindRank(Variant::Kind kind) {
  switch (kind) {
    case Variant::Kind::Integer:
    case Variant::Kind::Real:
      return 0;
    case Variant::Kind::Text:
      return 1;
    case Variant::Kind::Invalid:
      return 2;
    case Variant::Kind::Empty:
      return 3;
  }
  return 3;
}

// Writes the text form of a real into `buffer`; returns its length.
size_t FormatReal(double x, char* buffer, size_t size) {
  if (x == 0) {  // also negative zero
    buffer[0] = '0';
    return 1;
  }
  const double magnitude = std::fabs(x);
  const auto format = (magnitude >= 1e-6 && magnitude < 1e21) ? std::chars_format::fixed
                                                              : std::chars_format::scientific;
  auto [end, ec] = std::to_chars(buffer, buffer + size, x, format);
  return ec == std::errc() ? static_cast<size_t>(end - buffer) : 0;
}

}  // namespace

Variant::Variant(const std::string& value) : kind(Kind::Text), text(value) {}

Variant::Variant(const char* value) : kind(Kind::Text), text(value != nullptr ? value : "") {}

Variant Variant::Invalid() noexcept {
  Variant v;
  v.kind = Kind::Invalid;
  return v;
}

void Variant::SetEmpty() noexcept {
  kind = Kind::Empty;
  integer = 0;
  text.clear();
}

// Called per record and per candidate by every "=" test, so it compares
// the text forms without building strings.
bool Variant::SlowStringEquivalent(const Variant& other) const {
  if (kind == Kind::Text && other.kind == Kind::Text) return text == other.text;
  TextBuffer mine;
  TextBuffer theirs;
  return TextView(mine) == other.TextView(theirs);
}

std::string_view Variant::TextView(TextBuffer& buffer) const {
  switch (kind) {
    case Kind::Integer: {
      auto [end, ec] = std::to_chars(buffer, buffer + kTextBufferSize, integer);
      (void)ec;  // cannot fail: 20 digits fit
      return std::string_view(buffer, static_cast<size_t>(end - buffer));
    }
    case Kind::Real:
      return std::string_view(buffer, FormatReal(real, buffer, kTextBufferSize));
    case Kind::Text:
      return text;
    case Kind::Empty:
    case Kind::Invalid:
      break;
  }
  return std::string_view();
}

Variant::operator std::string() const {
  switch (kind) {
    case Kind::Integer:
      return std::to_string(integer);
    case Kind::Real: {
      TextBuffer buffer;
      return std::string(buffer, FormatReal(real, buffer, sizeof buffer));
    }
    case Kind::Text:
      return text;
    case Kind::Empty:
    case Kind::Invalid:
      break;
  }
  return std::string();
}

Variant::operator double() const {
  Variant number;
  if (kind == Kind::Integer) return static_cast<double>(integer);
  if (kind == Kind::Real) return real;
  if (kind == Kind::Text && ParseNumber(text, number)) return static_cast<double>(number);
  return std::numeric_limits<double>::quiet_NaN();
}

int Variant::Compare(const Variant& other) const {
  const Variant& a = *this;
  const Variant& b = other;
  const int ra = KindRank(a.kind);
  const int rb = KindRank(b.kind);
  if (ra != rb) return ra < rb ? -1 : 1;
  if (ra == 1) {
    const int c = a.text.compare(b.text);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
  }
  if (ra != 0) return 0;
  if (a.IsInteger() && b.IsInteger())
    return a.integer < b.integer ? -1 : (a.integer > b.integer ? 1 : 0);
  if (a.IsInteger()) return CompareIntReal(a.integer, b.real);
  if (b.IsInteger()) return -CompareIntReal(b.integer, a.real);
  return a.real < b.real ? -1 : (a.real > b.real ? 1 : 0);
}

// The empty special cases let an empty bound be passed by every value.
bool Variant::SlowGreater(const Variant& other) const {
  if (IsEmpty()) return false;
  if (other.IsEmpty()) return true;
  return Compare(other) > 0;
}

bool Variant::SlowLessEqual(const Variant& other) const {
  if (IsEmpty()) return other.IsEmpty();
  if (other.IsEmpty()) return true;
  return Compare(other) <= 0;
}

bool Variant::SlowGreaterEqual(const Variant& other) const {
  if (IsEmpty()) return other.IsEmpty();
  if (other.IsEmpty()) return true;
  return Compare(other) >= 0;
}

Variant Variant::SlowAdd(const Variant& other) const {
  if (IsEmpty()) return other;
  if (other.IsEmpty()) return *this;
  Variant a;
  Variant b;
  if (!AsNumber(*this, a) || !AsNumber(other, b)) return Invalid();
  if (a.IsInteger() && b.IsInteger()) {
    long long sum = 0;
    if (!__builtin_add_overflow(a.integer, b.integer, &sum)) return Variant(sum);
  }
  return Variant(static_cast<double>(a) + static_cast<double>(b));
}

Variant Variant::SlowMultiply(const Variant& other) const {
  if (kind == Kind::Invalid || other.kind == Kind::Invalid) return Invalid();
  if (IsEmpty() || other.IsEmpty()) return Variant();
  Variant a;
  Variant b;
  if (!AsNumber(*this, a) || !AsNumber(other, b)) return Invalid();
  if (a.IsInteger() && b.IsInteger()) {
    long long product = 0;
    if (!__builtin_mul_overflow(a.integer, b.integer, &product)) return Variant(product);
  }
  return Variant(static_cast<double>(a) * static_cast<double>(b));
}

Variant Variant::operator/(const Variant& other) const {
  if (kind == Kind::Invalid || other.kind == Kind::Invalid) return Invalid();
  if (IsEmpty() || other.IsEmpty()) return Variant();
  Variant a;
  Variant b;
  if (!AsNumber(*this, a) || !AsNumber(other, b)) return Invalid();
  const double divisor = static_cast<double>(b);
  if (divisor == 0) return Invalid();
  return Variant(static_cast<double>(a) / divisor);
}

}  // namespace stattree
