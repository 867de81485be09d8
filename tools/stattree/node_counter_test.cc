// NodeCounter against the engine's own count of the same records: the
// counter restates the engine's rule for making nodes, so a drift in
// either shows here.
#include "tools/stattree/node_counter.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "stattree/stattree.h"
#include "tests/host_fixture.h"

namespace stattree {
namespace cli {
namespace {

using Rows = std::vector<testing::Row>;

int EngineNodeCount(const Rows& rows, int levels) {
  std::vector<Field> tree;
  tree.reserve(static_cast<std::size_t>(levels));
  for (int i = 0; i < levels; ++i) tree.push_back(Field{"f" + std::to_string(i), i});
  std::map<std::string, StatsDefn> definitions;
  definitions.emplace("n", StatsDefn("n", Field{"f0", 0}, StatsDefn::Count));
  testing::TableStats stats(rows);
  Stats::ClearError();
  EXPECT_TRUE(stats.Configure(&definitions, tree));
  EXPECT_TRUE(stats.ProcessRecords());
  return stats.GetNodeCount();
}

struct CountCase {
  const char* what;
  int levels;
  Rows rows;
  long long nodes;
};

TEST(NodeCounter, CountsAsTheEngineGrowsTheTree) {
  const Variant empty{};
  const CountCase cases[] = {
      {"no tree field: the root alone", 0, {{"a"}, {"b"}}, 1},
      {"one node per distinct value", 1, {{"a"}, {"b"}, {"a"}}, 3},
      {"values with one text form share a node",
       1,
       {{1000000}, {1e6}, {"1000000"}, {5}, {5.0}, {"5"}, {"05"}},
       4},
      {"a leaf value under two parents makes two nodes",
       2,
       {{"a", "x"}, {"b", "x"}, {"a", "x"}},
       5},
      {"swapped paths stay apart", 2, {{"a", "b"}, {"b", "a"}}, 5},
      {"an empty value is transparent, its children count",
       2,
       {{empty, "x"}, {"", "x"}, {empty, "y"}, {"a", "x"}},
       5},
      {"an empty leaf adds nothing", 2, {{"a", empty}, {"a", ""}, {"a", "z"}}, 3},
      {"a missing column reads as empty", 3, {{"a", "b"}, {"a", "b"}}, 3},
  };
  for (const CountCase& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<int> columns;
    columns.reserve(static_cast<std::size_t>(c.levels));
    for (int i = 0; i < c.levels; ++i) columns.push_back(i);
    NodeCounter counter(columns);
    long long last = counter.GetCount();
    EXPECT_EQ(last, 1);
    for (const std::vector<Variant>& row : c.rows) {
      const long long now = counter.Add(row);
      EXPECT_GE(now, last);
      last = now;
    }
    EXPECT_EQ(last, c.nodes);
    if (c.levels <= 2) {
      EXPECT_EQ(EngineNodeCount(c.rows, c.levels), c.nodes);
    }
  }
}

// Counters over consecutive parts, their journals merged in order, stop
// at the record where one counter over all the rows passes the limit.
TEST(NodeCounter, JournalsMergedInOrderStopWhereOneCounterStops) {
  Rows rows;
  for (int i = 0; i < 40; ++i) {
    rows.push_back({"r" + std::to_string(i % 5 == 4 ? i : i % 3), "c" + std::to_string(i % 4)});
  }
  const std::vector<int> columns = {0, 1};
  for (long long maxNodes : {3, 10, 20, 30, 1000}) {
    // One counter: the record at which it passes, or -1.
    NodeCounter one(columns);
    long long stop = -1;
    for (std::size_t r = 0; r < rows.size() && stop < 0; ++r) {
      if (one.Add(rows[r]) > maxNodes) stop = static_cast<long long>(r);
    }
    for (std::size_t cut = 0; cut <= rows.size(); cut += 7) {
      SCOPED_TRACE("limit " + std::to_string(maxNodes) + ", cut at " + std::to_string(cut));
      NodeCounter merged(columns);
      long long got = -1;
      long long before = 0;
      for (const auto& part :
           {std::make_pair(std::size_t{0}, cut), std::make_pair(cut, rows.size())}) {
        NodeCounter worker(columns, /*journal=*/true);
        for (std::size_t r = part.first; r < part.second; ++r) worker.Add(rows[r]);
        long long passedAt = -1;
        ASSERT_TRUE(merged.MergeJournal(worker.SaveJournal(), maxNodes, passedAt));
        if (passedAt >= 0) {
          got = before + passedAt;
          break;
        }
        before += static_cast<long long>(part.second - part.first);
      }
      EXPECT_EQ(got, stop);
      if (stop < 0) {
        EXPECT_EQ(merged.GetCount(), one.GetCount());
      }
    }
  }
  NodeCounter counter(columns);
  long long passedAt = 0;
  EXPECT_FALSE(counter.MergeJournal(std::string(12, 'x'), 0, passedAt));
  EXPECT_EQ(counter.GetCount(), 1);
}

}  // namespace
}  // namespace cli
}  // namespace stattree
