// Fuzzes the library as a host drives it: definitions of any type and
// column with any specs (bad arguments included), tree fields, a small
// table of records of every value kind, a record source that may fail and
// a progress reporter that may cancel, then a run of calls in any order:
// Configure, ProcessRecords, Reset, the cursor, every query with any index
// or name, copies of the engine, and the dumps a host can reach. Nothing
// may crash, leak or hang; every loop here is bounded by the input's few
// bytes.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/stattree.h"

namespace {

using stattree::CriteriaSet;
using stattree::Field;
using stattree::HistogramBinLogic;
using stattree::Stats;
using stattree::StatsDefn;
using stattree::SubsetFieldValPair;
using stattree::Variant;

constexpr int kColumns = 4;
constexpr int kMaxRows = 12;
constexpr int kMaxCalls = 48;

// Few names, so that definitions, subsets and groupings collide and the
// cursor finds what was defined.
std::string Name(FuzzedDataProvider& in) {
  static const char* const kNames[] = {"", "a", "b", "n", "Root", "N/A", "a\r\nb"};
  const std::size_t pick = in.ConsumeIntegralInRange<std::size_t>(0, std::size(kNames));
  if (pick == std::size(kNames)) return in.ConsumeRandomLengthString(6);
  return kNames[pick];
}

int Column(FuzzedDataProvider& in) { return in.ConsumeIntegralInRange(-2, kColumns + 1); }

Variant Value(FuzzedDataProvider& in) {
  static const double kReals[] = {0.0,
                                  -0.0,
                                  0.5,
                                  -2.5,
                                  1e6,
                                  1e300,
                                  -1e300,
                                  5e-324,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};
  static const char* const kTexts[] = {"", "5", "5.0", "-0", "1e6", "x", "N/A", " 7", "1e999"};
  switch (in.ConsumeIntegralInRange(0, 7)) {
    case 0:
      return Variant();
    case 1:
      return Variant(in.ConsumeIntegralInRange<long long>(-3, 12));
    case 2:
      return Variant(in.ConsumeIntegral<long long>());
    case 3:
      return Variant(kReals[in.ConsumeIntegralInRange<std::size_t>(0, std::size(kReals) - 1)]);
    case 4:
      return Variant(in.ConsumeFloatingPoint<double>());
    case 5:
      return Variant(kTexts[in.ConsumeIntegralInRange<std::size_t>(0, std::size(kTexts) - 1)]);
    case 6:
      return Variant(in.ConsumeRandomLengthString(8));
    default:
      return Variant::Invalid();
  }
}

std::vector<Field> Fields(FuzzedDataProvider& in, int most) {
  std::vector<Field> fields(in.ConsumeIntegralInRange(0, most));
  for (Field& f : fields) {
    f.name = Name(in);
    f.colNum = Column(in);
  }
  return fields;
}

// The table: rows of values, some cells unreadable.
class TableRecord : public stattree::StatsRecord {
 public:
  bool GetValue(Variant& value, int colNum) const override {
    if (row == nullptr || colNum < 0 || colNum >= kColumns) return false;
    const Cell& cell = (*row)[static_cast<std::size_t>(colNum)];
    if (cell.unreadable) return false;
    value = cell.value;
    return true;
  }
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override {
    if (!describeErrors) return false;
    code = 90001;
    second = 0;
    message = "unreadable cell";
    flag = false;
    return true;
  }

  struct Cell {
    Variant value;
    bool unreadable = false;
  };
  using Row = std::vector<Cell>;
  const Row* row = nullptr;
  bool describeErrors = false;
};

class TableStats : public Stats {
 public:
  TableStats(TableRecord& record, const std::vector<TableRecord::Row>& rows, int failAt,
             int recordCount)
      : Stats(&record), record_(record), rows_(rows), failAt_(failAt), count_(recordCount) {}
  TableStats(const TableStats& other) = default;

  bool MoveToFirstRecord() override { return MoveTo(0); }
  bool MoveToNextRecord() override { return MoveTo(next_); }
  int GetRecordCount() override { return count_; }

 private:
  bool MoveTo(std::size_t index) {
    if (static_cast<int>(index) == failAt_) {
      Stats::SetError(90002, 0, "the source failed", false);
      return false;
    }
    if (index >= rows_.size()) return false;
    record_.row = &rows_[index];
    next_ = index + 1;
    return true;
  }

  TableRecord& record_;
  const std::vector<TableRecord::Row>& rows_;
  int failAt_;
  int count_;
  std::size_t next_ = 0;
};

class CancelAt : public stattree::ProgressManager {
 public:
  explicit CancelAt(int at) : at_(at) {}
  bool IsCanceled() override { return ++seen_ == at_; }

