// Variant: the value that crosses between host, engine and statistics.
//
// A Variant is empty, an integer (64-bit), a real, a text, or invalid (an
// error or not-available value). The engine stores values by copy, orders
// them, tests them for text equivalence and combines them arithmetically;
// the contract below is what the criteria, accumulators and sorts rely on.
//
// Ordering: operator< is a strict weak ordering over every value. Numbers
// (integers and reals compare exactly with each other, also beyond 2^53)
// rank below texts (unsigned byte-wise), texts below invalid, invalid below
// empty. The other comparisons treat an empty operand specially so that an
// empty bound is passed by every value (open histogram edges, the first
// Min/Max value): for non-empty r and empty e, r<e, r>e, r<=e, r>=e are all
// true; e<x and e>x are always false; e<=x and e>=x hold only for empty x.
//
// Arithmetic: an empty operand of + is the identity; * and / give invalid
// for an invalid operand, else empty for an empty one. Integer + and *
// promote to real on overflow; / always gives a real; division by zero
// and NaN results give invalid. Text that parses fully as a number acts
// as that number; other text gives invalid.
//
// Layout: the comparisons and the arithmetic of two numbers of the same
// kind are inline, since every accumulator and criteria runs them per
// record; every other combination goes out of line with the same results.
//
// Thread-safety: a value is safe to read from several threads; writing
// needs external synchronisation, as for any standard value type.
#ifndef STATTREE_BOUNDARY_VARIANT_H_
#define STATTREE_BOUNDARY_VARIANT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "stattree/export.h"

namespace stattree {

class STATTREE_EXPORT Variant {
 public:
  enum class Kind : int { Empty, Integer, Real, Text, Invalid };

  // User-provided, so that a const Variant may be default-initialised.
  Variant() noexcept {}
  // Members defined inline below say so here too: a Windows host compiles
  // them itself instead of importing them from the DLL.
  inline Variant(int value) noexcept;        // NOLINT(google-explicit-constructor)
  inline Variant(long value) noexcept;       // NOLINT(google-explicit-constructor)
  inline Variant(long long value) noexcept;  // NOLINT(google-explicit-constructor)
  inline Variant(double value) noexcept;     // NOLINT(google-explicit-constructor)
  Variant(const std::string& value);         // NOLINT(google-explicit-constructor)
  Variant(const char* value);                // NOLINT(google-explicit-constructor)
  Variant(const Variant& other) = default;
  Variant(Variant&& other) noexcept = default;
  inline Variant& operator=(const Variant& other);
  inline Variant& operator=(Variant&& other) noexcept;
  virtual ~Variant() = default;

  // An error / not-available value.
  static Variant Invalid() noexcept;

  Kind GetKind() const { return kind; }
  bool IsEmpty() const { return kind == Kind::Empty; }
  // False only for an invalid value.
  bool IsValid() const { return kind != Kind::Invalid; }
  bool IsInteger() const { return kind == Kind::Integer; }
  bool IsReal() const { return kind == Kind::Real; }
  bool IsNumber() const { return IsInteger() || IsReal(); }
  bool IsText() const { return kind == Kind::Text; }

  // Typed getters: the stored content when the kind matches, else 0 / "".
  long long GetInteger() const { return kind == Kind::Integer ? integer : 0; }
  double GetReal() const { return kind == Kind::Real ? real : 0.0; }
  const std::string& GetText() const { return text; }

  void SetEmpty() noexcept;

  // True when both text forms are byte-equal: 5, 5.0 and "5" are equivalent.
  bool IsStringEquivalentTo(const Variant& other) const {
    if (kind == other.kind) {
      // Distinct reals have distinct shortest forms; 0 and -0 both read "0".
      if (kind == Kind::Real) return real == other.real;
      if (kind == Kind::Integer) return integer == other.integer;
      if (kind == Kind::Text) return text == other.text;
    }
    return SlowStringEquivalent(other);
  }

  // Room for the text form of any number.
  static constexpr size_t kTextBufferSize = 400;
  using TextBuffer = char[kTextBufferSize];
  // The text form (as operator std::string gives it) without allocating:
  // numbers are written into `buffer`, text is viewed in place. The view
  // lives as long as both the buffer and this value stay unchanged.
  std::string_view TextView(TextBuffer& buffer) const;

