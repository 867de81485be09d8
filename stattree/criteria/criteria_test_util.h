// Helpers shared by the criteria tests: a record over a column map whose
// reads and failure descriptions can be steered, and error-state checks.
#ifndef STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_
#define STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {
namespace testing {

// Columns missing from the map can't be read. Every read is logged.
class MapRecord : public StatsRecord {
 public:
  enum class Describe { Decline, LeavePresets, Fill };

  MapRecord& Set(int column, const Variant& value) {
    values[column] = value;
    return *this;
  }

  bool GetValue(Variant& value, int colNum) const override {
    readColumns.push_back(colNum);
    auto found = values.find(colNum);
    if (found == values.end()) return false;
    value = found->second;
    return true;
  }

  bool GetError(int& code, int& second, std::string& message, bool& flag) const override {
    if (describe == Describe::Decline) return false;
    if (describe == Describe::Fill) {
      code = 4711;
      second = 3;
      message = "column gone";
      flag = false;
    }
    return true;
  }

  std::map<int, Variant> values;
  Describe describe = Describe::Decline;
  mutable std::vector<int> readColumns;
};

inline MapRecord RecordWith(int column, const Variant& value) {
  MapRecord record;
  record.Set(column, value);
  return record;
}

inline CriteriaTerm Term(int column, CriteriaOperator op, const Variant& value) {
  return CriteriaTerm{column, op, value};
}

// Starts every test with no error held.
class CriteriaTest : public ::testing::Test {
 protected:
  void SetUp() override { TheErrorManager().Clear(); }
  void TearDown() override { TheErrorManager().Clear(); }

  static int ErrorCode() {
    int code = 0;
    int second = 0;
    std::string message;
    bool flag = false;
    TheErrorManager().Get(code, second, message, flag);
    return code;
  }
  static std::string Detail() { return TheErrorManager().GetDetail(); }
  static std::vector<int> Locations() { return TheErrorManager().GetLocations(); }

  static void ExpectError(int code, const std::string& detail, const std::vector<int>& locations) {
    EXPECT_TRUE(IsErrorSet());
    EXPECT_EQ(ErrorCode(), code);
    EXPECT_EQ(Detail(), detail);
    EXPECT_EQ(Locations(), locations);
  }
  static void ExpectNoError() {
    EXPECT_FALSE(IsErrorSet());
    EXPECT_TRUE(Locations().empty());
  }

  static std::string Dump(const Criteria& criteria, const char* indent = nullptr) {
    std::ostringstream out;
    criteria.DumpObject(out, indent);
    return out.str();
  }
  static std::string DumpValue(const Criteria& criteria, const char* prefix = nullptr) {
    std::ostringstream out;
    criteria.DumpCriteriaValue(out, prefix);
    return out.str();
  }
};

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_TEST_UTIL_H_
