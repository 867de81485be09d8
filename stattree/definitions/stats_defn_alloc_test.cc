// Allocation failures inside the builders and the copy: every builder is
// driven through each of its allocations in turn.
#include <gtest/gtest.h>

#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "stattree/definitions/stats_defn.h"
#include "tests/failing_allocator.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::ExpectError;

using namespace testing;

constexpr long kMaxAllocations = 1000;

using StatsDefnOutOfMemory = testing::ErrorTest;

// Each failure is reported at the builder's own location and leaves the
// definition as it was; the leak checker sees whatever was half built.
TEST_F(StatsDefnOutOfMemory, EveryBuilderFailsCleanlyAtEachAllocation) {
  const std::pair<Build, int> builders[] = {
      {Grouping({MakeField("Year", 0), MakeField("Month", 1)}), 11617},
      {Subset({MakePair("Region", 5, Variant("North")), MakePair("Year", 0, Variant(2004))}),
       11637},
      {EnumList({"South", "North"}), 11665},
      {EnumSet({"South", "North"}), 11695},
      {Edges({Variant(0), Variant(10)}), 11725},
      {Bins(3), 11755},
  };
  for (const auto& [build, location] : builders) {
    bool built = false;
    for (long n = 0; n < kMaxAllocations && !built; ++n) {
      SCOPED_TRACE(std::to_string(location) + " allocation " + std::to_string(n));
      StatsDefn defn("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
      const std::string before = Dump(defn, "");
      Arm(n);
      built = build(defn);
      const bool injected = Disarm();
      if (built) {
        EXPECT_FALSE(injected) << "failure swallowed";
        EXPECT_GT(n, 0);
      } else {
        ExpectError(10001, "", {location});
        EXPECT_EQ(Dump(defn, ""), before);
      }
    }
    EXPECT_TRUE(built) << location;
  }
}

TEST_F(StatsDefnOutOfMemory, FailedCopyLeaksNothingAndLeavesTheSourceIntact) {
  auto source = FullDefn();
  const std::string before = Dump(*source, "");
  bool copied = false;
  for (long n = 0; n < kMaxAllocations && !copied; ++n) {
    Arm(n);
    try {
      StatsDefn copy(*source);
      Disarm();
      copied = true;
      EXPECT_EQ(Dump(copy, ""), before);
    } catch (const std::bad_alloc&) {
      Disarm();
    }
  }
  EXPECT_TRUE(copied);
  EXPECT_EQ(Dump(*source, ""), before);
}

}  // namespace
}  // namespace stattree
