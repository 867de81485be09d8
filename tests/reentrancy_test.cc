// Hosts that call back into the engine from inside a run. Every callback
// (record source, record, progress) makes random calls; each call that
// would change the engine must be refused at its own location, and the run
// must then end exactly as the same run of an engine left alone. Under the
// sanitizers this also proves that no nested call touches freed memory.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace {

using testing::CountingProgress;
using testing::ErrorSnapshot;
using testing::HeldError;
using testing::MakeField;
using testing::ReadTree;
using testing::Row;
using testing::TableStats;

using Definitions = std::map<std::string, StatsDefn>;

// A short row makes the reads of Amount and Region fail, so that GetError
// is called back too.
std::vector<Row> Rows(bool withShortRow) {
  std::vector<Row> rows = testing::SalesRows();
  if (withShortRow) rows.insert(rows.begin() + 3, Row{2005, "Web"});
  return rows;
}

// One call a callback may make. `location` is where a call that changes the
// engine is refused; 0 marks a read, which may answer or refuse.
struct NestedCall {
  const char* name;
  std::function<bool(TableStats&, const Definitions&)> call;
  int location;
};

const std::vector<NestedCall>& NestedCalls() {
  static const std::vector<NestedCall> calls = {
      {"ProcessRecords", [](TableStats& s, const Definitions&) { return s.ProcessRecords(); },
       10040},
      {"Configure",
       [](TableStats& s, const Definitions& d) { return s.Configure(&d, {MakeField("Year", 0)}); },
       10010},
      {"Reset",
       [](TableStats& s, const Definitions&) {
         s.Reset();
         return false;
       },
       10005},
      {"MoveToRootNode", [](TableStats& s, const Definitions&) { return s.MoveToRootNode(); },
       10080},
      {"MoveToParent", [](TableStats& s, const Definitions&) { return s.MoveToParent(); }, 10090},
      {"MoveToChild", [](TableStats& s, const Definitions&) { return s.MoveToChild(0); }, 10100},
      {"MoveToStatsResult",
       [](TableStats& s, const Definitions&) { return s.MoveToStatsResult("Sales"); }, 10170},
      {"reads",
       [](TableStats& s, const Definitions& d) {
         s.GetNodeCount();
         s.GetChildCount();
         Variant value;
         s.GetResult(value, 0);
         return ReadTree(s, d) == "no tree" && s.GetLastRunOutcome() == Stats::RunOutcome::UnderWay;
       },
       0},
      {"copy",
       [](TableStats& s, const Definitions&) {
         TableStats copy(s);
         return copy.GetNodeCount() == s.GetNodeCount();
       },
       0},
  };
  return calls;
}

// The observable outcome of one call, taken right after it.
struct Observed {
  bool result = false;
  int state = -1;
  Stats::RunOutcome outcome = Stats::RunOutcome::NoRun;
  int nodes = 0;
  ErrorSnapshot error;
  std::string tree;

  bool operator==(const Observed& o) const {
    return result == o.result && state == o.state && outcome == o.outcome && nodes == o.nodes &&
           error == o.error && tree == o.tree;
  }
};

int StateOf(const Stats& stats) {
  for (int s = Stats::NotConfigured; s <= Stats::AtStatsResult; ++s) {
    if (stats.StateIs(static_cast<Stats::StatsState>(s))) return s;
  }
  return -1;
}

