// Helpers shared by the StatsDefn tests; the fixture and the record come
// from the criteria tests' helpers.
#ifndef STATTREE_DEFINITIONS_STATS_DEFN_TEST_UTIL_H_
#define STATTREE_DEFINITIONS_STATS_DEFN_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/definitions/stats_defn.h"

namespace stattree {
namespace testing_util {

inline Field MakeField(const std::string& name, int colNum) { return Field{name, colNum}; }

inline SubsetFieldValPair MakePair(const std::string& name, int colNum, const Variant& value) {
  return SubsetFieldValPair{MakeField(name, colNum), value};
}

// Each of the six builders, bound to its arguments.
using Build = std::function<bool(StatsDefn&)>;
inline Build Grouping(const std::vector<Field>& fields) {
  return [fields](StatsDefn& defn) { return defn.CreateGroupingSpec("G", fields); };
}
inline Build Subset(const std::vector<SubsetFieldValPair>& pairs) {
  return [pairs](StatsDefn& defn) { return defn.CreateSubsetSpec("S", pairs); };
}
inline Build EnumList(const std::vector<std::string>& values) {
  return [values](StatsDefn& defn) { return defn.CreateEnumSpec(values); };
}
inline Build EnumSet(const std::set<std::string>& values) {
  return [values](StatsDefn& defn) { return defn.CreateEnumSpec(values); };
}
inline Build Edges(const std::vector<Variant>& edges) {
  return [edges = edges](StatsDefn& defn) mutable {
    return defn.CreateHistogramSpec(edges, LowerEdgeInclusive);
  };
}
inline Build Bins(int count) {
  return [=](StatsDefn& defn) { return defn.CreateHistogramSpec(Variant(0), Variant(10), count); };
}

// A definition with all three specs.
inline std::unique_ptr<StatsDefn> FullDefn() {
  auto defn = std::make_unique<StatsDefn>("Sales", MakeField("Amount", 4), StatsDefn::EnumCount);
  EXPECT_TRUE(defn->CreateGroupingSpec("ByYear", {MakeField("Year", 0), MakeField("Month", 1)}));
  EXPECT_TRUE(defn->CreateSubsetSpec("North", {MakePair("Region", 5, Variant("North"))}));
  EXPECT_TRUE(defn->CreateEnumSpec(std::vector<std::string>{"b", "a"}));
  return defn;
}

inline std::string Dump(StatsDefn& defn, const char* prefix) {
  std::ostringstream os;
  defn.DumpObject(os, prefix);
  return os.str();
}

}  // namespace testing_util
}  // namespace stattree

#endif  // STATTREE_DEFINITIONS_STATS_DEFN_TEST_UTIL_H_
