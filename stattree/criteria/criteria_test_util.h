// Helpers shared by the criteria tests: a record over a column map whose
// reads are logged and whose failure description can be steered, and a
// fixture that starts each test with no error held.
#ifndef STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_
#define STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {
namespace testing {

// Columns missing from the map can't be read.
class MapRecord : public StatsRecord {
 public:
  enum class Describe { Decline, LeavePresets, Fill };

  explicit MapRecord(std::map<int, Variant> columns = {}, Describe how = Describe::Decline)
      : values(std::move(columns)), describe(how) {}

  bool GetValue(Variant& value, int colNum) const override {
    readColumns.push_back(colNum);
    auto found = values.find(colNum);
    if (found == values.end()) return false;
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
  mutable std::vector<int> readColumns;
};

inline CriteriaTerm Term(int column, CriteriaOperator op, const Variant& value) {
  return CriteriaTerm{column, op, value};
}

class CriteriaTest : public ::testing::Test {
 protected:
  void SetUp() override { TheErrorManager().Clear(); }
  void TearDown() override { TheErrorManager().Clear(); }

  static std::vector<int> Locations() { return TheErrorManager().GetLocations(); }
  static void ExpectError(int code, const std::string& detail, const std::vector<int>& locations) {
    int held = -1;
    int second = 0;
    std::string message;
    bool flag = false;
    EXPECT_TRUE(TheErrorManager().Get(held, second, message, flag));
    EXPECT_EQ(held, code);
    EXPECT_EQ(TheErrorManager().GetDetail(), detail);
    EXPECT_EQ(Locations(), locations);
    TheErrorManager().Clear();
  }
  static void ExpectNoError() {
    EXPECT_FALSE(IsErrorSet());
    EXPECT_EQ(Locations(), std::vector<int>{});
  }
};

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_
