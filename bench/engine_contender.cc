#include "engine_contender.h"

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace stattree_bench {
namespace {

using stattree::Field;
using stattree::Stats;
using stattree::StatsDefn;
using stattree::Variant;

constexpr int kRecordsBetweenClockChecks = 1024;

using Definitions = std::map<std::string, StatsDefn>;

StatsDefn& Add(Definitions& definitions, const char* name, const Field& field,
               StatsDefn::StatsType type) {
  return definitions
      .emplace(std::piecewise_construct, std::forward_as_tuple(name),
               std::forward_as_tuple(name, field, type))
      .first->second;
}

double Number(const Variant& value) {
  if (value.IsEmpty() || !value.IsValid()) return std::numeric_limits<double>::quiet_NaN();
  return value.ToDouble();
}

}  // namespace

bool CapProgress::IsCanceled() {
  if (++calls % kRecordsBetweenClockChecks == 0 && deadline.Passed()) canceled = true;
  return canceled;
}

std::string EngineErrorText() {
  int code = 0;
  int second = 0;
  bool flag = false;
  std::string message;
  Stats::GetError(code, second, message, flag);
  std::string text = "stattree error " + std::to_string(code) + " (" + message;
  const std::string detail = Stats::GetErrorDetail();
  if (!detail.empty()) text += ": " + detail;
  text += ") at";
  for (int location : Stats::GetErrorLocations()) text += " " + std::to_string(location);
  return text;
}

bool EngineJob::Build(const WorkloadSpec& spec, std::string& error) {
  definitions.clear();
  treeFields.clear();
  statistics.clear();
  Stats::ClearError();
  const bool built = spec.kind == WorkloadKind::Everyday ? BuildEveryday() : BuildHighCardinality();
  if (!built) error = "definitions: " + EngineErrorText();
  return built;
}

bool EngineJob::Configure(Stats& engine) { return engine.Configure(&definitions, treeFields); }

bool EngineJob::ReadResults(Stats& engine, ResultSet& results) const {
  std::vector<std::string> path;
  return engine.MoveToRootNode() && ReadNode(engine, path, results);
}

bool EngineJob::BuildEveryday() {
  const Field region{"Region", everyday::kRegion};
  const Field product{"Product", everyday::kProduct};
  const Field year{"Year", everyday::kYear};
  const Field channel{"Channel", everyday::kChannel};
  const Field amount{"Amount", everyday::kAmount};
  treeFields = {region, product};

  const std::pair<const char*, StatsDefn::StatsType> scalars[] = {
      {names::kCount, StatsDefn::Count},   {names::kCountValid, StatsDefn::CountValid},
      {names::kMin, StatsDefn::Min},       {names::kMax, StatsDefn::Max},
      {names::kSum, StatsDefn::Sum},       {names::kAverage, StatsDefn::Average},
      {names::kStdDev, StatsDefn::StdDev},
  };
  for (const auto& [name, type] : scalars) {
    Add(definitions, name, amount, type);
    statistics.push_back({name, ReadAs::Scalar});
  }

  std::vector<std::string> channels(everyday::kChannels.begin(), everyday::kChannels.end());
  if (!Add(definitions, names::kChannelCount, channel, StatsDefn::EnumCount)
           .CreateEnumSpec(channels) ||
      !Add(definitions, names::kChannelPercent, channel, StatsDefn::EnumPercent)
           .CreateEnumSpec(channels) ||
      !Add(definitions, names::kAmountHistogram, amount, StatsDefn::Histogram1)
           .CreateHistogramSpec(Variant(everyday::kLowEdge), Variant(everyday::kBinWidth),
                                everyday::kBinCount) ||
      !Add(definitions, names::kSumByYear, amount, StatsDefn::Sum)
           .CreateGroupingSpec("ByYear", {year}) ||
      !Add(definitions, names::kWebAverage, amount, StatsDefn::Average)
           .CreateSubsetSpec("Web", {{channel, Variant(everyday::kSubsetChannel)}})) {
    return false;
  }
  statistics.push_back({names::kChannelCount, ReadAs::Enumeration});
  statistics.push_back({names::kChannelPercent, ReadAs::Enumeration});
  statistics.push_back({names::kAmountHistogram, ReadAs::Histogram});
  statistics.push_back({names::kSumByYear, ReadAs::Grouped});
  statistics.push_back({names::kWebAverage, ReadAs::Scalar});
  return true;
}

bool EngineJob::BuildHighCardinality() {
  const Field customer{"Customer", highcard::kCustomer};
  const Field product{"Product", highcard::kProduct};
  const Field amount{"Amount", highcard::kAmount};
  treeFields = {customer};
  statistics.push_back({names::kSumByProduct, ReadAs::Grouped});
  return Add(definitions, names::kSumByProduct, amount, StatsDefn::Sum)
      .CreateGroupingSpec("ByProduct", {product});
}

bool EngineJob::ReadStatistic(const Stats& engine, const std::string& node,
                              const Statistic& statistic, ResultSet& results) const {
  Variant value;
  switch (statistic.readAs) {
    case ReadAs::Scalar:
      if (!engine.GetResult(value, 0)) return false;
      results.Set(node, statistic.name, Number(value));
      return true;
    case ReadAs::Grouped: {
      const int combinations = engine.GetGroupingValueCount();
      std::vector<std::string> combination;
      for (int i = 0; i < combinations; ++i) {
        if (!engine.GetGroupingValueCombo(combination, i) || combination.empty() ||
            !engine.GetResult(value, i)) {
          return false;
        }
        results.Set(node, ItemName(statistic.name, combination[0]), Number(value));
      }
      return true;
    }
    case ReadAs::Enumeration:
    case ReadAs::Histogram: {
      int bins = 0;
      if (!engine.GetEnumValueCount(bins, 0)) return false;
      std::string text;
      for (int i = 0; i < bins; ++i) {
        if (statistic.readAs == ReadAs::Histogram) {
          text = std::to_string(i);
        } else if (!engine.GetEnumValue(text, i, 0, false)) {
          return false;
        }
        if (!engine.GetEnumResult(value, i, 0)) return false;
        results.Set(node, ItemName(statistic.name, text), Number(value));
      }
      return true;
    }
  }
  return false;
}

// Depth first from the cursor's node, which `path` names.
bool EngineJob::ReadNode(Stats& engine, std::vector<std::string>& path, ResultSet& results) const {
  const std::string node = NodePath(path);
  for (const Statistic& statistic : statistics) {
    if (!engine.MoveToStatsResult(statistic.name) ||
        !ReadStatistic(engine, node, statistic, results)) {
      return false;
    }
  }
  const int children = engine.GetChildCount();
  for (int i = 0; i < children; ++i) {
    std::string name;
    if (!engine.GetChildName(name, i) || !engine.MoveToChild(i)) return false;
    path.push_back(name);
    const bool read = ReadNode(engine, path, results);
    path.pop_back();
    if (!read || !engine.MoveToParent()) return false;
  }
  return true;
}

EngineRun RunEngine(const WorkloadSpec& spec, const Table& table, double capSeconds,
                    ResultSet& results) {
  EngineRun run;
  EngineJob job;
  if (!job.Build(spec, run.outcome.message)) return run;

  TableRecord record(table);
  auto engine = std::make_unique<TableStats>(table, &record);
  CapProgress progress(capSeconds);
  MemoryProbe::ReleaseFreeHeap();
  const bool peakReset = MemoryProbe::ResetPeak();
  const std::int64_t before = MemoryProbe::ResidentBytes();

  const Stopwatch watch;
  const bool configured = job.Configure(*engine);
  const bool processed = configured && engine->ProcessRecords(&progress);
  run.outcome.seconds = watch.Seconds();
  run.treeBytes = (peakReset ? MemoryProbe::PeakBytes() : MemoryProbe::ResidentBytes()) - before;

  if (!processed) {
    if (progress.WasCanceled() && !Stats::IsErrorSet()) {
      run.outcome.status = Outcome::OverCap;
    } else {
      run.outcome.message = (configured ? "ProcessRecords: " : "Configure: ") + EngineErrorText();
    }
    return run;
  }
  run.outcome.status = Outcome::Done;

  if (!job.ReadResults(*engine, results)) {
    run.outcome.status = Outcome::Failed;
    run.outcome.message = "reading results: " + EngineErrorText();
  }
  return run;
}

}  // namespace stattree_bench
