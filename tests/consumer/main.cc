// A minimal outside host: one header, one Stats subclass, the sales path of
// one record (Year 2004, Region North, Amount 10) summed by region under a
// node per year. Prints what it reads; exits non-zero on a wrong number.
#include <stattree/stattree.h>

#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int kYear = 0;
constexpr int kAmount = 3;
constexpr int kRegion = 5;

class Record : public stattree::StatsRecord {
 public:
  bool GetValue(stattree::Variant& value, int colNum) const override {
    switch (colNum) {
      case kYear:
        value = stattree::Variant(2004);
        return true;
      case kAmount:
        value = stattree::Variant(10);
        return true;
      case kRegion:
        value = stattree::Variant("North");
        return true;
      default:
        return false;
    }
  }
  bool GetError(int&, int&, std::string&, bool&) const override { return false; }
};

class Host : public stattree::Stats {
 public:
  Host() : Stats(&record_) {}
  bool MoveToFirstRecord() override { return true; }
  bool MoveToNextRecord() override { return false; }
  int GetRecordCount() override { return 1; }

 private:
  Record record_;
};

}  // namespace

int main() {
  stattree::StatsDefn sales;
  sales.Initialize("Sales", stattree::Field{"Amount", kAmount}, stattree::StatsDefn::Sum);
  if (!sales.CreateGroupingSpec("ByRegion", {stattree::Field{"Region", kRegion}})) return 1;
  const std::map<std::string, stattree::StatsDefn> definitions{{"Sales", sales}};
  Host host;
  if (!host.Configure(&definitions, {stattree::Field{"Year", kYear}}) || !host.ProcessRecords()) {
    return 1;
  }
  std::string node;
  std::string region;
  stattree::Variant sum;
  stattree::Variant total;
  if (!host.MoveToRootNode() || !host.MoveToChild(0) || !host.GetNodeName(node) ||
      !host.MoveToStatsResult("Sales") || !host.GetGroupingValue(region, 0, 0) ||
      !host.GetResult(sum, 0) || !host.GetGroupingTotal(total)) {
    return 1;
  }
  const int combinations = host.GetGroupingValueCount();
  std::cout << node << " Sales: " << combinations << " combination, " << region << ' '
            << std::string(sum) << ", total " << std::string(total) << '\n';
  const bool expected = node == "2004" && combinations == 1 && region == "North" &&
                        std::string(sum) == "10" && std::string(total) == "10";
  return expected ? 0 : 1;
}