  // Text form: "" for empty and invalid, decimal for integers, the shortest
  // round-trip digits for reals ("2", "2.5", "1e+21", "1.5e-07"), the text
  // itself for text.
  operator std::string() const;  // NOLINT(google-explicit-constructor)
  std::string ToString() const { return std::string(*this); }

  // Numbers as themselves, numeric text parsed, anything else NaN.
  explicit operator double() const;
  double ToDouble() const { return static_cast<double>(*this); }

  bool operator<(const Variant& other) const {
    if (SameNumberKind(other))
      return kind == Kind::Real ? real < other.real : integer < other.integer;
    return Compare(other) < 0;
  }
  bool operator>(const Variant& other) const {
    if (SameNumberKind(other))
      return kind == Kind::Real ? real > other.real : integer > other.integer;
    return SlowGreater(other);
  }
  bool operator<=(const Variant& other) const {
    if (SameNumberKind(other)) {
      return kind == Kind::Real ? real <= other.real : integer <= other.integer;
    }
    return SlowLessEqual(other);
  }
  bool operator>=(const Variant& other) const {
    if (SameNumberKind(other)) {
      return kind == Kind::Real ? real >= other.real : integer >= other.integer;
    }
    return SlowGreaterEqual(other);
  }
  bool operator==(const Variant& other) const { return Compare(other) == 0; }
  bool operator!=(const Variant& other) const { return !(*this == other); }

  Variant operator+(const Variant& other) const {
    if (kind == Kind::Real && other.kind == Kind::Real) return Variant(real + other.real);
    long long sum = 0;
    if (kind == Kind::Integer && other.kind == Kind::Integer &&
        !__builtin_add_overflow(integer, other.integer, &sum)) {
      return Variant(sum);
    }
    return SlowAdd(other);
  }
  // The same as *this = *this + other, without a temporary for two
  // numbers of one kind.
  Variant& operator+=(const Variant& other) {
    if (kind == Kind::Real && other.kind == Kind::Real) {
      const double sum = real + other.real;
      if (sum == sum) {
        real = sum;
        return *this;
      }
    } else if (kind == Kind::Integer && other.kind == Kind::Integer) {
      long long sum = 0;
      if (!__builtin_add_overflow(integer, other.integer, &sum)) {
        integer = sum;
        return *this;
      }
    }
    return *this = *this + other;
  }
  Variant operator*(const Variant& other) const {
    if (kind == Kind::Real && other.kind == Kind::Real) return Variant(real * other.real);
    return SlowMultiply(other);
  }
  Variant operator/(const Variant& other) const;

 private:
  bool SameNumberKind(const Variant& other) const {
    return kind == other.kind && (kind == Kind::Integer || kind == Kind::Real);
  }
  inline void CopyNumber(const Variant& other) noexcept;
  // -1, 0 or 1: the total preorder behind operator< and operator==.
  int Compare(const Variant& other) const;
  bool SlowStringEquivalent(const Variant& other) const;
  bool SlowGreater(const Variant& other) const;
  bool SlowLessEqual(const Variant& other) const;
  bool SlowGreaterEqual(const Variant& other) const;
  Variant SlowAdd(const Variant& other) const;
  Variant SlowMultiply(const Variant& other) const;

  Kind kind = Kind::Empty;
  union {
    long long integer = 0;
    double real;
  };
  std::string text;  // empty unless kind is Text
};

inline Variant::Variant(int value) noexcept : kind(Kind::Integer), integer(value) {}
inline Variant::Variant(long value) noexcept : kind(Kind::Integer), integer(value) {}
inline Variant::Variant(long long value) noexcept : kind(Kind::Integer), integer(value) {}
// NaN is no value: it is kept as invalid.
inline Variant::Variant(double value) noexcept : kind(Kind::Real), real(value) {
  if (value != value) {
    kind = Kind::Invalid;
    integer = 0;
  }
}

inline void Variant::CopyNumber(const Variant& other) noexcept {
  if (other.kind == Kind::Real) {
    real = other.real;
  } else {
    integer = other.integer;
  }
}

inline Variant& Variant::operator=(const Variant& other) {
  kind = other.kind;
  CopyNumber(other);
  // Numbers never carry text: skip the string copy unless either side has some.
  if (!text.empty() || !other.text.empty()) text = other.text;
  return *this;
}

inline Variant& Variant::operator=(Variant&& other) noexcept {
  kind = other.kind;
  CopyNumber(other);
  if (!text.empty() || !other.text.empty()) text = std::move(other.text);
  return *this;
}

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_VARIANT_H_
