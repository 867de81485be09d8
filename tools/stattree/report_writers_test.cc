// Whole reports are compared end to end; these are the number and bar forms
// that small test data does not reach.
#include <gtest/gtest.h>

#include "tools/stattree/progress_bar.h"
#include "tools/stattree/report_csv.h"
#include "tools/stattree/report_html.h"
#include "tools/stattree/report_text.h"

namespace stattree {
namespace cli {
namespace {

TEST(TextReportWriter, FormatsNumbersForPeople) {
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(-1234567)), "-1,234,567");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(-1234.567)), "-1,234.57");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(0.012345)), "0.01235");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant(0.0)), "0.00");
  EXPECT_EQ(TextReportWriter::FormatValue(Variant::Invalid()), "(invalid)");
}

TEST(TextReportWriter, BarsScaleToTheMaximumAndShowTinyAmounts) {
  EXPECT_EQ(TextReportWriter::Bar(0, 10, 4), "");
  EXPECT_EQ(TextReportWriter::Bar(20, 10, 2), "\u2588\u2588");
  EXPECT_EQ(TextReportWriter::Bar(0.001, 10, 4), "\u258F");
}

TEST(CsvReportWriter, QuotesOnlyWhatRfc4180Asks) {
  const std::pair<std::string, std::string> cases[] = {
      {"plain text", "plain text"},
      {" spaced ", " spaced "},
      {"", ""},
      {"a,b", "\"a,b\""},
      {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"a\nb", "\"a\nb\""},
      {"a\rb", "\"a\rb\""},
  };
  for (const auto& [cell, quoted] : cases) EXPECT_EQ(CsvReportWriter::Quote(cell), quoted);
}

TEST(HtmlReportWriter, EscapesMarkupAndAttributeQuotes) {
  EXPECT_EQ(HtmlReportWriter::Escape("<a href='x'>\"R&D\"</a>"),
            "&lt;a href=&#39;x&#39;&gt;&quot;R&amp;D&quot;&lt;/a&gt;");
  EXPECT_EQ(HtmlReportWriter::Escape("\xc3\xa9 plain"), "\xc3\xa9 plain");
}

TEST(ProgressBar, LineShowsFractionCountAndRate) {
  EXPECT_EQ(ProgressBar::Line(1500000, 2.0, -1), "1,500,000 records  750,000 records/s");
  std::string half;
  for (int i = 0; i < 12; ++i) half += "\u2588";
  EXPECT_EQ(ProgressBar::Line(10, 0, 0.5), "[" + half + std::string(12, ' ') + "] 50%  10 records");
}

}  // namespace
}  // namespace cli
}  // namespace stattree
