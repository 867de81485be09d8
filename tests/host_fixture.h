// A host over an in-memory table, shared by the engine-level tests: rows of
// Variants, a StatsRecord reading the current row, a Stats subclass walking
// the rows, and a ProgressManager that counts calls and can cancel.
#ifndef STATTREE_TESTS_HOST_FIXTURE_H_
#define STATTREE_TESTS_HOST_FIXTURE_H_

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "stattree/stattree.h"

namespace stattree {
namespace testing {

using Row = std::vector<Variant>;

class TableRecord : public StatsRecord {
 public:
  bool GetValue(Variant& value, int colNum) const override {
    if (row == nullptr || colNum < 0 || colNum >= static_cast<int>(row->size())) return false;
    value = (*row)[static_cast<size_t>(colNum)];
    return true;
  }
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override {
    if (!describeErrors) return false;
    code = 777;
    second = 1;
    message = "column out of range";
    flag = true;
    return true;
  }

  const Row* row = nullptr;
  bool describeErrors = false;
};

// CTest runs every engine-level test twice, the second time with
// STATTREE_TEST_RECORD_CACHING=off: the results, codes and locations must
// not depend on the engine's record caching.
inline bool RecordCachingForTests() {
  const char* setting = std::getenv("STATTREE_TEST_RECORD_CACHING");
  return setting == nullptr || std::strcmp(setting, "off") != 0;
}

class TableStats : public Stats {
 public:
  explicit TableStats(std::vector<Row> rows) : Stats(&record_), rows_(std::move(rows)) {
    SetRecordCaching(RecordCachingForTests());
  }

  bool MoveToFirstRecord() override {
    next_ = 0;
    return MoveToNextRecord();
  }
  bool MoveToNextRecord() override {
    if (failAt_ >= 0 && next_ == static_cast<size_t>(failAt_)) {
      Stats::SetError(4242, 1, "source failed", true);
      return false;
    }
    if (next_ >= rows_.size()) return false;
    record_.row = &rows_[next_++];
    return true;
  }
  int GetRecordCount() override { return static_cast<int>(rows_.size()); }

  // The source sets an error and stops before row `index`.
  void FailAt(int index) { failAt_ = index; }
  TableRecord& Record() { return record_; }

 private:
  TableRecord record_;
  std::vector<Row> rows_;
  size_t next_ = 0;
  int failAt_ = -1;
};

class CountingProgress : public ProgressManager {
 public:
  void StartNewTask(int total) override {
    ++starts;
    lastTotal = total;
  }
  bool IsCanceled() override { return cancelAfter >= 0 && ++checks >= cancelAfter; }
  void IncrementProgress(int step) override { increments += step; }
  void TaskDone() override { ++done; }

  int cancelAfter = -1;  // answer true at the check after this many records
  int checks = 0;
  int starts = 0;
  int lastTotal = -1;
  int increments = 0;
  int done = 0;
};

// The error currently set, for assertions.
struct ErrorSnapshot {
  bool set = false;
  int code = 0;
  int second = 0;
  std::string message;
  bool flag = false;
  std::string detail;
  std::vector<int> locations;

  static ErrorSnapshot Take() {
    ErrorSnapshot s;
    s.set = Stats::GetError(s.code, s.second, s.message, s.flag);
    s.detail = Stats::GetErrorDetail();
    s.locations = Stats::GetErrorLocations();
    return s;
  }
};

inline Field MakeField(const std::string& name, int colNum) { return Field{name, colNum}; }

inline StatsDefn MakeDefn(const std::string& name, const std::string& fieldName, int colNum,
                          StatsDefn::StatsType type) {
  StatsDefn definition;
  definition.Initialize(name, MakeField(fieldName, colNum), type);
  return definition;
}

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_TESTS_HOST_FIXTURE_H_