 private:
  int at_;
  int seen_ = 0;
};

void BuildSpecs(StatsDefn& defn, FuzzedDataProvider& in) {
  const int steps = in.ConsumeIntegralInRange(0, 4);
  for (int i = 0; i < steps; ++i) {
    switch (in.ConsumeIntegralInRange(0, 6)) {
      case 0:
        defn.CreateGroupingSpec(Name(in), Fields(in, 3));
        break;
      case 1: {
        std::vector<SubsetFieldValPair> pairs;
        for (const Field& f : Fields(in, 3)) pairs.push_back(SubsetFieldValPair{f, Value(in)});
        defn.CreateSubsetSpec(Name(in), pairs);
        break;
      }
      case 2: {
        std::vector<std::string> values(in.ConsumeIntegralInRange(0, 4));
        for (std::string& v : values) v = std::string(Value(in));
        defn.CreateEnumSpec(values);
        break;
      }
      case 3: {
        std::set<std::string> values;
        for (int n = in.ConsumeIntegralInRange(0, 4); n > 0; --n) values.insert(Value(in));
        defn.CreateEnumSpec(values);
        break;
      }
      case 4: {
        std::vector<Variant> edges(in.ConsumeIntegralInRange(0, 4));
        for (Variant& e : edges) e = Value(in);
        defn.CreateHistogramSpec(edges,
                                 static_cast<HistogramBinLogic>(in.ConsumeIntegralInRange(-1, 2)));
        break;
      }
      case 5: {
        const Variant low = Value(in);
        const Variant width = Value(in);
        defn.CreateHistogramSpec(low, width, in.ConsumeIntegralInRange(-2, 16));
        break;
      }
      default:
        defn.Initialize(Name(in), Field{Name(in), Column(in)},
                        static_cast<StatsDefn::StatsType>(in.ConsumeIntegralInRange(-1, 11)));
        break;
    }
  }
}

// What a host can reach of a definition's objects without an engine.
void ProbeDefinition(StatsDefn& defn, const TableRecord& record, FuzzedDataProvider& in) {
  std::ostringstream out;
  defn.DumpObject(out, in.ConsumeBool() ? nullptr : "  ");
  const int index = in.ConsumeIntegralInRange(-1, 3);
  Field field;
  Variant value;
  std::string text;
  defn.GetGroupingField(field, index);
  defn.GetSubsetFieldName(text, index);
  defn.GetSubsetFieldValue(value, index);
  defn.GetGroupingCriteria()->DumpObject(out, "");
  if (record.row != nullptr) defn.GetSubsetCriteria()->RecordMeetsCriteria(record);
  if (CriteriaSet* set = defn.GetEnumCriteriaSet()) {
    const int bin = in.ConsumeIntegralInRange(-1, 20);
    set->DumpObject(out, nullptr);
    set->DumpCriteraValues(out, "> ", in.ConsumeBool());
    set->DumpCriteria(out, "", bin);
    set->DumpCriteriaValue(out, "", bin);
    set->GetCriteriaValue(value, bin, index);
    set->GetCriteriaValueText(text, bin, index, in.ConsumeBool());
    int found = 0;
    if (record.row != nullptr) set->RecordMeetsCriteria(found, record);
  }
}

void Query(Stats& stats, FuzzedDataProvider& in) {
  const int a = in.ConsumeIntegralInRange(-2, 12);
  const int b = in.ConsumeIntegralInRange(-2, 4);
  Variant value;
  std::string text;
  std::vector<std::string> combo;
  int count = 0;
  switch (in.ConsumeIntegralInRange(0, 22)) {
    case 0:
      stats.GetChildCount();
      break;
    case 1:
      stats.GetChildName(text, a);
      break;
    case 2:
      stats.GetNodeName(text);
      stats.GetNodeField(text);
      break;
    case 3:
      stats.GetRecordsProcessed(a);
      stats.GetTotalGroupingRecordsProcessed();
      break;
    case 4:
      stats.GetResult(value, a);
      break;
    case 5:
      stats.GetGroupingTotal(value);
      break;
    case 6:
      stats.GetGroupingValueCount();
      stats.GetGroupingValueCombo(combo, a);
      break;
    case 7:
      stats.GetGroupingValue(text, a, b);
      break;
    case 8:
      stats.GetGroupingField(text, b);
      stats.GetGroupingFieldCount();
      break;
    case 9:
      stats.GetSubsetField(text, b);
      stats.GetSubsetFieldValue(value, b);
      stats.GetSubsetFieldCount();
      break;
    case 10:
      stats.GetCurrentStatsField(text);
      stats.GetCurrentStatsType(text);
      break;
    case 11:
      stats.IsEnum();
      stats.GetEnumValueCount(count, a);
      break;
    case 12:
      stats.GetEnumResult(value, a, b);
      break;
    case 13:
      stats.GetEnumGroupingTotal(value, a);
      break;
    case 14:
      stats.FindEnumIndex(std::string(Value(in)));
      break;
    case 15:
      stats.GetEnumValue(text, a, b, in.ConsumeBool());
      break;
    case 16:
      stats.GetEnumValue(value, a, b);
      break;
    case 17:
      stats.GetNodeCount();
      break;
    case 18: {
      int code = 0;
      int second = 0;
      bool flag = false;
      Stats::GetError(code, second, text, flag);
      Stats::GetErrorDetail();
      Stats::GetErrorLocations();
      break;
    }
    case 19:
      Stats::ClearError();
      break;
    case 20:
      stats.MoveToChild(a);
      break;
    case 21:
      stats.MoveToParent();
      break;
    default:
      stats.MoveToStatsResult(Name(in));
      break;
  }
}

// Every node the cursor can reach, depth first, and at each every
// statistic defined plus one of any name, with a few queries each; bounded
// by the visits it may make.
void Walk(Stats& stats, const std::vector<std::string>& names, FuzzedDataProvider& in,
          int& budget) {
  if (--budget < 0) return;
  for (const std::string& name : names) {
    if (!stats.MoveToStatsResult(name)) continue;
    Query(stats, in);
    Query(stats, in);
  }
  stats.MoveToStatsResult(Name(in));
  Query(stats, in);
  const int children = stats.GetChildCount();
  for (int i = 0; i < children && budget > 0; ++i) {
    if (!stats.MoveToChild(i)) continue;
    Walk(stats, names, in, budget);
    stats.MoveToParent();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  Stats::ClearError();

  std::vector<TableRecord::Row> rows(in.ConsumeIntegralInRange(0, kMaxRows));
  for (TableRecord::Row& row : rows) {
    row.resize(kColumns);
    for (TableRecord::Cell& cell : row) {
      cell.value = Value(in);
      cell.unreadable = in.ConsumeIntegralInRange(0, 15) == 0;
    }
  }
  TableRecord record;
  record.describeErrors = in.ConsumeBool();

  std::map<std::string, StatsDefn> definitions;
  for (int n = in.ConsumeIntegralInRange(0, 4); n > 0; --n) {
    StatsDefn defn(Name(in), Field{Name(in), Column(in)},
                   static_cast<StatsDefn::StatsType>(in.ConsumeIntegralInRange(-1, 11)));
    BuildSpecs(defn, in);
    if (!rows.empty()) record.row = &rows[0];
    ProbeDefinition(defn, record, in);
    record.row = nullptr;
    // Through the copy constructor or the assignment.
    if (in.ConsumeBool()) {
      definitions.emplace(defn.GetName(), defn);
    } else {
      definitions[defn.GetName()] = defn;
    }
  }
  std::vector<std::string> names;
  names.reserve(definitions.size());
  for (const auto& entry : definitions) names.push_back(entry.first);
  const std::vector<Field> tree = Fields(in, 3);
  const int failAt = in.ConsumeIntegralInRange(-1, kMaxRows);
  TableStats stats(record, rows, failAt, in.ConsumeIntegralInRange(-1, kMaxRows));
  stats.SetRecordCaching(in.ConsumeBool());
  Stats::ClearError();
  // Mostly a host's own order first, so that the free calls below start
  // from a processed tree.
  if (in.ConsumeIntegralInRange(0, 3) != 0) {
    stats.Configure(&definitions, tree);
    CancelAt progress(in.ConsumeIntegralInRange(0, kMaxRows));
    stats.ProcessRecords(in.ConsumeBool() ? &progress : nullptr);
  }

  for (int call = 0; call < kMaxCalls && in.remaining_bytes() > 0; ++call) {
    switch (in.ConsumeIntegralInRange(0, 7)) {
      case 0:
        stats.Configure(in.ConsumeIntegralInRange(0, 7) == 0 ? nullptr : &definitions, tree);
        break;
      case 1: {
        CancelAt progress(in.ConsumeIntegralInRange(0, kMaxRows));
        stats.ProcessRecords(in.ConsumeBool() ? &progress : nullptr);
        break;
      }
      case 2:
        stats.Reset();
        break;
      case 3:
        stats.MoveToRootNode();
        break;
      case 4: {
        // A copy is navigated only after MoveToRootNode, as the engine asks.
        TableStats copy(stats);
        if (copy.MoveToRootNode()) {
          int budget = 32;
          Walk(copy, names, in, budget);
        }
        break;
      }
      case 5: {
        if (!stats.MoveToRootNode()) break;
        int budget = 32;
        Walk(stats, names, in, budget);
        break;
      }
      case 6:
        stats.SetRecordCaching(in.ConsumeBool());
        break;
      default:
        Query(stats, in);
        break;
    }
  }
  Stats::ClearError();
  return 0;
}
