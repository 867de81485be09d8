// Helpers shared by the results tests: a record over a column map, the
// error state, and definitions with their specs.
#ifndef STATTREE_RESULTS_RESULTS_TEST_UTIL_H_
#define STATTREE_RESULTS_RESULTS_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "stattree/boundary/field.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {
namespace testing {

// Columns missing from the map can't be read; a failed read is described
// with the reader's presets, so it leaves an error set.
class MapRecord : public StatsRecord {
 public:
  MapRecord() = default;
  MapRecord(std::initializer_list<std::pair<const int, Variant>> init) : values(init) {}

  bool GetValue(Variant& value, int colNum) const override {
    auto found = values.find(colNum);
    if (found == values.end()) return false;
    value = found->second;
    return true;
  }
  bool GetError(int&, int&, std::string&, bool&) const override { return true; }

  std::map<int, Variant> values;
};

// Every test starts and is checked against a clear error manager.
class ResultsTest : public ::testing::Test {
 protected:
  void SetUp() override { TheErrorManager().Clear(); }
  void TearDown() override { TheErrorManager().Clear(); }

  static int HeldCode() {
    int code = 0;
    int second = 0;
    std::string message;
    bool flag = false;
    return TheErrorManager().Get(code, second, message, flag) ? code : 0;
  }
  static const std::vector<int>& Locations() { return TheErrorManager().GetLocations(); }
};

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

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_RESULTS_RESULTS_TEST_UTIL_H_
