#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "stattree/definitions/stats_defn.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::Dump;
using testing::MakeField;
using testing::MakePair;

using StatsDefnDump = testing::ErrorTest;

TEST_F(StatsDefnDump, DefaultDefinitionWithNullPrefix) {
  StatsDefn defn;
  EXPECT_EQ(Dump(defn, nullptr),
            "Name      : \r\n"
            "Field     : Invalid\r\n"
            "Type      : \r\n"
            "Subset    : No subset spec\r\n"
            "Grouping  : No grouping spec\r\n");
}

TEST_F(StatsDefnDump, GroupedSumWithPrefix) {
  StatsDefn defn("Sales", MakeField("Amount", 4), StatsDefn::Sum);
  ASSERT_TRUE(defn.CreateGroupingSpec("ByYear", {MakeField("Year", 0), MakeField("Month", 1)}));
  EXPECT_EQ(Dump(defn, "  "),
            "  Name      : Sales\r\n"
            "  Field     : Amount(Col = 4)\r\n"
            "  Type      : Sum\r\n"
            "  Subset    : No subset spec\r\n"
            "  Grouping  : name=ByYear\r\n"
            "            : fields=Year(Col 0), Month(Col 1)\r\n");
}

TEST_F(StatsDefnDump, EnumCountListsItsValuesInListOrder) {
  StatsDefn defn("Regions", MakeField("Region", 5), StatsDefn::EnumCount);
  ASSERT_TRUE(defn.CreateEnumSpec(std::vector<std::string>{"South", "North"}));
  EXPECT_EQ(Dump(defn, "* "),
            "* Name      : Regions\r\n"
            "* Field     : Region(Col = 5)\r\n"
            "* Type      : EnumCount\r\n"
            "* Subset    : No subset spec\r\n"
            "* Grouping  : No grouping spec\r\n"
            "* Enum Count Distinct Values: South, North\r\n");
}

TEST_F(StatsDefnDump, EnumPercentWithGroupingAndSubset) {
  StatsDefn defn("Share", MakeField("Region", 5), StatsDefn::EnumPercent);
  ASSERT_TRUE(defn.CreateSubsetSpec(
      "North2004", {MakePair("Region", 5, Variant("North")), MakePair("Year", 0, Variant(2004)),
                    MakePair("Note", 2, Variant())}));
  ASSERT_TRUE(defn.CreateGroupingSpec("ByMonth", {MakeField("Month", 1)}));
  ASSERT_TRUE(defn.CreateEnumSpec(std::set<std::string>{"b", "a"}));
  EXPECT_EQ(Dump(defn, ""),
            "Name      : Share\r\n"
            "Field     : Region(Col = 5)\r\n"
            "Type      : EnumPercent\r\n"
            "Subset    : name=North2004\r\n"
            "          : field_values=Region(Col 5)=North, Year(Col 0)=2004, Note(Col 2)=\r\n"
            "Grouping  : name=ByMonth\r\n"
            "          : fields=Month(Col 1)\r\n"
            "Enum Percent Distinct Values: a, b\r\n");
}

TEST_F(StatsDefnDump, HistogramBinsAreIndentedElevenSpacesPastThePrefix) {
  StatsDefn defn("Amounts", MakeField("Amount", 4), StatsDefn::Histogram1);
  ASSERT_TRUE(defn.CreateHistogramSpec(Variant(0), Variant(10), 2));
  EXPECT_EQ(Dump(defn, "> "),
            "> Name      : Amounts\r\n"
            "> Field     : Amount(Col = 4)\r\n"
            "> Type      : Histogram1\r\n"
            "> Subset    : No subset spec\r\n"
            "> Grouping  : No grouping spec\r\n"
            "> Histogram Bins:\r\n"
            ">            ??? >= Col 4 < 0\r\n"
            ">            0 >= Col 4 < 10\r\n"
            ">            10 >= Col 4 < 20\r\n"
            ">            20 >= Col 4 < ???\r\n");
}

TEST_F(StatsDefnDump, SpecOfANonDistributionTypeLeavesThePrefixAlone) {
  StatsDefn defn(std::string(60, 'n'), MakeField(std::string(60, 'f'), 12), StatsDefn::Count);
  ASSERT_TRUE(defn.CreateEnumSpec(std::vector<std::string>{"a"}));
  // The name is cut to 49 characters, the field name is not.
  EXPECT_EQ(Dump(defn, "##"), "##Name      : " + std::string(49, 'n') +
                                  "\r\n##Field     : " + std::string(60, 'f') +
                                  "(Col = 12)\r\n"
                                  "##Type      : Count\r\n"
                                  "##Subset    : No subset spec\r\n"
                                  "##Grouping  : No grouping spec\r\n"
                                  "##");
}

}  // namespace
}  // namespace stattree
