#include "stattree/results/stats_set.h"

#include <climits>
#include <memory>
#include <utility>

#include "stattree/criteria/criteria.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/engine/error_reporting.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {

namespace {

constexpr int kLocAddDefnErrorSet = 11225;
constexpr int kErrNewResultFailed = 11226;
constexpr int kErrNullCriteria = 11230;
constexpr int kErrSetValuesUnconfigured = 11240;
constexpr int kLocSetValues = 11250;
constexpr int kErrMeetsUnconfigured = 11260;
constexpr int kLocMeets = 11270;
constexpr int kErrProcessNullResult = 11280;
constexpr int kLocProcessResult = 11290;
constexpr int kLocGetResultValue = 11300;
constexpr int kLocGetResultLookup = 11310;
constexpr int kErrUnknownStatsName = 11320;
constexpr int kErrLookupNullResult = 11330;
constexpr int kErrTextUnconfigured = 11340;
constexpr int kLocText = 11350;

constexpr const char* kIndent = "            ";

// The definitions reach the results read-only, while a few of their
// accessors are non-const by interface; none of them changes the definition.
StatsDefn& Mutable(const StatsDefn& defn) { return const_cast<StatsDefn&>(defn); }

}  // namespace

StatsSet::StatsSet() = default;

StatsSet::StatsSet(const StatsSet& other) { CopyDataMembers(other); }

StatsSet::StatsSet(StatsSet&& other) noexcept
    : groupingCriteria(other.groupingCriteria),
      results(std::move(other.results)),
      recordsProcessed(other.recordsProcessed) {
  other.groupingCriteria = nullptr;
  other.results.clear();
  other.recordsProcessed = 0;
}

StatsSet& StatsSet::operator=(const StatsSet& other) {
  if (this != &other) {
    DeleteDataMembers();
    CopyDataMembers(other);
  }
  return *this;
}

StatsSet& StatsSet::operator=(StatsSet&& other) noexcept {
  if (this != &other) {
    DeleteDataMembers();
    std::swap(groupingCriteria, other.groupingCriteria);
    results.swap(other.results);
    std::swap(recordsProcessed, other.recordsProcessed);
  }
  return *this;
}

StatsSet::~StatsSet() { DeleteDataMembers(); }

void StatsSet::CopyDataMembers(const StatsSet& other) {
  Criteria* clone = other.groupingCriteria != nullptr ? other.groupingCriteria->Clone() : nullptr;
  delete groupingCriteria;
  groupingCriteria = clone;
  for (const auto& entry : other.results) {
    if (entry.second == nullptr) continue;
    StatsResult*& slot = results[entry.first];
    StatsResult* copy = entry.second->Clone();
    delete slot;
    slot = copy;
    if (slot == nullptr) results.erase(entry.first);  // keeps "never null"
  }
  recordsProcessed = other.recordsProcessed;
}

void StatsSet::DeleteDataMembers() {
  recordsProcessed = 0;
  delete groupingCriteria;
  groupingCriteria = nullptr;
  for (auto& entry : results) delete entry.second;
  results.clear();
}

bool StatsSet::AddNewStatsDefn(const StatsDefn& defn) {
  const std::string& name = defn.GetName();
  if (results.find(name) != results.end()) return true;
  std::unique_ptr<StatsResult> result(
      StatsResult::New(Mutable(defn).GetType(), defn.GetFieldColNum()));
  // Kept before the null test: an error left set by an earlier call fails
  // here too.
  if (IsErrorSet()) return DumpLocation(kLocAddDefnErrorSet);
  if (result == nullptr) return SetErrorCode(kErrNewResultFailed);
  if (result->IsEnum()) {
    auto* enumResult = dynamic_cast<EnumResult*>(result.get());
    if (enumResult != nullptr) enumResult->ConfigureCriteriaSet(defn.GetEnumCriteriaSet());
  }
  results.emplace(name, result.release());
  return true;
}

bool StatsSet::ConfigureCriteria(Criteria* criteria) {
  if (criteria == nullptr) return SetErrorCode(kErrNullCriteria);
  Criteria* clone = criteria->Clone();
  delete groupingCriteria;
  groupingCriteria = clone;
  return groupingCriteria != nullptr;
}

bool StatsSet::SetGroupingValues(const StatsRecord& record) {
  if (groupingCriteria == nullptr) return SetErrorCode(kErrSetValuesUnconfigured);
  if (!groupingCriteria->SetValuesFromRecord(record)) return DumpLocation(kLocSetValues);
  return true;
}

bool StatsSet::RecordMeetsCriteria(const StatsRecord& record) {
  if (groupingCriteria == nullptr) return SetErrorCode(kErrMeetsUnconfigured);
  if (groupingCriteria->RecordMeetsCriteria(record)) return true;
  if (IsErrorSet()) return DumpLocation(kLocMeets);
  return false;
}

bool StatsSet::ProcessRecord(const StatsRecord& record) {
  // Counted first and always, also when an accumulator fails below; the
  // count saturates instead of overflowing.
  if (recordsProcessed < INT_MAX) ++recordsProcessed;
  for (auto& entry : results) {
    if (entry.second == nullptr) return SetErrorCode(kErrProcessNullResult);
    if (!entry.second->ProcessRecord(record)) return DumpLocation(kLocProcessResult);
  }
  return true;
}

void StatsSet::Finalize() {
  for (auto& entry : results) {
    if (entry.second == nullptr) return;
    entry.second->Finalize();
  }
}

StatsResult* StatsSet::GetStatsResult(const std::string& name) const {
  auto it = results.find(name);
  if (it == results.end()) {
    SetErrorCode(kErrUnknownStatsName);
    return nullptr;
  }
  if (it->second == nullptr) {
    SetErrorCode(kErrLookupNullResult);
    return nullptr;
  }
  return it->second;
}

bool StatsSet::GetResult(Variant& value, const std::string& name) const {
  StatsResult* result = GetStatsResult(name);
  if (result == nullptr) return DumpLocation(kLocGetResultLookup);
  if (!result->GetResult(value)) return DumpLocation(kLocGetResultValue);
  return true;
}

bool StatsSet::GetCriteriaText(std::vector<std::string>& texts) const {
  if (groupingCriteria == nullptr) return SetErrorCode(kErrTextUnconfigured);
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
  return groupingCriteria->IsLessThan(other.groupingCriteria);
}

void StatsSet::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  for (const auto& entry : results) {
    os << kIndent << "Stats Name: " << entry.first << "\r\n";
    auto found = defns.find(entry.first);
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

    if (entry.second != nullptr) entry.second->DumpObject(os);
    os << "\r\n\r\n";
  }
}

}  // namespace stattree
