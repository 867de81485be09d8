// Helpers shared by the criteria, definitions and statistics tests: a record
// over a column map whose reads are logged and can be made to fail, the
// error held, and a fixture that starts and ends each test with none held.
#ifndef STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_
#define STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {
namespace testing {

// Columns missing from the map can't be read, nor can any column from read
// number `failFromRead` on (1 = the first; 0 = never).
class MapRecord : public StatsRecord {
 public:
  // GetError declines, answers leaving the caller's presets, or fills in.
  enum class Describe { Decline, LeavePresets, Fill };

  explicit MapRecord(std::map<int, Variant> columns = {}, Describe how = Describe::Decline)
      : values(std::move(columns)), describe(how) {}

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
  Describe describe;
  int failFromRead = 0;
  mutable std::vector<int> readColumns;
};

inline CriteriaTerm Term(int column, CriteriaOperator op, const Variant& value) {
  return CriteriaTerm{column, op, value};
}

// Everything the error manager holds; `set` is Get's answer.
struct HeldError {
  bool set = false;
  int code = -1;
  int second = -1;
  std::string message = "unset";
  bool flag = true;
  std::string detail;
  std::vector<int> locations;
};

inline HeldError Held() {
  HeldError held;
  held.set = TheErrorManager().Get(held.code, held.second, held.message, held.flag);
  held.detail = TheErrorManager().GetDetail();
  held.locations = TheErrorManager().GetLocations();
  return held;
}

class ErrorTest : public ::testing::Test {
 protected:
  void SetUp() override { TheErrorManager().Clear(); }
  void TearDown() override { TheErrorManager().Clear(); }

  static std::vector<int> Locations() { return TheErrorManager().GetLocations(); }
  // Expects exactly this error, then clears it.
  static void ExpectError(int code, const std::string& detail, const std::vector<int>& locations) {
    const HeldError held = Held();
    EXPECT_TRUE(held.set);
    EXPECT_EQ(held.code, code);
    EXPECT_EQ(held.detail, detail);
    EXPECT_EQ(held.locations, locations);
    TheErrorManager().Clear();
  }
  static void ExpectRefused(bool result, int code, const std::string& detail,
                            const std::vector<int>& locations) {
    EXPECT_FALSE(result);
    ExpectError(code, detail, locations);
  }
  static void ExpectNoError() {
    EXPECT_FALSE(IsErrorSet());
    EXPECT_EQ(Locations(), std::vector<int>{});
  }
};

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_
