#include "stattree/boundary/error_manager.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "stattree/boundary/record_error.h"
#include "stattree/engine/error_reporting.h"
#include "stattree/engine/error_table.h"

namespace stattree {
namespace {

TEST(ErrorTable, HoldsThirtyNineRowsInAscendingOrderThenTheTerminator) {
  int rows = 0;
  for (; kErrorTable[rows].code != 0; ++rows) {
    if (rows > 0) {
      EXPECT_LT(kErrorTable[rows - 1].code, kErrorTable[rows].code);
    }
  }
  EXPECT_EQ(rows, 39);
  EXPECT_EQ(kErrorTable[39].second, 0);
  EXPECT_EQ(std::string(kErrorTable[39].message), "");
}

TEST(ErrorTable, FlagsSecondValuesAndExactTexts) {
  int cleared = 0;
  for (int i = 0; kErrorTable[i].code != 0; ++i) {
    const ErrorInfo& row = kErrorTable[i];
    EXPECT_EQ(row.second, row.code == 10001 ? 12000 : 90000);
    if (!row.flag) ++cleared;
  }
  EXPECT_EQ(cleared, 4);
  EXPECT_STREQ(kErrorTable[14].message, "Can't create  criteria set with 0 values specified");
  EXPECT_STREQ(kErrorTable[36].message, "Can't create  spec with 0 values specified");
  EXPECT_STREQ(kErrorTable[30].source, "StatsSet::RecordMeetsCriteria");
  EXPECT_EQ(sizeof(ErrorInfo::source), 72u);
  EXPECT_EQ(sizeof(ErrorInfo::message), 75u);
}

class ErrorManagerTest : public ::testing::Test {
 protected:
  ErrorManager manager_{kErrorTable, "QK"};
};

TEST_F(ErrorManagerTest, SetFromRowKeepsMessageAndDetailApart) {
  EXPECT_FALSE(manager_.IsErrorSet());
  EXPECT_FALSE(manager_.Set(10075, 4));
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  ASSERT_TRUE(manager_.Get(code, second, message, flag));
  EXPECT_EQ(code, 10075);
  EXPECT_EQ(second, 90000);
  EXPECT_EQ(message, "Stats engine in wrong state for this operation");
  EXPECT_TRUE(flag);
  EXPECT_EQ(manager_.GetDetail(), "4");
  manager_.Set(10105, std::string("5,3"));
  EXPECT_EQ(manager_.GetDetail(), "5,3");
}

TEST_F(ErrorManagerTest, UnknownCodeAndFiveArgumentSet) {
  manager_.Set(10145);
  int code = 0;
  int second = -1;
  std::string message = "x";
  bool flag = true;
  ASSERT_TRUE(manager_.Get(code, second, message, flag));
  EXPECT_EQ(code, 10145);
  EXPECT_EQ(message, "");
  EXPECT_FALSE(manager_.Set(42, 7, "mine", true, false));
  ASSERT_TRUE(manager_.Get(code, second, message, flag));
  EXPECT_EQ(code, 42);
  EXPECT_EQ(second, 7);
  EXPECT_EQ(message, "mine");
  EXPECT_TRUE(flag);
}

TEST_F(ErrorManagerTest, LocationsSinceLastSetOrClear) {
  EXPECT_FALSE(manager_.DumpCode(11150));
  EXPECT_FALSE(manager_.IsErrorSet());  // a location alone sets no error
  EXPECT_EQ(manager_.GetLocations(), std::vector<int>({11150}));
  manager_.Set(10020);
  manager_.DumpCode(10010);
  manager_.DumpCode(10030);
  EXPECT_EQ(manager_.GetLocations(), std::vector<int>({10010, 10030}));
  manager_.Clear();
  EXPECT_FALSE(manager_.IsErrorSet());
  EXPECT_TRUE(manager_.GetLocations().empty());
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  EXPECT_FALSE(manager_.Get(code, second, message, flag));
}

TEST_F(ErrorManagerTest, WritesOneLinePerSetAndLocationToItsStream) {
  const std::string path = ::testing::TempDir() + "error_manager_stream.txt";
  {
    std::ofstream out(path);
    manager_.Init(&out);
    manager_.Set(10020);
    manager_.DumpCode(10030);
    manager_.Init(nullptr);
    manager_.DumpCode(10040);
  }
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(text.str(),
            "QK error 10020 (90000, 1): No stats definitions specified\nQK location 10030\n");
  std::remove(path.c_str());
}

class FailingRecord : public StatsRecord {
 public:
  explicit FailingRecord(bool describes) : describes_(describes) {}
  bool GetValue(Variant&, int) const override { return false; }
  bool GetError(int&, int&, std::string&, bool&) const override { return describes_; }

 private:
  bool describes_;
};

TEST(RecordErrorReport, PresetsDifferBetweenCriteriaAndStatistics) {
  ErrorManager& errors = TheErrorManager();
  int code = -1;
  int second = -1;
  std::string message;
  bool flag = false;

  errors.Clear();
  EXPECT_FALSE(ReportCriteriaRecordError(10610, FailingRecord(true)));
  ASSERT_TRUE(errors.Get(code, second, message, flag));
  EXPECT_EQ(code, 0);
  EXPECT_EQ(second, 90000);
  EXPECT_EQ(message, "RecordError");
  EXPECT_TRUE(flag);
  EXPECT_EQ(errors.GetLocations(), std::vector<int>({10610}));

  errors.Clear();
  EXPECT_FALSE(ReportStatisticRecordError(11360, FailingRecord(true)));
  ASSERT_TRUE(errors.Get(code, second, message, flag));
  EXPECT_EQ(code, 0);
  EXPECT_EQ(second, 0);
  EXPECT_EQ(message, "");
  EXPECT_FALSE(flag);

  // A record that declines keeps the earlier error and only adds the location.
  errors.Clear();
  errors.Set(10020);
  ReportStatisticRecordError(11370, FailingRecord(false));
  ASSERT_TRUE(errors.Get(code, second, message, flag));
  EXPECT_EQ(code, 10020);
  EXPECT_EQ(errors.GetLocations(), std::vector<int>({11370}));
  errors.Clear();
}

TEST(ErrorReporting, IndexDetailHasNoSpace) {
  EXPECT_EQ(IndexDetail(5, 3), "5,3");
  EXPECT_EQ(IndexDetail(-1, 0), "-1,0");
}

}  // namespace
}  // namespace stattree
