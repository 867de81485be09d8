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

  Kind GetKind() const { return kind_; }
  bool IsEmpty() const { return kind_ == Kind::Empty; }
  // False only for an invalid value.
  bool IsValid() const { return kind_ != Kind::Invalid; }
  bool IsInteger() const { return kind_ == Kind::Integer; }
  bool IsReal() const { return kind_ == Kind::Real; }
  bool IsNumber() const { return IsInteger() || IsReal(); }
  bool IsText() const { return kind_ == Kind::Text; }

  // Typed getters: the stored content when the kind matches, else 0 / "".
  long long GetInteger() const { return kind_ == Kind::Integer ? int_ : 0; }
  double GetReal() const { return kind_ == Kind::Real ? real_ : 0.0; }
  const std::string& GetText() const { return text_; }

  void SetEmpty() noexcept;

  // True when both text forms are byte-equal: 5, 5.0 and "5" are equivalent.
  bool IsStringEquivalentTo(const Variant& other) const {
    if (kind_ == other.kind_) {
      // Distinct reals have distinct shortest forms; 0 and -0 both read "0".
      if (kind_ == Kind::Real) return real_ == other.real_;
      if (kind_ == Kind::Integer) return int_ == other.int_;
      if (kind_ == Kind::Text) return text_ == other.text_;
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
    if (SameNumberKind(other)) return kind_ == Kind::Real ? real_ < other.real_ : int_ < other.int_;
    return Compare(other) < 0;
  }
  bool operator>(const Variant& other) const {
    if (SameNumberKind(other)) return kind_ == Kind::Real ? real_ > other.real_ : int_ > other.int_;
    return SlowGreater(other);
  }
  bool operator<=(const Variant& other) const {
    if (SameNumberKind(other)) {
      return kind_ == Kind::Real ? real_ <= other.real_ : int_ <= other.int_;
    }
    return SlowLessEqual(other);
  }
  bool operator>=(const Variant& other) const {
    if (SameNumberKind(other)) {
      return kind_ == Kind::Real ? real_ >= other.real_ : int_ >= other.int_;
    }
    return SlowGreaterEqual(other);
  }
  bool operator==(const Variant& other) const { return Compare(other) == 0; }
  bool operator!=(const Variant& other) const { return !(*this == other); }

  Variant operator+(const Variant& other) const {
    if (kind_ == Kind::Real && other.kind_ == Kind::Real) return Variant(real_ + other.real_);
    long long sum = 0;
    if (kind_ == Kind::Integer && other.kind_ == Kind::Integer &&
        !__builtin_add_overflow(int_, other.int_, &sum)) {
      return Variant(sum);
    }
    return SlowAdd(other);
  }
  // The same as *this = *this + other, without a temporary for two
  // numbers of one kind.
  Variant& operator+=(const Variant& other) {
    if (kind_ == Kind::Real && other.kind_ == Kind::Real) {
      const double sum = real_ + other.real_;
      if (sum == sum) {
        real_ = sum;
        return *this;
      }
    } else if (kind_ == Kind::Integer && other.kind_ == Kind::Integer) {
      long long sum = 0;
      if (!__builtin_add_overflow(int_, other.int_, &sum)) {
        int_ = sum;
        return *this;
      }
    }
    return *this = *this + other;
  }
  Variant operator*(const Variant& other) const {
    if (kind_ == Kind::Real && other.kind_ == Kind::Real) return Variant(real_ * other.real_);
    return SlowMultiply(other);
  }
  Variant operator/(const Variant& other) const;

 private:
  bool SameNumberKind(const Variant& other) const {
    return kind_ == other.kind_ && (kind_ == Kind::Integer || kind_ == Kind::Real);
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

  Kind kind_ = Kind::Empty;
  union {
    long long int_ = 0;
    double real_;
  };
  std::string text_;  // empty unless kind_ is Text
};

inline Variant::Variant(int value) noexcept : kind_(Kind::Integer), int_(value) {}
inline Variant::Variant(long value) noexcept : kind_(Kind::Integer), int_(value) {}
inline Variant::Variant(long long value) noexcept : kind_(Kind::Integer), int_(value) {}
// NaN is no value: it is kept as invalid.
inline Variant::Variant(double value) noexcept : kind_(Kind::Real), real_(value) {
  if (value != value) {
    kind_ = Kind::Invalid;
    int_ = 0;
  }
}

inline void Variant::CopyNumber(const Variant& other) noexcept {
  if (other.kind_ == Kind::Real) {
    real_ = other.real_;
  } else {
    int_ = other.int_;
  }
}

inline Variant& Variant::operator=(const Variant& other) {
  kind_ = other.kind_;
  CopyNumber(other);
  // Numbers never carry text: skip the string copy unless either side has some.
  if (!text_.empty() || !other.text_.empty()) text_ = other.text_;
  return *this;
}

inline Variant& Variant::operator=(Variant&& other) noexcept {
  kind_ = other.kind_;
  CopyNumber(other);
  if (!text_.empty() || !other.text_.empty()) text_ = std::move(other.text_);
  return *this;
}

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_VARIANT_H_
