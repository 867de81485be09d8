#include "stattree/results/stats_set.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

#include "stattree/boundary/binary_reader.h"
#include "stattree/boundary/binary_writer.h"
#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/results/definition_copies.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/result_state.h"
#include "stattree/statistics/scalar_results.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {

// The names, and what CannotFailOn works out once per run for every set
// that shares them (copies of one another: the same kinds of accumulators
// reading the same columns through the same criteria sets).
struct StatsSet::NameTable {
  // What the accumulators read, worked out for one run. Replaced, never
  // changed, so that a check under way keeps reading the one it took even
  // if a nested run of a copy of the engine works out its own.
  struct ReadPlan {
    std::uint64_t run = 0;
    bool known = true;  // every accumulator describes its reads
    std::vector<int> columns;
    std::vector<std::pair<CriteriaSet*, int>> sets;
  };

  std::vector<std::string> names;
  mutable std::shared_ptr<const ReadPlan> plan;
  mutable RecordAnswer sure;  // CannotFailOn's answer for the current record
};

namespace {

constexpr int kLocAddDefnErrorSet = 11225;
constexpr int kNewResultFailedCode = 11226;
constexpr int kNullCriteriaCode = 11230;
constexpr int kSetValuesUnconfiguredCode = 11240;
constexpr int kLocSetValues = 11250;
constexpr int kMeetsUnconfiguredCode = 11260;
constexpr int kLocMeets = 11270;
constexpr int kLocProcessResult = 11290;
constexpr int kLocGetResultValue = 11300;
constexpr int kLocGetResultLookup = 11310;
constexpr int kUnknownStatsNameCode = 11320;
constexpr int kTextUnconfiguredCode = 11340;
constexpr int kLocText = 11350;

constexpr const char* kIndent = "            ";

// The definitions reach the results read-only, while a few of their
// accessors are non-const by interface; none of them changes the definition.
StatsDefn& Mutable(const StatsDefn& defn) { return const_cast<StatsDefn&>(defn); }

// What `result.ProcessRecord(cache)` does, with the library's accumulators
// read and fed inline: a set feeds a dozen of them per record, and a
// virtual call with its scratch value costs more than their arithmetic.
bool FeedFromCache(StatsResult& result, const RecordCache& cache) {
  using Kind = StatsResult::Kind;
  switch (result.GetKind()) {
    case Kind::Count:
      return static_cast<CountResult&>(result).Take();
    case Kind::CountValid:
      return static_cast<CountValidResult&>(result).Take(cache.Peek(result.GetColumn()), cache);
    case Kind::Min:
      return static_cast<MinResult&>(result).Take(cache.Peek(result.GetColumn()), cache);
    case Kind::Max:
      return static_cast<MaxResult&>(result).Take(cache.Peek(result.GetColumn()), cache);
    case Kind::Sum:
      return static_cast<SumResult&>(result).Take(cache.Peek(result.GetColumn()), cache);
    case Kind::Average:
      return static_cast<AverageResult&>(result).Take(cache.Peek(result.GetColumn()), cache);
    case Kind::StdDev:
      return static_cast<StdDevResult&>(result).Take(cache.Peek(result.GetColumn()), cache);
    case Kind::Enum: {
      bool taken = false;
      if (!IsErrorSet() && static_cast<EnumResult&>(result).TakeKnownBin(cache, taken)) {
        return taken;
      }
      break;
    }
    case Kind::EnumPercent: {
      bool taken = false;
      if (!IsErrorSet() && static_cast<EnumPercentResult&>(result).TakeKnownBin(cache, taken)) {
        return taken;
      }
      break;
    }
    case Kind::Other:
      break;
  }
  return result.ProcessRecord(cache);
}

}  // namespace

StatsSet::StatsSet() = default;

StatsSet::StatsSet(const StatsSet& other) { CopyDataMembers(other); }

StatsSet::StatsSet(StatsSet&& other) noexcept
    : groupingCriteria(std::move(other.groupingCriteria)),
      table(std::move(other.table)),
      results(std::move(other.results)),
      recordsProcessed(other.recordsProcessed),
      alwaysPasses(other.alwaysPasses) {
  other.DeleteDataMembers();
}

