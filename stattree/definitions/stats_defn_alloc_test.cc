// Allocation failures inside the builders and the copy. The test binary
// replaces the global allocation functions so that the n-th allocation
// after arming throws; every builder is driven through each of its
// allocations in turn.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "stattree/definitions/stats_defn.h"
#include "tests/test_util.h"

namespace {

// -1: never fail; n >= 0: the allocation after n more succeeds fails.
long gFailCountdown = -1;

void* Allocate(std::size_t size) {
  if (gFailCountdown == 0) {
    gFailCountdown = -1;
    throw std::bad_alloc();
  }
  if (gFailCountdown > 0) --gFailCountdown;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

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
      gFailCountdown = n;
      built = build(defn);
      const bool injected = gFailCountdown == -1;
      gFailCountdown = -1;
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
    gFailCountdown = n;
    try {
      StatsDefn copy(*source);
      gFailCountdown = -1;
      copied = true;
      EXPECT_EQ(Dump(copy, ""), before);
    } catch (const std::bad_alloc&) {
      gFailCountdown = -1;
    }
  }
  EXPECT_TRUE(copied);
  EXPECT_EQ(Dump(*source, ""), before);
}

}  // namespace
}  // namespace stattree
