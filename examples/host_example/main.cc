// A complete host: sales records in a table, two statistics, two tree
// levels, and the whole results tree printed with the cursor.
#include <stattree/stattree.h>

#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

using stattree::Field;
using stattree::Stats;
using stattree::StatsDefn;
using stattree::Variant;

namespace {

// Columns: 0 Year, 1 Region, 2 Channel, 3 Amount.
const std::vector<std::vector<Variant>> kSales = {
    {2004, "North", "Web", 10.0}, {2004, "South", "Store", 4.5}, {2004, "North", "Store", 2.0},
    {2005, "North", "Web", 7.25}, {2005, "South", "Web", 3.0},   {2005, "South", "Store", 1.0},
};

// The record object the engine reads: the current row of the table.
class SalesRecord : public stattree::StatsRecord {
 public:
  bool GetValue(Variant& value, int colNum) const override {
    if (row == nullptr || colNum < 0 || colNum >= static_cast<int>(row->size())) return false;
    value = (*row)[colNum];
    return true;
  }
  bool GetError(int&, int&, std::string&, bool&) const override { return false; }

  const std::vector<Variant>* row = nullptr;
};

// The engine, with the host's record source.
class SalesStats : public Stats {
 public:
  SalesStats() : Stats(&record_) {}
  bool MoveToFirstRecord() override { return MoveTo(0); }
  bool MoveToNextRecord() override { return MoveTo(next_); }
  int GetRecordCount() override { return static_cast<int>(kSales.size()); }

 private:
  bool MoveTo(size_t index) {
    if (index >= kSales.size()) return false;
    record_.row = &kSales[index];
    next_ = index + 1;
    return true;
  }
  SalesRecord record_;
  size_t next_ = 0;
};

void PrintError() {
  int code = 0, second = 0;
  bool flag = false;
  std::string message;
  Stats::GetError(code, second, message, flag);
  std::cerr << "error " << code << ": " << message << " [" << Stats::GetErrorDetail() << "]\n";
}

// Prints the statistics of the cursor's node, then its children, depth first.
void PrintNode(SalesStats& stats, const std::map<std::string, StatsDefn>& definitions, int depth) {
  const std::string indent(static_cast<size_t>(depth) * 2, ' ');
  std::string name;
  std::string field;
  stats.GetNodeName(name);
  stats.GetNodeField(field);
  std::cout << indent << field << " = " << name << '\n';
  for (const auto& entry : definitions) {
    if (!stats.MoveToStatsResult(entry.first)) continue;
    if (stats.IsEnum()) {
      int count = 0;
      stats.GetEnumValueCount(count, 0);
      for (int v = 0; v < count; ++v) {
        std::string text;
        Variant percent;
        stats.GetEnumValue(text, v, 0, false);
        stats.GetEnumResult(percent, v, 0);
        std::printf("%s  %s %s: %.2f%%\n", indent.c_str(), entry.first.c_str(), text.c_str(),
                    percent.ToDouble());
      }
    } else {
      for (int combo = 0; combo < stats.GetGroupingValueCount(); ++combo) {
        std::string value;
        Variant result;
        stats.GetGroupingValue(value, combo, 0);
        stats.GetResult(result, combo);
        std::cout << indent << "  " << entry.first << " " << value << ": " << std::string(result)
                  << '\n';
      }
      Variant total;
      stats.GetGroupingTotal(total);
      std::cout << indent << "  " << entry.first << " total: " << std::string(total) << '\n';
    }
  }
  const int children = stats.GetChildCount();
  for (int i = 0; i < children; ++i) {
    stats.MoveToChild(i);
    PrintNode(stats, definitions, depth + 1);
    stats.MoveToParent();
  }
}

}  // namespace

int main() {
  StatsDefn sales;
  sales.Initialize("Sales", Field{"Amount", 3}, StatsDefn::Sum);
  sales.CreateGroupingSpec("ByRegion", {Field{"Region", 1}});

  StatsDefn channels;
  channels.Initialize("Channels", Field{"Channel", 2}, StatsDefn::EnumPercent);
  channels.CreateEnumSpec(std::vector<std::string>{"Web", "Store"});

  const std::map<std::string, StatsDefn> definitions{{"Sales", sales}, {"Channels", channels}};
  SalesStats stats;
  if (!stats.Configure(&definitions, {Field{"Year", 0}, Field{"Region", 1}}) ||
      !stats.ProcessRecords() || !stats.MoveToRootNode()) {
    PrintError();
    return 1;
  }
  std::cout << stats.GetNodeCount() << " nodes\n";
  PrintNode(stats, definitions, 0);
  return Stats::IsErrorSet() ? 1 : 0;
}
