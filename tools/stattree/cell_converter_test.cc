#include "tools/stattree/cell_converter.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace stattree {
namespace cli {
namespace {

Variant Convert(const char* cell) {
  Variant value("stale");
  CellConverter::Convert(value, cell, false);
  return value;
}

// The common cases and --text run end to end; these are the edges of the
// canonical number forms.
TEST(CellConverter, OnlyCanonicalNumbersBecomeNumbers) {
  for (const char* cell : {"0", "9223372036854775807", "-9223372036854775808"}) {
    const Variant value = Convert(cell);
    EXPECT_TRUE(value.IsInteger()) << cell;
    EXPECT_EQ(value.ToString(), cell);
  }
  for (const char* cell : {"-0.5", "1e3", "2.5E-2", "3e+2"}) {
    const Variant value = Convert(cell);
    EXPECT_TRUE(value.IsReal()) << cell;
    EXPECT_EQ(value.GetReal(), std::strtod(cell, nullptr)) << cell;
  }
  for (const char* cell :
       {"00", "01.5", "-0123", "+5", " 5", "5 ", ".5", "5.", "1,000", "1e+", "NaN", "inf", "0x1F",
        "--1", "-", "1.2.3", "12a", "9223372036854775808", "1e400"}) {
    const Variant value = Convert(cell);
    EXPECT_TRUE(value.IsText()) << cell;
    EXPECT_EQ(value.GetText(), cell);
  }
}

}  // namespace
}  // namespace cli
}  // namespace stattree