StatsSet& StatsSet::operator=(const StatsSet& other) {
  if (this != &other) CopyDataMembers(other);
  return *this;
}

StatsSet& StatsSet::operator=(StatsSet&& other) noexcept {
  if (this != &other) {
    groupingCriteria = std::move(other.groupingCriteria);
    table = std::move(other.table);
    results = std::move(other.results);
    recordsProcessed = other.recordsProcessed;
    alwaysPasses = other.alwaysPasses;
    other.DeleteDataMembers();
  }
  return *this;
}

StatsSet::~StatsSet() = default;

void StatsSet::CopyDataMembers(const StatsSet& other) {
  // Everything is copied before anything is replaced: an allocation
  // failure midway leaves this set as it was and leaks nothing.
  std::unique_ptr<Criteria> clone(
      other.groupingCriteria != nullptr ? other.groupingCriteria->Clone() : nullptr);
  CopyResultsFrom(other);
  UseCriteria(std::move(clone));
}

void StatsSet::UseCriteria(std::unique_ptr<Criteria> criteria) {
  // The exact class: a derived one may test records its own way.
  alwaysPasses = criteria != nullptr && typeid(*criteria) == typeid(AlwaysPassCriteria);
  groupingCriteria = std::move(criteria);
}

void StatsSet::CopyResultsFrom(const StatsSet& other) {
  std::vector<std::unique_ptr<StatsResult>> copies;
  copies.reserve(other.results.size());
  for (const auto& result : other.results) {
    copies.emplace_back(result->Clone());
    if (copies.back() == nullptr) throw std::bad_alloc();
  }
  table = other.table;
  results = std::move(copies);
  recordsProcessed = other.recordsProcessed;
}

bool StatsSet::CannotFailOn(const RecordCache& cache) const {
  if (IsErrorSet() || table == nullptr) return false;
  int answer = 0;
  if (cache.FindAnswer(table->sure, answer)) return answer != 0;
  return WorkOutCannotFail(cache);
}

bool StatsSet::WorkOutCannotFail(const RecordCache& cache) const {
  std::shared_ptr<const NameTable::ReadPlan> plan = table->plan;
  if (plan == nullptr || plan->run != cache.RunId()) {
    auto fresh = std::make_shared<NameTable::ReadPlan>();
    fresh->run = cache.RunId();
    for (const auto& result : results) {
      if (!result->DescribeReads(fresh->columns, fresh->sets)) fresh->known = false;
    }
    // Each column and set once; a set's smallest counter count stands for all.
    std::sort(fresh->columns.begin(), fresh->columns.end());
    fresh->columns.erase(std::unique(fresh->columns.begin(), fresh->columns.end()),
                         fresh->columns.end());
    std::sort(fresh->sets.begin(), fresh->sets.end());
    fresh->sets.erase(std::unique(fresh->sets.begin(), fresh->sets.end(),
                                  [](const auto& a, const auto& b) { return a.first == b.first; }),
                      fresh->sets.end());
    table->plan = fresh;
    plan = std::move(fresh);
  }
  bool sure = plan->known;
  for (std::size_t i = 0; sure && i < plan->columns.size(); ++i) {
    sure = cache.Peek(plan->columns[i]) != nullptr;
  }
  for (std::size_t i = 0; sure && i < plan->sets.size(); ++i) {
    const auto& [set, counters] = plan->sets[i];
    sure = counters >= set->GetCriteriaCount() && set->FindBinAhead(cache);
  }
  if (!IsErrorSet()) cache.KeepAnswer(table->sure, sure ? 1 : 0);
  return sure;
}

void StatsSet::DeleteDataMembers() {
  recordsProcessed = 0;
  UseCriteria(nullptr);
  table.reset();
  results.clear();
}

StatsResult* StatsSet::Find(const std::string& name) const {
  if (table == nullptr) return nullptr;
  const std::vector<std::string>& names = table->names;
  const auto at = std::lower_bound(names.begin(), names.end(), name);
  if (at == names.end() || *at != name) return nullptr;
  return results[static_cast<std::size_t>(at - names.begin())].get();
}

