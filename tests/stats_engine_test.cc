// The engine's lifecycle through a host: configuration, the record loop,
// progress and cancellation, and the exact error rows and locations of
// every wrong call.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace {

using testing::CountingProgress;
using testing::ErrorSnapshot;
using testing::ExpectError;
using testing::FullError;
using testing::HeldError;
using testing::MakeDefn;
using testing::MakeField;
using testing::Row;
using testing::TableStats;

using testing::kAmount;
using testing::kRegion;
using testing::kYear;
using testing::SalesRows;

std::map<std::string, StatsDefn> CountDefinitions() {
  return {{"Records", MakeDefn("Records", "Amount", kAmount, StatsDefn::Count)}};
}

// The engine's wrong-state row, with the state as its detail.
ErrorSnapshot WrongState(const std::string& state, const std::vector<int>& locations) {
  return FullError(10075, 90000, "Stats engine in wrong state for this operation", true, state,
                   locations);
}

using EngineTest = testing::ErrorTest;

TEST_F(EngineTest, RunsReportProgressAndKeepTheRecordsSoFar) {
  struct Case {
    const char* name;
    std::vector<Row> rows;
    int cancelAfter;
    bool result;
    Stats::StatsState state;
    int starts, lastTotal, increments, done, nodes;
  };
  const Case cases[] = {
      {"five records", SalesRows(), -1, true, Stats::ProcessingDone, 1, 5, 5, 1, 4},
      {"no records: no progress calls", {}, -1, true, Stats::ProcessingDone, 0, -1, 0, 0, 1},
      // The cancelled record is in but not counted; the third (2005) never
      // arrives. No error is set, and the state still allows a run.
      {"cancelled", SalesRows(), 2, false, Stats::DefinitionsProcessed, 1, 5, 1, 0, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TableStats stats(c.rows);
    const auto definitions = CountDefinitions();
    ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
    EXPECT_TRUE(stats.StateIs(Stats::DefinitionsProcessed));
    CountingProgress progress;
    progress.cancelAfter = c.cancelAfter;
    EXPECT_EQ(stats.ProcessRecords(&progress), c.result);
    EXPECT_TRUE(stats.StateIs(c.state));
    EXPECT_FALSE(Stats::IsErrorSet());
    EXPECT_EQ(std::vector<int>({progress.starts, progress.lastTotal, progress.increments,
                                progress.done, stats.GetNodeCount()}),
              std::vector<int>({c.starts, c.lastTotal, c.increments, c.done, c.nodes}));
    if (c.result) continue;
    // A later run adds on top of what is there.
    progress.cancelAfter = -1;
    EXPECT_TRUE(stats.ProcessRecords(&progress));
    EXPECT_EQ(stats.GetNodeCount(), 4);
  }
}

TEST_F(EngineTest, WrongStateCallsSetTheStateAsDetail) {
  TableStats stats(SalesRows());
  EXPECT_FALSE(stats.ProcessRecords());
  EXPECT_EQ(HeldError(), WrongState("0", {10040}));

  Stats::ClearError();
  const auto definitions = CountDefinitions();
  ASSERT_TRUE(stats.Configure(&definitions, {}));
  EXPECT_FALSE(stats.Configure(&definitions, {}));
  EXPECT_EQ(HeldError(), WrongState("2", {10010}));
  EXPECT_TRUE(stats.StateIs(Stats::DefinitionsProcessed));

  // Nothing clears an error but the host: a later successful call leaves it
  // set, adding its own location.
  EXPECT_EQ(stats.GetNodeCount(), 1);
  EXPECT_EQ(HeldError(), WrongState("2", {10010, 10167}));
}

TEST_F(EngineTest, NullDefinitionsMapIsRefused) {
  TableStats stats(SalesRows());
  EXPECT_FALSE(stats.Configure(nullptr, {MakeField("Year", kYear)}));
  EXPECT_EQ(HeldError(), FullError(10020, 90000, "No stats definitions specified", true, "", {}));
  EXPECT_TRUE(stats.StateIs(Stats::NotConfigured));
}

TEST_F(EngineTest, NullMapThenValidMapDoublesTheTreeFields) {
  TableStats stats(SalesRows());
  EXPECT_FALSE(stats.Configure(nullptr, {MakeField("Year", kYear)}));
  Stats::ClearError();
  const auto definitions = CountDefinitions();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
  // Level 2 now carries the "Root" pseudo-field with column -1.
  EXPECT_FALSE(stats.ProcessRecords());
  ExpectError(10595, "-1", {10620, 11100, 10455, 10060});
  EXPECT_TRUE(stats.StateIs(Stats::DefinitionsProcessed));
}

TEST_F(EngineTest, RecordSourceFailureIsReportedAfterTheLoop) {
  TableStats stats(SalesRows());
  stats.FailAt(2);
  const auto definitions = CountDefinitions();
  ASSERT_TRUE(stats.Configure(&definitions, {}));
  CountingProgress progress;
  EXPECT_FALSE(stats.ProcessRecords(&progress));
  EXPECT_EQ(HeldError(), FullError(4242, 1, "source failed", true, "", {10065}));
  EXPECT_EQ(progress.done, 0);
  EXPECT_TRUE(stats.StateIs(Stats::DefinitionsProcessed));
}

TEST_F(EngineTest, StaleErrorFailsTheRecordLoop) {
  TableStats empty({});
  TableStats stats(SalesRows());
  const auto definitions = CountDefinitions();
  ASSERT_TRUE(empty.Configure(&definitions, {}));
  ASSERT_TRUE(stats.Configure(&definitions, {}));
  Stats::SetError(42, 7, "left over", true);
  EXPECT_FALSE(empty.ProcessRecords());
  EXPECT_EQ(HeldError().locations, std::vector<int>({10050}));

  EXPECT_FALSE(stats.ProcessRecords());
  EXPECT_EQ(HeldError().locations, std::vector<int>({10050, 10065}));
}

TEST_F(EngineTest, ResetKeepsTheTreeAndReconfiguringReports11070) {
  TableStats stats(SalesRows());
  const auto definitions = CountDefinitions();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
  ASSERT_TRUE(stats.ProcessRecords());
  stats.Reset();
  EXPECT_TRUE(stats.StateIs(Stats::NotConfigured));
  EXPECT_EQ(stats.GetNodeCount(), 4);
  // The ignored 11070 of the root's criteria then fails the first definition.
  EXPECT_FALSE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
  const ErrorSnapshot error = HeldError();
  EXPECT_EQ(error.code, 11070);
  EXPECT_EQ(error.message, "Tree node criteria already exists");
  ASSERT_FALSE(error.locations.empty());
  EXPECT_EQ(error.locations.front(), 11225);
  EXPECT_EQ(error.locations.back(), 10030);
  EXPECT_TRUE(stats.StateIs(Stats::Configured));

  // With no definitions nothing consults the error, and the run then fails.
  Stats::ClearError();
  TableStats again(SalesRows());
  const std::map<std::string, StatsDefn> none;
  ASSERT_TRUE(again.Configure(&none, {}));
  again.Reset();
  EXPECT_TRUE(again.Configure(&none, {}));
  EXPECT_EQ(HeldError().code, 11070);
  EXPECT_FALSE(again.ProcessRecords());
}

// The kept nodes read a subset criteria and an enumeration set that came
// from the first map; the host frees that map once Reset returns (the
// sanitizer build catches any read of it).
TEST_F(EngineTest, KeptNodesNeedNotTheDefinitionsFreedAfterReset) {
  TableStats stats(SalesRows());
  auto first = std::make_unique<std::map<std::string, StatsDefn>>();
  first->emplace("North", MakeDefn("North", "Amount", kAmount, StatsDefn::Sum));
  ASSERT_TRUE(
      first->at("North").CreateSubsetSpec("N", {{MakeField("Region", kRegion), Variant("North")}}));
  first->emplace("Regions", MakeDefn("Regions", "Region", kRegion, StatsDefn::EnumCount));
  ASSERT_TRUE(first->at("Regions").CreateEnumSpec(std::vector<std::string>{"North", "South"}));
  ASSERT_TRUE(stats.Configure(first.get(), {MakeField("Year", kYear)}));
  ASSERT_TRUE(stats.ProcessRecords());
  stats.Reset();
  first.reset();
  const std::map<std::string, StatsDefn> none;
  stats.Configure(&none, {MakeField("Year", kYear)});
  Stats::ClearError();
  // The records pass through the kept year nodes before the deeper "Root"
  // level refuses them.
  EXPECT_FALSE(stats.ProcessRecords());
  EXPECT_EQ(HeldError().code, 10595);
  EXPECT_EQ(stats.GetNodeCount(), 3);
}

TEST_F(EngineTest, HostErrorsRoundTrip) {
  Stats::SetError(42, 7, "mine", true);
  EXPECT_EQ(HeldError(), FullError(42, 7, "mine", true, "", {}));
  Stats::ClearError();
  EXPECT_FALSE(Stats::IsErrorSet());
  EXPECT_FALSE(HeldError().set);
  EXPECT_EQ(sizeof(Stats::sErrorInfoTable) / sizeof(ErrorInfo), 40u);
  EXPECT_STREQ(Stats::sErrorInfoTable[0].source, "Stats::Configure");
}

TEST_F(EngineTest, CopyIsIndependentAndNavigableFromItsRoot) {
  TableStats stats(SalesRows());
  const auto definitions = CountDefinitions();
  ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
  ASSERT_TRUE(stats.ProcessRecords());
  auto copy = std::make_unique<TableStats>(stats);
  EXPECT_EQ(copy->GetNodeCount(), 4);
  EXPECT_TRUE(copy->MoveToRootNode());
  EXPECT_EQ(copy->GetChildCount(), 3);
  copy.reset();
  EXPECT_TRUE(stats.MoveToRootNode());
  EXPECT_EQ(stats.GetChildCount(), 3);
}

// The false answers that set no error are told apart by the last run's
// outcome; a refused call is no run and changes nothing.
TEST_F(EngineTest, LastRunOutcomeTellsTheEndsOfARunApart) {
  using Outcome = Stats::RunOutcome;
  struct Case {
    const char* name;
    int readColumn;      // the statistic's column; 9 is never there
    int sourceFailsAt;   // -1: the source never fails
    int cancelAfter;     // -1: never cancelled
    bool describe;       // the record's GetError describes a failed read
    bool resetFromRead;  // GetValue calls Reset
    bool result;
    Outcome outcome;
    int code;  // 0: no error set
  };
  const Case cases[] = {
      {"completed", 2, -1, -1, false, false, true, Outcome::Completed, 0},
      {"cancelled", 2, -1, 2, false, false, false, Outcome::Cancelled, 0},
      {"source failed", 2, 2, -1, false, false, false, Outcome::FailedWithError, 4242},
      {"read described", 9, -1, -1, true, false, false, Outcome::FailedWithError, 777},
      {"read undescribed", 9, -1, -1, false, false, false, Outcome::FailedWithoutError, 0},
      {"reset from a read", 2, -1, -1, false, true, false, Outcome::FailedWithError, 10075},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Stats::ClearError();
    TableStats stats(SalesRows());
    stats.Record().describeErrors = c.describe;
    stats.FailAt(c.sourceFailsAt);
    if (c.resetFromRead) stats.Record().onCall = [&stats] { stats.Reset(); };
    const std::map<std::string, StatsDefn> definitions = {
        {"Sum", MakeDefn("Sum", "Amount", c.readColumn, StatsDefn::Sum)}};
    ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
    EXPECT_EQ(stats.GetLastRunOutcome(), Outcome::NoRun);
    CountingProgress progress;
    progress.cancelAfter = c.cancelAfter;
    EXPECT_EQ(stats.ProcessRecords(&progress), c.result);
    EXPECT_EQ(stats.GetLastRunOutcome(), c.outcome);
    const ErrorSnapshot error = HeldError();
    EXPECT_EQ(error.set ? error.code : 0, c.code);
    // Only a success and a cancel leave no trace in the error manager.
    EXPECT_EQ(error.locations.empty(), c.result || c.cancelAfter >= 0);
    stats.Record().onCall = nullptr;

    Stats::ClearError();
    if (c.result) {
      EXPECT_FALSE(stats.ProcessRecords());
      EXPECT_EQ(stats.GetLastRunOutcome(), c.outcome);
    }
    stats.Reset();
    EXPECT_EQ(stats.GetLastRunOutcome(), Outcome::NoRun);
  }
}

// A Reset from inside a run is refused at its own location and the run
// ends with false, even when the host clears the error at once.
TEST_F(EngineTest, ResetDuringARunIsRefusedAndFailsTheRun) {
  for (const bool clear : {false, true}) {
    SCOPED_TRACE(clear);
    Stats::ClearError();
    TableStats stats(SalesRows());
    const auto definitions = CountDefinitions();
    ASSERT_TRUE(stats.Configure(&definitions, {MakeField("Year", kYear)}));
    bool checked = false;
    CountingProgress progress;
    progress.onCall = [&] {
      if (checked) return;
      checked = true;
      stats.Reset();
      EXPECT_EQ(HeldError(), WrongState("2", {10005}));
      if (clear) Stats::ClearError();
    };
    EXPECT_FALSE(stats.ProcessRecords(&progress));
    EXPECT_TRUE(checked);
    EXPECT_TRUE(stats.StateIs(Stats::DefinitionsProcessed));
    EXPECT_EQ(progress.done, 0);
    if (clear) {
      // Every record went in; only the end of the run failed.
      EXPECT_EQ(HeldError().locations, std::vector<int>({10065}));
      EXPECT_EQ(stats.GetNodeCount(), 4);
    }
  }
}

}  // namespace
}  // namespace stattree
