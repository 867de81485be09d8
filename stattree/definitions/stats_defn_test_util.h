// Helpers shared by the StatsDefn tests.
#ifndef STATTREE_DEFINITIONS_STATS_DEFN_TEST_UTIL_H_
#define STATTREE_DEFINITIONS_STATS_DEFN_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "stattree/definitions/stats_defn.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {
namespace testing_util {

// The error the manager holds, with everything the tests compare.
struct HeldError {
  bool set = false;
  int code = 0;
  std::string detail;
  std::vector<int> locations;
};

inline HeldError CurrentError() {
  HeldError held;
  int second = 0;
  std::string message;
  bool flag = false;
  held.set = TheErrorManager().Get(held.code, second, message, flag);
  held.detail = TheErrorManager().GetDetail();
  held.locations = TheErrorManager().GetLocations();
  return held;
}

// Every test starts and ends without a held error.
class StatsDefnTest : public ::testing::Test {
 protected:
  void SetUp() override { TheErrorManager().Clear(); }
  void TearDown() override { TheErrorManager().Clear(); }
};

inline Field MakeField(const std::string& name, int colNum) {
  Field field;
  field.name = name;
  field.colNum = colNum;
  return field;
}

inline SubsetFieldValPair MakePair(const std::string& name, int colNum, const Variant& value) {
  SubsetFieldValPair pair;
  pair.field = MakeField(name, colNum);
  pair.value = value;
  return pair;
}

inline std::string Dump(StatsDefn& defn, const char* prefix) {
  std::ostringstream os;
  defn.DumpObject(os, prefix);
  return os.str();
}

}  // namespace testing_util
}  // namespace stattree

#endif  // STATTREE_DEFINITIONS_STATS_DEFN_TEST_UTIL_H_
