#include "tools/stattree/join.h"

#include <gtest/gtest.h>

#include "tools/stattree/job_text.h"

namespace stattree {
namespace cli {
namespace {

TEST(Join, PutsTheSeparatorBetweenPartsOnly) {
  struct Case {
    std::vector<std::string> parts;
    bool skipLeadingEmpty;
    std::string joined;
  };
  const Case cases[] = {
      {{}, false, ""},
      {{"a"}, false, "a"},
      {{"a", "b", "c"}, false, "a, b, c"},
      {{"", "b"}, false, ", b"},
      {{"a", "", "b"}, false, "a, , b"},
      {{"", "", "b"}, true, "b"},
      {{"a", "", "b"}, true, "a, , b"},
      {{"", ""}, true, ""},
  };
  for (const Case& c : cases) EXPECT_EQ(Join(c.parts, ", ", c.skipLeadingEmpty), c.joined);
}

TEST(JobText, ListsAtMostFortyNamesQuoted) {
  EXPECT_EQ(JobText::QuotedList({"a", ""}), "\"a\", \"\"");
  std::vector<std::string> names(43, "x");
  names[39] = "last";
  const std::string list = JobText::QuotedList(names);
  EXPECT_EQ(list.substr(list.size() - 20), "\"last\", ... (3 more)");
  EXPECT_EQ(list.size(), 39 * 5 + 20u);
  EXPECT_EQ(JobText::PointerToken("a/b~c"), "a~1b~0c");
}

}  // namespace
}  // namespace cli
}  // namespace stattree
