// Allocation failures in a host's calls. The binary replaces the global
// allocation functions so that, once armed, the n-th allocation fails:
// once, or from then on (memory that stays exhausted). Every failure point
// of Configure, ProcessRecords and a full read of the results is visited;
// under the sanitizers LeakSanitizer checks that none of them leaks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <new>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tests/host_fixture.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

long gCountdown = -1;  // -1: never fail; n: the allocation after n more fails
bool gSustained = false;
bool gInjected = false;

void* Allocate(std::size_t size) {
  if (gCountdown == 0) {
    gInjected = true;
    if (!gSustained) gCountdown = -1;
    throw std::bad_alloc();
  }
  if (gCountdown > 0) --gCountdown;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void Arm(long n, bool sustained = false) {
  gInjected = false;
  gSustained = sustained;
  gCountdown = n;
}

// Whether a failure was injected since Arm.
bool Disarm() {
  gCountdown = -1;
  gSustained = false;
  return gInjected;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

namespace stattree {
namespace {

using testing::ErrorSnapshot;
using testing::HeldError;
using testing::MakeDefn;
using testing::MakeField;
using testing::ReadTree;
using testing::Row;
using testing::TableStats;

using Definitions = std::map<std::string, StatsDefn>;

// The sales rows, with text values long enough to live on the heap, so that the host's reads can
// fail too.
std::vector<Row> Rows() {
  const std::string north = "North of the river";
  return {{2004, "Web", 10, north}, {2004, "Store", 4, "South"}, {2005, "Web", 7, north},
          {2005, "Phone", 1, ""},   {2006, "Web", 3, "South"},   {2006, "Web", 5, north}};
}

class OutOfMemory : public ::testing::Test {
 protected:
  void SetUp() override { Stats::ClearError(); }
  void TearDown() override {
    Disarm();
    Stats::ClearError();
  }

  static void ExpectOutOfMemory(int location) {
    const ErrorSnapshot error = HeldError();
    EXPECT_EQ(std::make_tuple(error.code, error.second, error.locations),
              std::make_tuple(10001, 12000, std::vector<int>({location})));
    Stats::ClearError();
  }

  // Everything freed so far was freed: the failure points leak nothing.
  static void ExpectNoLeaks() {
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
  }

  // The results of an untroubled run.
  std::string Reference() {
    TableStats stats(Rows());
    EXPECT_TRUE(stats.Configure(&definitions_, testing::YearsAndRegions()));
    EXPECT_TRUE(stats.ProcessRecords());
    return ReadTree(stats, definitions_);
  }

  const Definitions definitions_ = testing::SalesDefinitions();
  const std::vector<Field> fields_ = testing::YearsAndRegions();
};

// Each failure point once, then from that point on.
TEST_F(OutOfMemory, ConfigureReportsEveryFailureAndLeaksNothing) {
  long points = 0;
  for (long i = 0;; ++i) {
    const long n = i / 2;
    SCOPED_TRACE("allocation " + std::to_string(n) + (i % 2 ? " on" : ""));
    TableStats stats(Rows());
    Arm(n, i % 2 == 1);
    const bool configured = stats.Configure(&definitions_, fields_);
    if (!Disarm()) {
      ASSERT_TRUE(configured);
      break;
    }
    ++points;
    ASSERT_FALSE(configured);
    ExpectOutOfMemory(10035);
  }
  EXPECT_GT(points, 40);
  ExpectNoLeaks();
}

// A failure in the record loop leaves DefinitionsProcessed, one in the
// finalization Finalizing; navigation refuses either and Reset starts
// over. A failure swallowed by the standard library (a sort's scratch
// buffer) must still give the exact results. Each failure point once, then
// from that point on.
TEST_F(OutOfMemory, ProcessRecordsReportsEveryFailureAndLeaksNothing) {
  const std::string reference = Reference();
  long points = 0;
  for (long i = 0;; ++i) {
    const long n = i / 2;
    SCOPED_TRACE("allocation " + std::to_string(n) + (i % 2 ? " on" : ""));
    TableStats stats(Rows());
    ASSERT_TRUE(stats.Configure(&definitions_, fields_));
    testing::CountingProgress progress;
    Arm(n, i % 2 == 1);
    const bool processed = stats.ProcessRecords(&progress);
    const bool injected = Disarm();
    if (processed) {
      EXPECT_EQ(ReadTree(stats, definitions_), reference);
      if (!injected) break;
      continue;
    }
    ASSERT_TRUE(injected);
    ++points;
    ExpectOutOfMemory(10075);
    EXPECT_EQ(stats.GetLastRunOutcome(), Stats::RunOutcome::FailedWithError);
    const bool finalizing = stats.StateIs(Stats::Finalizing);
    EXPECT_TRUE(finalizing || stats.StateIs(Stats::DefinitionsProcessed));
    testing::ExpectRefused(stats.MoveToRootNode(), 10075, finalizing ? "3" : "2", {10080});
    stats.Reset();
    EXPECT_TRUE(stats.StateIs(Stats::NotConfigured));
  }
  EXPECT_GT(points, 100);
  ExpectNoLeaks();
}

// Reads and copies let the failure through; afterwards the engine reads
// the same.
TEST_F(OutOfMemory, NavigationAndCopiesThrowAndLeaveTheResultsIntact) {
  TableStats stats(Rows());
  ASSERT_TRUE(stats.Configure(&definitions_, fields_));
  ASSERT_TRUE(stats.ProcessRecords());
  const std::string reference = ReadTree(stats, definitions_);
  long points = 0;
  for (long n = 0;; ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    bool threw = false;
    Arm(n);
    try {
      ReadTree(stats, definitions_);
      const TableStats copy(stats);
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    if (!Disarm()) break;
    points += threw ? 1 : 0;
    Stats::ClearError();
    ASSERT_EQ(ReadTree(stats, definitions_), reference);
  }
  EXPECT_GT(points, 50);
  ExpectNoLeaks();
}

// When memory stays exhausted, each operation that catches the failure
// must still report it: recording the error may not allocate.
TEST_F(OutOfMemory, SustainedExhaustionIsStillReported) {
  TableStats configured(Rows());
  ASSERT_TRUE(configured.Configure(&definitions_, fields_));
  TableStats fresh(Rows());
  StatsDefn defn = MakeDefn("Sales", "Amount", 2, StatsDefn::EnumCount);
  const std::vector<Field> groupingFields = {MakeField("Region", 3)};
  const std::vector<SubsetFieldValPair> pairs = {{MakeField("Region", 3), "South"}};
  const std::vector<std::string> valueList = {"Web", "Store"};
  const std::set<std::string> valueSet = {"Web", "Store"};
  std::vector<Variant> edges = {Variant(0), Variant(5)};
  const std::string name = "ByRegion";
  const struct {
    std::function<bool()> call;
    int location;
  } operations[] = {
      {[&] { return fresh.Configure(&definitions_, fields_); }, 10035},
      {[&] { return configured.ProcessRecords(); }, 10075},
      {[&] { return defn.CreateGroupingSpec(name, groupingFields); }, 11617},
      {[&] { return defn.CreateSubsetSpec(name, pairs); }, 11637},
      {[&] { return defn.CreateEnumSpec(valueList); }, 11665},
      {[&] { return defn.CreateEnumSpec(valueSet); }, 11695},
      {[&] { return defn.CreateHistogramSpec(edges, LowerEdgeInclusive); }, 11725},
      {[&] { return defn.CreateHistogramSpec(Variant(0), Variant(5), 2); }, 11755},
  };
  for (const auto& operation : operations) {
    SCOPED_TRACE(operation.location);
    Arm(0, true);
    const bool result = operation.call();
    Disarm();
    EXPECT_FALSE(result);
    ExpectOutOfMemory(operation.location);
  }
  ExpectNoLeaks();
}

}  // namespace
}  // namespace stattree
