// Allocation failures inside the builders and the copy. The test binary
// replaces the global allocation functions so that the n-th allocation
// after arming throws; every builder is driven through each of its
// allocations in turn.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/definitions/stats_defn_test_util.h"

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

using testing_util::CurrentError;
using testing_util::Dump;
using testing_util::MakeField;
using testing_util::MakePair;
using testing_util::StatsDefnTest;

constexpr int kOutOfMemoryCode = 10001;
constexpr int kMaxAllocations = 1000;

// Runs `build` on a fresh definition with the n-th allocation failing, for
// n = 0, 1, ... until it succeeds. Each failure must be reported at
// `location` and leave the definition exactly as it was.
void ExpectEveryAllocationFailureCaught(const std::function<bool(StatsDefn&)>& build,
                                        int location) {
  int failures = 0;
  for (long n = 0; n < kMaxAllocations; ++n) {
    StatsDefn defn("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
    const std::string before = Dump(defn, "");
    TheErrorManager().Clear();
    gFailCountdown = n;
    const bool built = build(defn);
    const bool failureInjected = gFailCountdown == -1;
    gFailCountdown = -1;
    if (built) {
      EXPECT_FALSE(failureInjected) << "allocation " << n << " failed silently";
      EXPECT_GT(failures, 0);
      return;
    }
    ++failures;
    const auto held = CurrentError();
    ASSERT_EQ(held.code, kOutOfMemoryCode) << "allocation " << n;
    EXPECT_EQ(held.locations, std::vector<int>{location}) << "allocation " << n;
    EXPECT_EQ(Dump(defn, ""), before) << "allocation " << n;
    EXPECT_EQ(defn.GetEnumCriteriaSet(), nullptr);
  }
  ADD_FAILURE() << "never succeeded";
}

using StatsDefnOutOfMemory = StatsDefnTest;

TEST_F(StatsDefnOutOfMemory, GroupingBuilderReportsAtItsLocation) {
  const std::vector<Field> fields{MakeField("Year", 0), MakeField("Month", 1)};
  ExpectEveryAllocationFailureCaught(
      [&](StatsDefn& defn) { return defn.CreateGroupingSpec("ByYear", fields); }, 11617);
}

TEST_F(StatsDefnOutOfMemory, SubsetBuilderReportsAtItsLocation) {
  const std::vector<SubsetFieldValPair> pairs{MakePair("Region", 5, Variant("North")),
                                              MakePair("Year", 0, Variant(2004))};
  ExpectEveryAllocationFailureCaught(
      [&](StatsDefn& defn) { return defn.CreateSubsetSpec("North", pairs); }, 11637);
}

TEST_F(StatsDefnOutOfMemory, EnumBuildersReportAtTheirLocations) {
  const std::vector<std::string> list{"South", "North"};
  const std::set<std::string> set{"South", "North"};
  ExpectEveryAllocationFailureCaught([&](StatsDefn& defn) { return defn.CreateEnumSpec(list); },
                                     11665);
  ExpectEveryAllocationFailureCaught([&](StatsDefn& defn) { return defn.CreateEnumSpec(set); },
                                     11695);
}

TEST_F(StatsDefnOutOfMemory, HistogramBuildersReportAtTheirLocations) {
  std::vector<Variant> edges{Variant(0), Variant(10)};
  ExpectEveryAllocationFailureCaught(
      [&](StatsDefn& defn) { return defn.CreateHistogramSpec(edges, LowerEdgeInclusive); }, 11725);
  ExpectEveryAllocationFailureCaught(
      [&](StatsDefn& defn) { return defn.CreateHistogramSpec(Variant(0), Variant(10), 3); }, 11755);
}

TEST_F(StatsDefnOutOfMemory, FailedCopyLeaksNothingAndLeavesTheSourceIntact) {
  StatsDefn source("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
  ASSERT_TRUE(source.CreateGroupingSpec("ByYear", {MakeField("Year", 0)}));
  ASSERT_TRUE(source.CreateSubsetSpec("North", {MakePair("Region", 5, Variant("North"))}));
  ASSERT_TRUE(source.CreateEnumSpec(std::vector<std::string>{"Web", "Store"}));
  const std::string before = Dump(source, "");
  bool copied = false;
  for (long n = 0; n < kMaxAllocations && !copied; ++n) {
    gFailCountdown = n;
    try {
      StatsDefn copy(source);
      gFailCountdown = -1;
      copied = true;
      EXPECT_EQ(Dump(copy, ""), before);
    } catch (const std::bad_alloc&) {
      gFailCountdown = -1;
    }
  }
  EXPECT_TRUE(copied);
  EXPECT_EQ(Dump(source, ""), before);
}

}  // namespace
}  // namespace stattree
