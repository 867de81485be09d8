#include "tools/stattree/cell_converter.h"

#include <gtest/gtest.h>

namespace stattree {
namespace cli {
namespace {

Variant Convert(const std::string& cell, bool forceText = false) {
  Variant value("stale");
  CellConverter::Convert(value, cell, forceText);
  return value;
}

TEST(CellConverter, EmptyCellIsEmptyValue) {
  EXPECT_TRUE(Convert("").IsEmpty());
  EXPECT_TRUE(Convert("", true).IsEmpty());
}

TEST(CellConverter, CanonicalIntegersBecomeIntegers) {
  for (const char* cell : {"0", "7", "-12", "9223372036854775807", "-9223372036854775808"}) {
    const Variant value = Convert(cell);
    EXPECT_TRUE(value.IsInteger()) << cell;
    EXPECT_EQ(value.ToString(), cell);
  }
}

TEST(CellConverter, CanonicalRealsBecomeReals) {
  EXPECT_TRUE(Convert("0.5").IsReal());
  EXPECT_DOUBLE_EQ(Convert("-12.25").GetReal(), -12.25);
  EXPECT_DOUBLE_EQ(Convert("1e3").GetReal(), 1000.0);
  EXPECT_DOUBLE_EQ(Convert("2.5E-2").GetReal(), 0.025);
  EXPECT_DOUBLE_EQ(Convert("3e+2").GetReal(), 300.0);
}

TEST(CellConverter, NonCanonicalNumbersStayTextAsWritten) {
  for (const char* cell : {"007", "01.5", "00", "-0123", "+5", " 5", "5 ", ".5", "5.", "1,000",
                           "1e", "1e+", "NaN", "inf", "0x1F", "--1", "-", "1.2.3", "12a"}) {
    const Variant value = Convert(cell);
    EXPECT_TRUE(value.IsText()) << cell;
    EXPECT_EQ(value.GetText(), cell);
  }
}

TEST(CellConverter, OutOfRangeNumbersStayText) {
  EXPECT_TRUE(Convert("9223372036854775808").IsText());
  EXPECT_TRUE(Convert("1e400").IsText());
}

TEST(CellConverter, ForcedTextKeepsDigits) {
  const Variant value = Convert("12345", true);
  EXPECT_TRUE(value.IsText());
  EXPECT_EQ(value.GetText(), "12345");
}

}  // namespace
}  // namespace cli
}  // namespace stattree
