// A minimal outside host: one header, one Stats subclass, one run.
#include <stattree/stattree.h>

#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

class Record : public stattree::StatsRecord {
 public:
  bool GetValue(stattree::Variant& value, int colNum) const override {
    if (colNum != 0) return false;
    value = stattree::Variant(current);
    return true;
  }
  bool GetError(int&, int&, std::string&, bool&) const override { return false; }
  int current = 0;
};

class Host : public stattree::Stats {
 public:
  Host() : Stats(&record_) {}
  bool MoveToFirstRecord() override { return Set(0); }
  bool MoveToNextRecord() override { return Set(next_); }
  int GetRecordCount() override { return 3; }

 private:
  bool Set(int index) {
    if (index >= 3) return false;
    record_.current = index + 1;
    next_ = index + 1;
    return true;
  }
  Record record_;
  int next_ = 0;
};

}  // namespace

int main() {
  stattree::StatsDefn sum;
  sum.Initialize("Total", stattree::Field{"Value", 0}, stattree::StatsDefn::Sum);
  const std::map<std::string, stattree::StatsDefn> definitions{{"Total", sum}};
  Host host;
  if (!host.Configure(&definitions, {}) || !host.ProcessRecords()) return 1;
  stattree::Variant total;
  if (!host.MoveToRootNode() || !host.MoveToStatsResult("Total") || !host.GetResult(total, 0)) {
    return 1;
  }
  std::cout << "Total " << std::string(total) << '\n';
  return std::string(total) == "6" ? 0 : 1;
}
