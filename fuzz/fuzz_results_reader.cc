// Fuzzes the reader of partial results (Stats::MergeResults). Any bytes
// must be refused with an error or merged into a tree that then finalizes,
// answers every query, and saves again without crashing, leaking or
// allocating beyond the input's size.
//
// The first byte chooses the form: 0 hands the rest over as it is (headers,
// lengths, checksums); otherwise the rest is wrapped in a valid header with
// the engine's own configuration digest and checksum, so that mutations
// reach the tree, the combinations and the accumulator states.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "stattree/boundary/binary_writer.h"
#include "stattree/stattree.h"

namespace {

using stattree::BinaryWriter;
using stattree::Field;
using stattree::Stats;
using stattree::StatsDefn;
using stattree::StatsRecord;
using stattree::Variant;

constexpr int kColumns = 4;

class Record : public StatsRecord {
 public:
  bool GetValue(Variant& value, int colNum) const override {
    if (row == nullptr || colNum < 0 || colNum >= kColumns) return false;
    value = (*row)[static_cast<std::size_t>(colNum)];
    return true;
  }
  bool GetError(int& /*code*/, int& /*second*/, std::string& /*message*/,
                bool& /*flag*/) const override {
    return false;
  }
  const std::vector<Variant>* row = nullptr;
};

class Engine : public Stats {
 public:
  explicit Engine(const std::vector<std::vector<Variant>>& rows) : Stats(&record), rows(rows) {}
  bool MoveToFirstRecord() override {
    next = 0;
    return MoveToNextRecord();
  }
  bool MoveToNextRecord() override {
    if (next >= rows.size()) return false;
    record.row = &rows[next++];
    return true;
  }
  int GetRecordCount() override { return static_cast<int>(rows.size()); }

 private:
  Record record;
  std::vector<std::vector<Variant>> rows;
  std::size_t next = 0;
};

// Every statistic type, a grouping on two fields, a subset, an enumeration
// and a histogram, over a tree of two levels.
const std::map<std::string, StatsDefn>& Definitions() {
  static const auto* const definitions = [] {
    auto* made = new std::map<std::string, StatsDefn>();
    for (int type = StatsDefn::Count; type <= StatsDefn::EnumPercent; ++type) {
      const std::string name = "S" + std::to_string(type);
      StatsDefn definition(name, Field{"v", 2}, static_cast<StatsDefn::StatsType>(type));
      if (type == StatsDefn::Histogram1) {
        definition.CreateHistogramSpec(Variant(0), Variant(2), 3);
      } else if (type == StatsDefn::EnumCount || type == StatsDefn::EnumPercent) {
        definition.CreateEnumSpec(std::vector<std::string>{"a", "1", "2.5"});
      }
      if (type % 2 == 0) definition.CreateGroupingSpec("g", {Field{"g", 3}, Field{"v", 2}});
      if (type % 3 == 0) definition.CreateSubsetSpec("s", {{Field{"s", 1}, Variant(1)}});
      (*made)[name] = definition;
    }
    return made;
  }();
  return *definitions;
}

const std::vector<Field>& TreeFields() {
  static const std::vector<Field> fields{Field{"a", 0}, Field{"b", 1}};
  return fields;
}

// Rows of every value kind, for the engine the input is merged into.
std::vector<std::vector<Variant>> Rows() {
  return {{Variant("x"), Variant(1), Variant(2.5), Variant("a")},
          {Variant(), Variant(1), Variant(7), Variant()},
          {Variant("x"), Variant(2), Variant::Invalid(), Variant(3)},
          {Variant(4), Variant("[no name]"), Variant("a"), Variant("a")}};
}

// The input as MergeResults is to read it (see the top).
std::string Form(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return std::string();
  const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] == 0) return std::string(rest);
  // Magic, version, length and checksum, then the digest of the engine's
  // configuration as its own saved form holds it.
  Engine empty({});
  empty.Configure(&Definitions(), TreeFields());
  empty.ProcessRecords(nullptr, false);
  std::string saved;
  empty.SaveResults(saved);
  std::string payload = saved.substr(24, 8);
  payload.append(rest);
  std::string form = saved.substr(0, 8);
  BinaryWriter writer(form);
  writer.U64(payload.size());
  writer.U64(BinaryWriter::Checksum(payload));
  return form + payload;
}

void ReadEverything(Stats& stats, int depth) {
  std::string text;
  Variant value;
  for (const auto& entry : Definitions()) {
    if (!stats.MoveToStatsResult(entry.first)) continue;
    const int combos = stats.GetGroupingValueCount();
    for (int c = 0; c <= combos; ++c) {
      std::vector<std::string> texts;
      stats.GetGroupingValueCombo(texts, c);
      stats.GetResult(value, c);
      stats.GetRecordsProcessed(c);
      int bins = 0;
      if (stats.IsEnum() && stats.GetEnumValueCount(bins, c)) {
        for (int b = 0; b < bins; ++b) stats.GetEnumResult(value, b, c);
      }
    }
    stats.GetGroupingTotal(value);
    Stats::ClearError();
  }
  const int children = stats.GetChildCount();
  for (int i = 0; i < children && depth < 3; ++i) {
    if (!stats.MoveToChild(i)) continue;
    stats.GetNodeName(text);
    ReadEverything(stats, depth + 1);
    stats.MoveToParent();
  }
  Stats::ClearError();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string form = Form(data, size);
  Engine engine(Rows());
  engine.Configure(&Definitions(), TreeFields());
  engine.ProcessRecords(nullptr, false);
  Stats::ClearError();
  if (engine.MergeResults(form)) {
    std::string again;
    if (!engine.SaveResults(again)) __builtin_trap();
    Engine other({});
    other.Configure(&Definitions(), TreeFields());
    other.ProcessRecords(nullptr, false);
    // What was merged must read back.
    if (!other.MergeResults(again)) __builtin_trap();
    engine.Finalize();
    if (engine.MoveToRootNode()) ReadEverything(engine, 0);
  }
  Stats::ClearError();
  return 0;
}