bool StatsSet::AddNewStatsDefn(const StatsDefn& defn) {
  const std::string& name = defn.GetName();
  if (Find(name) != nullptr) return true;
  std::unique_ptr<StatsResult> result(
      StatsResult::New(Mutable(defn).GetType(), defn.GetFieldColNum()));
  // Kept before the null test: an error left set by an earlier call fails
  // here too.
  if (IsErrorSet()) return DumpLocation(kLocAddDefnErrorSet);
  if (result == nullptr) return SetErrorCode(kNewResultFailedCode);
  if (result->IsEnum()) {
    auto* enumResult = dynamic_cast<EnumResult*>(result.get());
    if (enumResult != nullptr) enumResult->ConfigureCriteriaSet(defn.GetEnumCriteriaSet());
  }
  // A new table, since the current one may be shared with other sets.
  auto newTable = std::make_shared<NameTable>();
  if (table != nullptr) newTable->names = table->names;
  std::vector<std::string>& newNames = newTable->names;
  const auto at = std::lower_bound(newNames.begin(), newNames.end(), name);
  const auto position = at - newNames.begin();
  newNames.insert(at, name);
  results.reserve(results.size() + 1);
  // Nothing below can throw.
  results.insert(results.begin() + position, std::move(result));
  table = std::move(newTable);
  return true;
}

bool StatsSet::ConfigureCriteria(Criteria* criteria) {
  if (criteria == nullptr) return SetErrorCode(kNullCriteriaCode);
  UseCriteria(std::unique_ptr<Criteria>(criteria->Clone()));
  return groupingCriteria != nullptr;
}

bool StatsSet::SetGroupingValues(const StatsRecord& record) {
  if (groupingCriteria == nullptr) return SetErrorCode(kSetValuesUnconfiguredCode);
  if (!groupingCriteria->SetValuesFromRecord(record)) return DumpLocation(kLocSetValues);
  return true;
}

bool StatsSet::RecordMeetsCriteria(const StatsRecord& record) {
  if (groupingCriteria == nullptr) return SetErrorCode(kMeetsUnconfiguredCode);
  if (groupingCriteria->RecordMeetsCriteria(record)) return true;
  if (IsErrorSet()) return DumpLocation(kLocMeets);
  return false;
}

bool StatsSet::ProcessRecord(const StatsRecord& record) {
  // Counted first and always, also when an accumulator fails below; the
  // count saturates instead of overflowing.
  if (recordsProcessed < INT_MAX) ++recordsProcessed;
  if (const RecordCache* cache = RecordCache::Of(record)) {
    for (const auto& result : results) {
      if (!FeedFromCache(*result, *cache)) return DumpLocation(kLocProcessResult);
    }
    return true;
  }
  for (const auto& result : results) {
    if (!result->ProcessRecord(record)) return DumpLocation(kLocProcessResult);
  }
  return true;
}

void StatsSet::DetachFromDefinitions(DefinitionCopies& copies) {
  for (const auto& result : results) {
    if (!result->IsEnum()) continue;
    auto* distribution = dynamic_cast<EnumResult*>(result.get());
    if (distribution != nullptr && distribution->GetCriteriaSet() != nullptr) {
      distribution->UseOwnCriteriaSet(copies.CopyOf(*distribution->GetCriteriaSet()));
    }
  }
}

void StatsSet::Finalize() {
  for (const auto& result : results) result->Finalize();
}

StatsResult* StatsSet::GetStatsResult(const std::string& name) const {
  StatsResult* result = Find(name);
  if (result == nullptr) SetErrorCode(kUnknownStatsNameCode);
  return result;
}

bool StatsSet::GetResult(Variant& value, const std::string& name) const {
  StatsResult* result = GetStatsResult(name);
  if (result == nullptr) return DumpLocation(kLocGetResultLookup);
  if (!result->GetResult(value)) return DumpLocation(kLocGetResultValue);
  return true;
}

bool StatsSet::GetCriteriaText(std::vector<std::string>& texts) const {
  if (groupingCriteria == nullptr) return SetErrorCode(kTextUnconfiguredCode);
  texts.clear();
  for (int index = 0; index < groupingCriteria->GetCriteriaCount(); ++index) {
    std::string text;
    if (!groupingCriteria->GetCriteriaText(text, index, false)) return DumpLocation(kLocText);
    texts.push_back(std::move(text));
  }
  return true;
}

