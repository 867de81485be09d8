// Partial results: engines over consecutive ranges of one record stream,
// merged in order (directly or through the binary form), against one engine
// over the whole stream; and the refusals of Merge and MergeResults.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/host_fixture.h"

namespace stattree {
namespace testing {
namespace {

constexpr int kColumns = 6;
using Definitions = std::map<std::string, StatsDefn>;

// Cells of every kind. Numbers are never negative, so that sums added in
// another order differ by rounding only, without cancellation.
Variant RandomValue(std::mt19937& rng) {
  static const char* const kTexts[] = {"a", "b", "North", "7", "2.5", "[no name]"};
  switch (rng() % 10) {
    case 0:
    case 1:
    case 2:
      return Variant(static_cast<int>(rng() % 10));
    case 3:
      return Variant(static_cast<double>(rng() % 40) / 4.0);  // exact, often tied
    case 4:
      return Variant(std::uniform_real_distribution<double>(0.0, 1000.0)(rng));
    case 5:
    case 6:
      return Variant(kTexts[rng() % 6]);
    case 7:
    case 8:
      return Variant();
    default:
      return Variant::Invalid();
  }
}

Definitions RandomDefinitions(std::mt19937& rng) {
  Definitions definitions;
  const int count = 1 + static_cast<int>(rng() % 6);
  for (int i = 0; i < count; ++i) {
    const std::string name = "D" + std::to_string(i);
    const auto type = static_cast<StatsDefn::StatsType>(rng() % 10);
    StatsDefn definition = MakeDefn(name, "F", static_cast<int>(rng() % kColumns), type);
    if (type == StatsDefn::EnumCount || type == StatsDefn::EnumPercent) {
      EXPECT_TRUE(definition.CreateEnumSpec(std::vector<std::string>{"a", "7", "2.5", "b"}));
    } else if (type == StatsDefn::Histogram1) {
      EXPECT_TRUE(definition.CreateHistogramSpec(Variant(1), Variant(2.5), 3));
    }
    if (rng() % 2 == 0) {
      std::vector<Field> fields{MakeField("G", static_cast<int>(rng() % kColumns))};
      if (rng() % 2 == 0) fields.push_back(MakeField("H", static_cast<int>(rng() % kColumns)));
      EXPECT_TRUE(definition.CreateGroupingSpec(rng() % 2 == 0 ? "G1" : "G2", fields));
    }
    if (rng() % 3 == 0) {
      const Variant wanted = rng() % 2 == 0 ? Variant(static_cast<int>(rng() % 3)) : Variant("a");
      EXPECT_TRUE(
          definition.CreateSubsetSpec(rng() % 2 == 0 ? "S1" : "S2",
                                      {MakePair("S", static_cast<int>(rng() % kColumns), wanted)}));
    }
    definitions[name] = definition;
  }
  return definitions;
}

// Every answer the cursor gives, keyed by where it was read. `approximate`
// marks the sums of Sum, Average and StdDev.
struct Answer {
  std::string key;
  Variant value;
  bool approximate = false;
};

void ReadAnswers(Stats& stats, const Definitions& definitions, const std::string& path,
                 std::vector<Answer>& out) {
  const int children = stats.GetChildCount();
  out.push_back({path + " children", Variant(children)});
  for (const auto& entry : definitions) {
    const std::string key = path + " " + entry.first;
    ASSERT_TRUE(stats.MoveToStatsResult(entry.first)) << key;
    auto type = const_cast<StatsDefn&>(entry.second).GetType();
    const bool approximate =
        type == StatsDefn::Sum || type == StatsDefn::Average || type == StatsDefn::StdDev;
    Variant value;
    const int combos = stats.GetGroupingValueCount();
    out.push_back({key + " combos", Variant(combos)});
    for (int c = 0; c < std::max(combos, 1); ++c) {
      const std::string combo = key + " #" + std::to_string(c);
      std::vector<std::string> texts;
      ASSERT_TRUE(stats.GetGroupingValueCombo(texts, c)) << combo;
      std::string joined;
      for (const auto& text : texts) joined += text + "|";
      out.push_back({combo + " values", Variant(joined)});
      out.push_back({combo + " records", Variant(stats.GetRecordsProcessed(c))});
      ASSERT_TRUE(stats.GetResult(value, c));
      out.push_back({combo + " result", value, approximate});
      if (stats.IsEnum()) {
        int bins = 0;
        ASSERT_TRUE(stats.GetEnumValueCount(bins, c));
        for (int b = 0; b < bins; ++b) {
          ASSERT_TRUE(stats.GetEnumResult(value, b, c));
          out.push_back({combo + " bin" + std::to_string(b), value});
        }
        if (type != StatsDefn::EnumPercent) {
          ASSERT_TRUE(stats.GetEnumResult(value, 10001, c));
          out.push_back({combo + " N/A", value});
        }
      }
    }
    out.push_back({key + " total records", Variant(stats.GetTotalGroupingRecordsProcessed())});
    ASSERT_TRUE(stats.GetGroupingTotal(value));
    out.push_back({key + " total", value, approximate});
  }
  for (int i = 0; i < children; ++i) {
    std::string name;
    ASSERT_TRUE(stats.GetChildName(name, i));
    ASSERT_TRUE(stats.MoveToChild(i));
    ReadAnswers(stats, definitions, path + "/" + name, out);
    ASSERT_TRUE(stats.MoveToParent());
  }
}

std::vector<Answer> Answers(Stats& stats, const Definitions& definitions) {
  std::vector<Answer> out;
  EXPECT_TRUE(stats.MoveToRootNode());
  ReadAnswers(stats, definitions, "root", out);
  return out;
}

void ExpectSameAnswers(const std::vector<Answer>& merged, const std::vector<Answer>& single,
                       const std::string& trace) {
  ASSERT_EQ(merged.size(), single.size()) << trace;
  for (std::size_t i = 0; i < merged.size(); ++i) {
    const Answer& a = merged[i];
    const Answer& b = single[i];
    ASSERT_EQ(a.key, b.key) << trace;
    if (a.approximate && a.value.IsReal() && b.value.IsReal()) {
      const double x = a.value.GetReal();
      const double y = b.value.GetReal();
      EXPECT_LE(std::fabs(x - y), 1e-12 * std::max(std::fabs(x), std::fabs(y)))
          << a.key << " " << x << " vs " << y << " " << trace;
    } else {
      EXPECT_EQ(a.value.GetKind(), b.value.GetKind()) << a.key << " " << trace;
      EXPECT_EQ(a.value.ToString(), b.value.ToString()) << a.key << " " << trace;
    }
  }
}

std::vector<Row> Slice(const std::vector<Row>& rows, std::size_t from, std::size_t to) {
  return std::vector<Row>(rows.begin() + static_cast<std::ptrdiff_t>(from),
                          rows.begin() + static_cast<std::ptrdiff_t>(to));
}

TEST(MergeProperty, RangesMergedInOrderAnswerAsOneRun) {
  for (std::uint32_t seed = 1; seed <= 300; ++seed) {
    std::mt19937 rng(seed);
    const Definitions definitions = RandomDefinitions(rng);
    // Engines after the first sometimes use an equal copy of the map.
    const Definitions copied = definitions;
    std::vector<Field> tree;
    const int levels = static_cast<int>(rng() % 4);
    for (int i = 0; i < levels; ++i) {
      tree.push_back(MakeField("T" + std::to_string(i), static_cast<int>(rng() % kColumns)));
    }
    std::vector<Row> rows(rng() % 80);
    for (Row& row : rows) {
      for (int c = 0; c < kColumns; ++c) row.push_back(RandomValue(rng));
    }
    const std::string trace = "seed " + std::to_string(seed);

    TableStats single(rows);
    ASSERT_TRUE(single.Configure(&definitions, tree)) << trace;
    ASSERT_TRUE(single.ProcessRecords(nullptr)) << trace;

    const std::size_t ranges = 1 + rng() % 8;
    std::vector<std::size_t> cuts{0, rows.size()};
    for (std::size_t i = 1; i < ranges; ++i)
      cuts.push_back(rows.empty() ? 0 : rng() % (rows.size() + 1));
    std::sort(cuts.begin(), cuts.end());
    std::vector<std::unique_ptr<TableStats>> parts;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
      parts.push_back(std::make_unique<TableStats>(Slice(rows, cuts[i], cuts[i + 1])));
      const Definitions* map = (i > 0 && rng() % 2 == 0) ? &copied : &definitions;
      ASSERT_TRUE(parts.back()->Configure(map, tree)) << trace;
      ASSERT_TRUE(parts.back()->ProcessRecords(nullptr, false)) << trace;
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
      if (rng() % 2 == 0) {
        ASSERT_TRUE(parts[0]->Merge(*parts[i])) << trace;
      } else {
        std::string bytes;
        ASSERT_TRUE(parts[i]->SaveResults(bytes)) << trace;
        ASSERT_TRUE(parts[0]->MergeResults(bytes)) << trace;
      }
    }
    ASSERT_TRUE(parts[0]->Finalize()) << trace;
    ExpectSameAnswers(Answers(*parts[0], definitions), Answers(single, definitions), trace);
    ASSERT_FALSE(Stats::IsErrorSet()) << trace;
    if (HasFatalFailure() || HasNonfatalFailure()) return;
  }
}

// Rows of 0 Year, 1 Channel, 2 Amount, 3 Region.
std::vector<Row> SalesRows() {
  return {{2004, "Web", 3, "North"},
          {2004, "Store", 5.5, "South"},
          {2005, "Web", 1, ""},
          {2005, "Store", 4, "South"},
          {2004, "Web", 2, "North"}};
}

struct Engines {
  Definitions definitions = SalesDefinitions();
  TableStats first{SalesRows()};
  TableStats second{SalesRows()};
  Engines() {
    EXPECT_TRUE(first.Configure(&definitions, {MakeField("Year", 0)}));
    EXPECT_TRUE(second.Configure(&definitions, {MakeField("Year", 0)}));
    EXPECT_TRUE(first.ProcessRecords(nullptr, false));
    EXPECT_TRUE(second.ProcessRecords(nullptr, false));
  }
  std::string FirstTree() {
    std::string bytes;
    EXPECT_TRUE(first.SaveResults(bytes));
    return bytes;
  }
};

TEST(Merge, UnfinalizedRunKeepsItsStateAndFinalizeEndsIt) {
  Engines engines;
  EXPECT_TRUE(engines.first.StateIs(Stats::DefinitionsProcessed));
  ExpectRefused(engines.first.MoveToRootNode(), 10075, "2", {10080});
  TableStats empty({});
  ASSERT_TRUE(empty.Configure(&engines.definitions, {}));
  EXPECT_TRUE(empty.ProcessRecords(nullptr, false));
  EXPECT_TRUE(empty.StateIs(Stats::DefinitionsProcessed));
  EXPECT_TRUE(engines.first.Finalize());
  ExpectRefused(engines.first.Finalize(), 10075, "4", {10571});
}

TEST(Merge, RefusalsChangeNothing) {
  Engines engines;
  Definitions other = SalesDefinitions();
  other.erase("Bins");
  TableStats foreign(SalesRows());
  ASSERT_TRUE(foreign.Configure(&other, {MakeField("Year", 0)}));
  ASSERT_TRUE(foreign.ProcessRecords(nullptr, false));
  TableStats otherTree(SalesRows());
  ASSERT_TRUE(otherTree.Configure(&engines.definitions, {MakeField("Region", 3)}));
  ASSERT_TRUE(otherTree.ProcessRecords(nullptr, false));
  TableStats finalized(SalesRows());
  ASSERT_TRUE(finalized.Configure(&engines.definitions, {MakeField("Year", 0)}));
  ASSERT_TRUE(finalized.ProcessRecords(nullptr));

  const std::string before = engines.FirstTree();
  struct Case {
    const char* what;
    const Stats* later;
    int code;
    int location;
  };
  const Case cases[] = {
      {"other definitions", &foreign, 10580, 10579},
      {"other tree fields", &otherTree, 10580, 10579},
      {"finalized", &finalized, 10582, 10577},
      {"itself", &engines.first, 10582, 10577},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_FALSE(engines.first.Merge(*c.later));
    const ErrorSnapshot error = HeldError();
    EXPECT_EQ(error.code, c.code);
    EXPECT_EQ(error.locations, std::vector<int>{c.location});
    EXPECT_FALSE(error.message.empty());
    ClearHeldError();
    EXPECT_EQ(engines.FirstTree(), before);
  }
  ExpectRefused(finalized.Merge(engines.first), 10075, "4", {10576});
  Stats::SetError(1, 2, "left set", true);
  EXPECT_FALSE(engines.first.Merge(engines.second));
  EXPECT_EQ(Locations(), std::vector<int>{10581});
  ClearHeldError();
  EXPECT_EQ(engines.FirstTree(), before);
}

TEST(MergeResults, CorruptedOrForeignInputIsRefusedAndChangesNothing) {
  Engines engines;
  std::string good;
  ASSERT_TRUE(engines.second.SaveResults(good));
  Definitions other = SalesDefinitions();
  other.erase("South");
  TableStats foreign(SalesRows());
  ASSERT_TRUE(foreign.Configure(&other, {MakeField("Year", 0)}));
  ASSERT_TRUE(foreign.ProcessRecords(nullptr, false));
  std::string foreignBytes;
  ASSERT_TRUE(foreign.SaveResults(foreignBytes));

  std::string badVersion = good;
  badVersion[4] = 2;
  std::string flipped = good;
  flipped[flipped.size() / 2] ^= 0x10;
  std::string longer = good + "x";
  std::string badMagic = good;
  badMagic[0] = 'X';
  const std::pair<std::string, int> cases[] = {
      {"", 10585},
      {good.substr(0, 10), 10585},
      {good.substr(0, good.size() - 1), 10585},
      {longer, 10585},
      {flipped, 10585},
      {badMagic, 10585},
      {badVersion, 10587},
      {foreignBytes, 10588},
  };
  const std::string before = engines.FirstTree();
  for (const auto& [bytes, code] : cases) {
    SCOPED_TRACE(code);
    EXPECT_FALSE(engines.first.MergeResults(bytes));
    EXPECT_EQ(HeldError().code, code);
    EXPECT_EQ(Locations(), std::vector<int>{10591});
    ClearHeldError();
    EXPECT_EQ(engines.FirstTree(), before);
  }
  // Every truncation of a valid form is refused, none crashes.
  for (std::size_t size = 0; size < good.size(); ++size) {
    EXPECT_FALSE(engines.first.MergeResults(good.substr(0, size)));
    ClearHeldError();
  }
  EXPECT_TRUE(engines.first.MergeResults(good));
}

TEST(MergeResults, RoundTripsEveryValueKind) {
  // Min and Max over one column of every kind keep the value and its kind.
  Definitions definitions;
  for (int c = 0; c < 5; ++c) {
    for (const auto type : {StatsDefn::Min, StatsDefn::Max}) {
      const std::string name = (type == StatsDefn::Min ? "Min" : "Max") + std::to_string(c);
      definitions[name] = MakeDefn(name, "F", c, type);
    }
  }
  const std::vector<Row> rows = {
      {Variant(-7), Variant(0.1), Variant(std::string("t\0x", 3)), Variant(), Variant::Invalid()},
      {Variant(9000000000LL), Variant(-2.5e300), Variant(""), Variant(), Variant::Invalid()}};
  TableStats saved(rows);
  TableStats loaded({});
  TableStats single(rows);
  for (TableStats* engine : {&saved, &loaded, &single}) {
    ASSERT_TRUE(engine->Configure(&definitions, {MakeField("T", 1)}));
  }
  ASSERT_TRUE(saved.ProcessRecords(nullptr, false));
  ASSERT_TRUE(loaded.ProcessRecords(nullptr, false));
  ASSERT_TRUE(single.ProcessRecords(nullptr));
  std::string bytes;
  ASSERT_TRUE(saved.SaveResults(bytes));
  ASSERT_TRUE(loaded.MergeResults(bytes));
  std::string again;
  ASSERT_TRUE(loaded.SaveResults(again));
  EXPECT_EQ(again, bytes);
  ASSERT_TRUE(loaded.Finalize());
  ExpectSameAnswers(Answers(loaded, definitions), Answers(single, definitions), "kinds");
}

}  // namespace
}  // namespace testing
}  // namespace stattree
