#include "stattree/boundary/variant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace stattree {
namespace {

std::vector<Variant> MixedValues() {
  return {Variant(),
          Variant::Invalid(),
          Variant(0),
          Variant(-0.0),
          Variant(5),
          Variant(5.0),
          Variant(5.5),
          Variant(-3),
          Variant(-2.75),
          Variant(9007199254740993LL),  // 2^53 + 1: not representable as double
          Variant(9007199254740992.0),  // 2^53
          Variant(9223372036854775807LL),
          Variant(9.3e18),
          Variant(-9.3e18),
          Variant(1e300),
          Variant("5"),
          Variant("abc"),
          Variant("abd"),
          Variant(""),
          Variant("\xff"),
          Variant("B"),
          Variant("a")};
}

TEST(VariantOrdering, IsAStrictWeakOrderingOverMixedKinds) {
  const auto values = MixedValues();
  for (const auto& a : values) {
    EXPECT_FALSE(a < a) << std::string(a);
    for (const auto& b : values) {
      if (a < b) {
        EXPECT_FALSE(b < a) << std::string(a) << " vs " << std::string(b);
      }
      const bool incomparable_ab = !(a < b) && !(b < a);
      EXPECT_EQ(incomparable_ab, a == b) << std::string(a) << " vs " << std::string(b);
      for (const auto& c : values) {
        if (a < b && b < c) {
          EXPECT_TRUE(a < c);
        }
        const bool incomparable_bc = !(b < c) && !(c < b);
        if (incomparable_ab && incomparable_bc) {
          EXPECT_TRUE(!(a < c) && !(c < a));
        }
      }
    }
  }
}

TEST(VariantOrdering, ComparesIntegersAndRealsExactly) {
  EXPECT_TRUE(Variant(9007199254740992.0) < Variant(9007199254740993LL));
  EXPECT_FALSE(Variant(9007199254740993LL) < Variant(9007199254740992.0));
  EXPECT_TRUE(Variant(9223372036854775807LL) < Variant(9.3e18));
  EXPECT_TRUE(Variant(-9.3e18) < Variant(-9223372036854775807LL - 1));
  EXPECT_TRUE(Variant(5) == Variant(5.0));
  EXPECT_TRUE(Variant(5) < Variant(5.5));
  EXPECT_TRUE(Variant(-3) < Variant(-2.75));
  EXPECT_FALSE(Variant(5) == Variant("5"));
}

TEST(VariantOrdering, RanksNumbersBelowTextBelowInvalidBelowEmpty) {
  EXPECT_TRUE(Variant(1e300) < Variant(""));
  EXPECT_TRUE(Variant("zzz") < Variant::Invalid());
  EXPECT_TRUE(Variant::Invalid() < Variant());
  EXPECT_TRUE(Variant("a") < Variant("\xff"));  // unsigned bytes
  EXPECT_TRUE(Variant("B") < Variant("a"));
}

TEST(VariantOrdering, EmptyOnTheRightIsPassedByEveryValue) {
  const Variant e;
  for (const auto& r : MixedValues()) {
    if (r.IsEmpty()) continue;
    EXPECT_TRUE(r < e);
    EXPECT_TRUE(r > e);
    EXPECT_TRUE(r <= e);
    EXPECT_TRUE(r >= e);
    EXPECT_FALSE(e < r);
    EXPECT_FALSE(e > r);
    EXPECT_FALSE(e <= r);
    EXPECT_FALSE(e >= r);
  }
  EXPECT_FALSE(e < e);
  EXPECT_FALSE(e > e);
  EXPECT_TRUE(e <= e);
  EXPECT_TRUE(e >= e);
}

TEST(VariantOrdering, DerivedOperatorsFollowLessForNonEmpty) {
  for (const auto& a : MixedValues()) {
    for (const auto& b : MixedValues()) {
      if (a.IsEmpty() || b.IsEmpty()) continue;
      EXPECT_EQ(a > b, b < a);
      EXPECT_EQ(a <= b, !(b < a));
      EXPECT_EQ(a >= b, !(a < b));
    }
  }
}

TEST(VariantKinds, EmptyInvalidAndNaN) {
  EXPECT_TRUE(Variant().IsEmpty());
  EXPECT_TRUE(Variant().IsValid());
  EXPECT_FALSE(Variant::Invalid().IsValid());
  EXPECT_FALSE(Variant::Invalid().IsEmpty());
  EXPECT_FALSE(Variant(std::nan("")).IsValid());
}

TEST(VariantText, ShortestRoundTripDigits) {
  EXPECT_EQ(std::string(Variant()), "");
  EXPECT_EQ(std::string(Variant::Invalid()), "");
  EXPECT_EQ(std::string(Variant(-42)), "-42");
  EXPECT_EQ(std::string(Variant(2.0)), "2");
  EXPECT_EQ(std::string(Variant(2.5)), "2.5");
  EXPECT_EQ(std::string(Variant(100000.0)), "100000");
  EXPECT_EQ(std::string(Variant(1e21)), "1e+21");
  EXPECT_EQ(std::string(Variant(1.5e-7)), "1.5e-07");
  EXPECT_EQ(std::string(Variant(-0.0)), "0");
  EXPECT_EQ(std::string(Variant(0.1)), "0.1");
  EXPECT_EQ(std::string(Variant(1e-6)), "0.000001");
  EXPECT_EQ(std::string(Variant("abc")), "abc");
}

TEST(VariantText, StringEquivalence) {
  EXPECT_TRUE(Variant(5).IsStringEquivalentTo(Variant(5.0)));
  EXPECT_TRUE(Variant(5).IsStringEquivalentTo(Variant("5")));
  EXPECT_FALSE(Variant(5).IsStringEquivalentTo(Variant("5.0")));
  EXPECT_FALSE(Variant("a").IsStringEquivalentTo(Variant("A")));
  EXPECT_TRUE(Variant().IsStringEquivalentTo(Variant("")));
}

TEST(VariantKinds, AssignmentReplacesKindAndContent) {
  Variant copied("abc");
  copied = Variant(5);
  EXPECT_TRUE(copied.IsInteger());
  EXPECT_EQ(copied.GetText(), "");
  Variant moved("abc");
  Variant real(2.5);
  moved = std::move(real);
  EXPECT_TRUE(moved.IsReal());
  EXPECT_EQ(moved.GetText(), "");
  EXPECT_EQ(std::string(moved), "2.5");
  Variant text(7);
  text = Variant("xyz");
  EXPECT_EQ(text.GetText(), "xyz");
  EXPECT_TRUE(text.IsStringEquivalentTo(Variant("xyz")));
}

TEST(VariantArithmetic, EmptyIsTheIdentityOfPlus) {
  EXPECT_EQ(Variant() + Variant(3), Variant(3));
  EXPECT_EQ(Variant(3) + Variant(), Variant(3));
  EXPECT_FALSE((Variant() + Variant::Invalid()).IsValid());
  EXPECT_EQ((Variant("abc") + Variant()).GetText(), "abc");
  EXPECT_TRUE((Variant() + Variant()).IsEmpty());
}

TEST(VariantArithmetic, KindsOfResults) {
  EXPECT_TRUE((Variant(2) + Variant(3)).IsInteger());
  EXPECT_TRUE((Variant(2) * Variant(3)).IsInteger());
  EXPECT_TRUE((Variant(2) + Variant(0.5)).IsReal());
  EXPECT_EQ(Variant(2) + Variant(0.5), Variant(2.5));
  const Variant q = Variant(6) / Variant(3);
  EXPECT_TRUE(q.IsReal());
  EXPECT_EQ(q, Variant(2));
  EXPECT_FALSE((Variant(1) / Variant(0)).IsValid());
  EXPECT_FALSE((Variant(1) / Variant(0.0)).IsValid());
}

// Accumulators add in place; every kind of operand must give what + gives.
TEST(VariantArithmetic, AddingInPlaceGivesWhatPlusGives) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<Variant> operands = {
      Variant(),    Variant::Invalid(), Variant(0),   Variant(-3),   Variant(9223372036854775807LL),
      Variant(0.1), Variant(-0.0),      Variant(inf), Variant(-inf), Variant("4"),
      Variant("x")};
  for (const Variant& a : operands) {
    for (const Variant& b : operands) {
      const Variant plus = a + b;
      Variant sum = a;
      sum += b;
      SCOPED_TRACE(std::string(a) + " + " + std::string(b));
      EXPECT_EQ(sum.GetKind(), plus.GetKind());
      EXPECT_EQ(std::string(sum), std::string(plus));
      EXPECT_EQ(sum.GetText(), plus.GetText());
    }
  }
}

