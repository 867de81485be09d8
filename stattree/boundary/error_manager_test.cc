#include "stattree/boundary/error_manager.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/error_table.h"
#include "stattree/boundary/record_error.h"
#include "tests/test_util.h"

namespace stattree {
namespace {

using testing::ErrorSnapshot;

TEST(ErrorTable, RowsOrderFlagsAndExactTexts) {
  int rows = 0;
  int cleared = 0;
  for (; kErrorTable[rows].code != 0; ++rows) {
    const ErrorInfo& row = kErrorTable[rows];
    if (rows > 0) {
      EXPECT_LT(kErrorTable[rows - 1].code, row.code);
    }
    EXPECT_EQ(row.second, row.code == 10001 ? 12000 : 90000);
    if (!row.flag) ++cleared;
  }
  EXPECT_EQ(rows, 39);
  EXPECT_EQ(cleared, 4);
  EXPECT_STREQ(kErrorTable[14].message, "Can't create  criteria set with 0 values specified");
  EXPECT_STREQ(kErrorTable[36].message, "Can't create  spec with 0 values specified");
  EXPECT_STREQ(kErrorTable[30].source, "StatsSet::RecordMeetsCriteria");
}

TEST(ErrorManager, SetKeepsTheRowsMessageApartFromTheDetail) {
  ErrorManager manager(kErrorTable, "QK");
  EXPECT_FALSE(ErrorSnapshot::Of(manager).set);
  EXPECT_FALSE(manager.Set(10075, 4));
  EXPECT_EQ(
      ErrorSnapshot::Of(manager),
      (ErrorSnapshot{
          true, 10075, 90000, "Stats engine in wrong state for this operation", true, "4", {}}));
  manager.Set(10105, IndexDetail(5, 3));
  EXPECT_EQ(manager.GetDetail(), "5,3");
  manager.Set(10145);  // no row: set all the same, without a message
  EXPECT_TRUE(manager.IsErrorSet());
  EXPECT_EQ(ErrorSnapshot::Of(manager).message, "");
}

TEST(ErrorManager, LocationsSinceTheLastSetOrClear) {
  ErrorManager manager(kErrorTable, "QK");
  EXPECT_FALSE(manager.DumpCode(11150));
  EXPECT_FALSE(manager.IsErrorSet());  // a location alone sets no error
  EXPECT_EQ(manager.GetLocations(), std::vector<int>({11150}));
  manager.Set(10020);
  manager.DumpCode(10010);
  manager.DumpCode(10030);
  EXPECT_EQ(manager.GetLocations(), std::vector<int>({10010, 10030}));
  manager.Clear();
  EXPECT_FALSE(manager.IsErrorSet());
  EXPECT_TRUE(manager.GetLocations().empty());
}

TEST(ErrorManager, WritesOneLinePerSetAndLocationToItsStream) {
  ErrorManager manager(kErrorTable, "QK");
  const std::string path = ::testing::TempDir() + "error_manager_stream.txt";
  {
    std::ofstream out(path);
    manager.Init(&out);
    manager.Set(10020);
    manager.DumpCode(10030);
    manager.Init(nullptr);
    manager.DumpCode(10040);
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
  errors.Clear();
  EXPECT_FALSE(ReportCriteriaRecordError(10610, FailingRecord(true)));
  EXPECT_EQ(ErrorSnapshot::Of(errors),
            (ErrorSnapshot{true, 0, 90000, "RecordError", true, "", {10610}}));

  EXPECT_FALSE(ReportStatisticRecordError(11360, FailingRecord(true)));
  EXPECT_EQ(ErrorSnapshot::Of(errors), (ErrorSnapshot{true, 0, 0, "", false, "", {11360}}));

  // A record that declines keeps the held error and only adds the location.
  errors.Set(10020);
  ReportStatisticRecordError(11370, FailingRecord(false));
  EXPECT_EQ(
      ErrorSnapshot::Of(errors),
      (ErrorSnapshot{true, 10020, 90000, "No stats definitions specified", true, "", {11370}}));
  errors.Clear();
}

}  // namespace
}  // namespace stattree