// Runs one random lifecycle on two engines over the same rows: `poked`
// gets nested calls from every callback, `alone` none.
void RunSequence(unsigned seed, int& refusals) {
  std::mt19937 outer(seed);
  std::mt19937 inner(seed * 7919U + 1U);
  const Definitions definitions = testing::SalesDefinitions();
  const Definitions otherDefinitions = testing::SalesDefinitions();
  const std::vector<Field> fields = testing::YearsAndRegions();

  std::unique_ptr<TableStats> poked;
  std::unique_ptr<TableStats> alone;
  CountingProgress pokedProgress;
  CountingProgress aloneProgress;
  bool inRun = false;
  bool resetRefused = false;

  const auto nest = [&] {
    // Only on a clean error manager, so that clearing after the check
    // restores exactly what the run had.
    if (!inRun || Stats::IsErrorSet() || !Stats::GetErrorLocations().empty() || inner() % 2 != 0) {
      return;
    }
    const NestedCall& nested = NestedCalls()[inner() % NestedCalls().size()];
    SCOPED_TRACE(nested.name);
    const bool result = nested.call(*poked, otherDefinitions);
    if (nested.location != 0) {
      const ErrorSnapshot error = HeldError();
      EXPECT_FALSE(result);
      EXPECT_EQ(std::make_pair(error.code, error.locations),
                std::make_pair(10075, std::vector<int>{nested.location}));
      ++refusals;
      resetRefused = resetRefused || nested.location == 10005;
    } else {
      EXPECT_TRUE(result);
    }
    Stats::ClearError();
  };
  const auto startOver = [&] {
    const bool shortRow = outer() % 3 == 0;
    poked = std::make_unique<TableStats>(Rows(shortRow));
    alone = std::make_unique<TableStats>(Rows(shortRow));
    const bool describe = outer() % 2 == 0;
    poked->Record().describeErrors = describe;
    alone->Record().describeErrors = describe;
    poked->onCall = nest;
    poked->Record().onCall = nest;
  };
  pokedProgress.onCall = nest;
  startOver();

  for (int step = 0; step < 30; ++step) {
    const unsigned op = outer() % 8;
    const int cancelAfter = outer() % 3 == 0 ? static_cast<int>(outer() % 6) : -1;
    const int child = static_cast<int>(outer() % 3);
    const auto apply = [&](TableStats& stats, CountingProgress& progress) {
      Observed seen;
      switch (op) {
        case 0:
        case 1:
          seen.result = stats.Configure(&definitions, fields);
          break;
        case 2:
        case 3:
        case 4:
          progress = CountingProgress{};
          progress.cancelAfter = cancelAfter;
          progress.onCall = &stats == poked.get() ? testing::Callback(nest) : testing::Callback();
          inRun = &stats == poked.get();
          seen.result = stats.ProcessRecords(&progress);
          inRun = false;
          break;
        case 5:
          stats.Reset();
          break;
        case 6:
          seen.result = stats.MoveToRootNode() && stats.MoveToChild(child);
          break;
        default:
          seen.tree = ReadTree(stats, definitions);
          break;
      }
      seen.error = HeldError();
      Stats::ClearError();
      seen.state = StateOf(stats);
      seen.outcome = stats.GetLastRunOutcome();
      seen.nodes = stats.GetNodeCount();
      Stats::ClearError();
      return seen;
    };
    SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step) + " op " +
                 std::to_string(op));
    resetRefused = false;
    const Observed expected = apply(*alone, aloneProgress);
    const Observed actual = apply(*poked, pokedProgress);
    if (resetRefused) {
      // The run failed; the engines now differ.
      EXPECT_FALSE(actual.result);
      startOver();
      continue;
    }
    ASSERT_TRUE(actual == expected)
        << "result " << actual.result << "/" << expected.result << " state " << actual.state << "/"
        << expected.state << " outcome " << static_cast<int>(actual.outcome) << "/"
        << static_cast<int>(expected.outcome) << " nodes " << actual.nodes << "/" << expected.nodes
        << "\n" << ::testing::PrintToString(actual.error) << "\n"
        << ::testing::PrintToString(expected.error) << "\n"
        << actual.tree << "---\n"
        << expected.tree;
    if (outer() % 10 == 0) startOver();
  }
}

TEST(Reentrance, NestedCallsFromEveryCallbackAreRefusedAndChangeNothing) {
  Stats::ClearError();
  int refusals = 0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    RunSequence(seed, refusals);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(refusals, 100);
}

}  // namespace
}  // namespace stattree
