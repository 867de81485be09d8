// The helpers every test shares: a record over a column map whose reads are
// logged and can be made to fail, the error held and the expectations on it,
// and short builders of fields and definitions.
//
// The error is read through HeldError and ClearHeldError, which each test
// binary links once: from the library's own manager in the tests built from
// its objects (error_source_unit.cc), through Stats as a host reads it in
// the tests of the shared library (error_source_host.cc).
#ifndef STATTREE_TESTS_TEST_UTIL_H_
#define STATTREE_TESTS_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "stattree/boundary/error_manager.h"
#include "stattree/boundary/field.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/definitions/stats_defn.h"

namespace stattree {
namespace testing {

// Columns missing from the map can't be read, nor can any column from read
// number `failFromRead` on (1 = the first; 0 = never).
class MapRecord : public StatsRecord {
 public:
  // GetError declines, answers leaving the caller's presets, or fills in.
  enum class Describe { Decline, LeavePresets, Fill };

  MapRecord() = default;
  MapRecord(std::initializer_list<std::pair<const int, Variant>> columns,
            Describe how = Describe::Decline)
      : values(columns), describe(how) {}

  bool GetValue(Variant& value, int colNum) const override {
    readColumns.push_back(colNum);
    auto found = values.find(colNum);
    if (found == values.end()) return false;
    if (failFromRead > 0 && static_cast<int>(readColumns.size()) >= failFromRead) return false;
    value = found->second;
    return true;
  }
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override {
    if (describe == Describe::Fill) {
      code = 4711;
      second = 3;
      message = "column gone";
      flag = false;
    }
    return describe != Describe::Decline;
  }

  std::map<int, Variant> values;
  Describe describe = Describe::Decline;
  int failFromRead = 0;
  mutable std::vector<int> readColumns;
};

// Everything the error manager holds; `set` is its Get's answer, and the
// values Get leaves untouched keep presets no report writes.
struct ErrorSnapshot {
  bool set = false;
  int code = -1;
  int second = -1;
  std::string message = "unset";
  bool flag = true;
  std::string detail;
  std::vector<int> locations;

  static ErrorSnapshot Of(const ErrorManager& manager) {
    ErrorSnapshot held;
    held.set = manager.Get(held.code, held.second, held.message, held.flag);
    held.detail = manager.GetDetail();
    held.locations = manager.GetLocations();
    return held;
  }

  bool operator==(const ErrorSnapshot& other) const {
    return set == other.set && code == other.code && second == other.second &&
           message == other.message && flag == other.flag && detail == other.detail &&
           locations == other.locations;
  }
  // What a failing operation reports: whether set, the code, the detail and
  // the locations, as one comparable line.
  std::string Reported() const {
    std::ostringstream os;
    if (set) {
      os << "code " << code << " detail \"" << detail << "\"";
    } else {
      os << "no error";
    }
    os << " at {";
    for (size_t i = 0; i < locations.size(); ++i) os << (i > 0 ? "," : "") << locations[i];
    os << "}";
    return os.str();
  }
};

// A held error as a whole, for one comparison with HeldError().
inline ErrorSnapshot FullError(int code, int second, const std::string& message, bool flag,
                               const std::string& detail, const std::vector<int>& locations) {
  return ErrorSnapshot{true, code, second, message, flag, detail, locations};
}

inline void PrintTo(const ErrorSnapshot& error, std::ostream* os) {
  *os << error.Reported() << " second " << error.second << " message \"" << error.message
      << "\" flag " << error.flag;
}

ErrorSnapshot HeldError();
void ClearHeldError();

inline std::vector<int> Locations() { return HeldError().locations; }

// Expects exactly this error, then clears it.
inline void ExpectError(int code, const std::string& detail, const std::vector<int>& locations) {
  ErrorSnapshot expected;
  expected.set = true;
  expected.code = code;
  expected.detail = detail;
  expected.locations = locations;
  EXPECT_EQ(HeldError().Reported(), expected.Reported());
  ClearHeldError();
}
inline void ExpectRefused(bool result, int code, const std::string& detail,
                          const std::vector<int>& locations) {
  EXPECT_FALSE(result);
  ExpectError(code, detail, locations);
}
inline void ExpectNoError() { EXPECT_EQ(HeldError().Reported(), ErrorSnapshot().Reported()); }

// Every test starts and ends with no error held.
class ErrorTest : public ::testing::Test {
 protected:
  void SetUp() override { ClearHeldError(); }
  void TearDown() override { ClearHeldError(); }
};

inline CriteriaTerm Term(int column, CriteriaOperator op, const Variant& value) {
  return CriteriaTerm{column, op, value};
}

inline Field MakeField(const std::string& name, int colNum) { return Field{name, colNum}; }

inline SubsetFieldValPair MakePair(const std::string& name, int colNum, const Variant& value) {
  return SubsetFieldValPair{MakeField(name, colNum), value};
}

inline StatsDefn MakeDefn(const std::string& name, const std::string& fieldName, int colNum,
                          StatsDefn::StatsType type) {
  StatsDefn definition;
  definition.Initialize(name, MakeField(fieldName, colNum), type);
  return definition;
}

inline StatsDefn Defn(const std::string& name, const Field& field, StatsDefn::StatsType type) {
  return StatsDefn(name, field, type);
}

inline StatsDefn Grouped(const std::string& name, const Field& field, StatsDefn::StatsType type,
                         const std::string& grouping, const std::vector<Field>& fields) {
  StatsDefn defn(name, field, type);
  EXPECT_TRUE(defn.CreateGroupingSpec(grouping, fields));
  return defn;
}

inline void AddSubset(StatsDefn& defn, const std::string& subset, const Field& field,
                      const Variant& value) {
  EXPECT_TRUE(defn.CreateSubsetSpec(subset, {SubsetFieldValPair{field, value}}));
}

// Each of the six spec builders, bound to its arguments.
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

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_TESTS_TEST_UTIL_H_