TEST(VariantArithmetic, IntegerOverflowPromotesToReal) {
  const Variant big(9223372036854775807LL);
  const Variant sum = big + Variant(1);
  EXPECT_TRUE(sum.IsReal());
  EXPECT_DOUBLE_EQ(sum.GetReal(), 9223372036854775808.0);
  EXPECT_TRUE((big * Variant(2)).IsReal());
}

TEST(VariantArithmetic, TextAndInvalidOperands) {
  EXPECT_EQ(Variant("4") + Variant(1), Variant(5));
  EXPECT_EQ(Variant("2.5") * Variant(2), Variant(5.0));
  EXPECT_FALSE((Variant("4x") + Variant(1)).IsValid());
  EXPECT_FALSE((Variant("inf") + Variant(1)).IsValid());
  EXPECT_FALSE((Variant::Invalid() + Variant(1)).IsValid());
  EXPECT_FALSE((Variant::Invalid() * Variant()).IsValid());
  EXPECT_TRUE((Variant() * Variant(2)).IsEmpty());
  EXPECT_TRUE((Variant(2) / Variant()).IsEmpty());
  EXPECT_FALSE((Variant() / Variant::Invalid()).IsValid());
}

TEST(VariantConversion, ToDouble) {
  EXPECT_EQ(static_cast<double>(Variant("1.25")), 1.25);
  EXPECT_TRUE(std::isnan(static_cast<double>(Variant("x"))));
  EXPECT_TRUE(std::isnan(static_cast<double>(Variant())));
}

}  // namespace
}  // namespace stattree