bool StatsSet::operator<(const StatsSet& other) const {
  if (groupingCriteria == nullptr || other.groupingCriteria == nullptr) return false;
  return groupingCriteria->IsLessThan(other.groupingCriteria.get());
}

void StatsSet::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  for (std::size_t i = 0; i < results.size(); ++i) {
    const std::string& name = table->names[i];
    os << kIndent << "Stats Name: " << name << "\r\n";
    auto found = defns.find(name);
    if (found == defns.end()) {
      os << kIndent << "NO STATS DEFN FOR THIS NAME\r\n";
      continue;
    }
    StatsDefn& defn = Mutable(found->second);

    os << kIndent << "Subset    : ";
    const int subsetCount = defn.GetSubsetFieldCount();
    if (subsetCount == 0) {
      os << "all records\r\n";
    } else {
      for (int index = 0; index < subsetCount; ++index) {
        if (index > 0) os << ",";
        Field field;
        if (!defn.GetSubsetField(field, index)) continue;
        os << "[Col " << std::to_string(field.colNum) << "]" << field.name << "=";
        Variant value;
        if (defn.GetSubsetFieldValue(value, index)) os << value.ToString();
      }
      os << "\r\n";
    }

    // A set without criteria ends its block here, on purpose.
    if (groupingCriteria == nullptr) continue;

    os << kIndent << "Grouping  : ";
    const int groupingCount = defn.GetGroupingFieldCount();
    if (groupingCount == 0) {
      os << "no grouping\r\n";
    } else {
      for (int index = 0; index < groupingCount; ++index) {
        if (index > 0) os << ",";
        Field field;
        if (!defn.GetGroupingField(field, index)) continue;
        os << "[Col " << std::to_string(field.colNum) << "]" << field.name << "=";
        std::string text;
        if (groupingCriteria->GetCriteriaText(text, index, false)) os << text;
      }
      os << "\r\n";
    }

    std::string typeText;
    StatsDefn::GetTypeString(typeText, defn.GetType());
    os << kIndent << "Stats Type: " << typeText << "\r\n";

    Field field;
    defn.GetField(field);
    os << kIndent << "Field     : ";
    if (field.colNum != -1) {
      os << "[Col " << std::to_string(field.colNum) << "]" << field.name << "\r\n";
    } else {
      os << "no field\r\n";
    }

    results[i]->DumpObject(os);
    os << "\r\n\r\n";
  }
}

// ---------------------------------------------------------------------------
// Partial results

bool StatsSet::HoldsSameStatistics(const StatsSet& later) const {
  if (results.size() != later.results.size()) return false;
  if (table != later.table &&
      (table == nullptr || later.table == nullptr || table->names != later.table->names)) {
    return false;
  }
  for (std::size_t i = 0; i < results.size(); ++i) {
    if (!ResultState::SameKind(*results[i], *later.results[i])) return false;
  }
  return true;
}

bool StatsSet::MergeFrom(const StatsSet& later) {
  if (!HoldsSameStatistics(later)) return false;
  recordsProcessed = recordsProcessed > INT_MAX - later.recordsProcessed
                         ? INT_MAX
                         : recordsProcessed + later.recordsProcessed;
  for (std::size_t i = 0; i < results.size(); ++i)
    ResultState::Merge(*results[i], *later.results[i]);
  return true;
}

void StatsSet::SaveResults(BinaryWriter& out) const {
  out.I32(recordsProcessed);
  out.Count(results.size());
  for (const auto& result : results) ResultState::Save(*result, out);
}

bool StatsSet::LoadResults(BinaryReader& in) {
  std::int32_t records = 0;
  std::size_t count = 0;
  if (!in.I32(records) || records < 0 || !in.Count(count, 1) || count != results.size()) {
    return in.Fail();
  }
  for (const auto& result : results) {
    if (!ResultState::Load(*result, in)) return false;
  }
  recordsProcessed = records;
  return true;
}

}  // namespace stattree
