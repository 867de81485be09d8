#include "stattree/results/subset_results.h"

#include <string>
#include <typeinfo>

#include "stattree/boundary/binary_reader.h"
#include "stattree/boundary/binary_writer.h"
#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/results/definition_copies.h"

namespace stattree {

namespace {

constexpr int kNullCriteriaCode = 11160;
constexpr int kLocNoGroupingCriteria = 11170;
constexpr int kLocNewGroupingCriteria = 11180;
constexpr int kLocNewGroupingDefn = 11190;
constexpr int kLocKnownGroupingDefn = 11200;
constexpr int kUnconfiguredCode = 11210;
constexpr int kLocGroupingRecord = 11220;

}  // namespace

SubsetResults::SubsetResults() = default;

SubsetResults::SubsetResults(const SubsetResults& other) { CopyDataMembers(other); }

SubsetResults& SubsetResults::operator=(const SubsetResults& other) {
  if (this != &other) CopyDataMembers(other);
  return *this;
}

SubsetResults::~SubsetResults() = default;

void SubsetResults::CopyDataMembers(const SubsetResults& other) {
  // The subset criteria stay shared with the definition; the always-pass
  // criteria are this object's own and are not copied.
  subsetCriteria = other.subsetCriteria;
  subsetAlwaysPasses = other.subsetAlwaysPasses;
  ownCriteria = other.ownCriteria;
  groupings = other.groupings;
}

bool SubsetResults::ConfigureCriteria(Criteria* criteria) {
  if (criteria == nullptr) return SetErrorCode(kNullCriteriaCode);
  subsetCriteria = criteria;
  // The exact class: a derived one may test records its own way.
  subsetAlwaysPasses = typeid(*criteria) == typeid(AlwaysPassCriteria);
  ownCriteria.reset();
  return true;
}

bool SubsetResults::AddNewStatsDefn(const StatsDefn& defn) {
  const std::string& name = defn.GetGroupingName();
  if (GroupingResults* known = groupings.Find(name)) {
    // The grouping keeps the criteria of the definition that brought it.
    if (!known->AddNewStatsDefn(defn)) return DumpLocation(kLocKnownGroupingDefn);
    return true;
  }
  GroupingResults grouping;
  Criteria* groupingCriteria = defn.GetGroupingCriteria();
  if (groupingCriteria == nullptr) return DumpLocation(kLocNoGroupingCriteria);
  if (!grouping.ConfigureCriteria(groupingCriteria, &totalsCriteria)) {
    return DumpLocation(kLocNewGroupingCriteria);
  }
  if (!grouping.AddNewStatsDefn(defn)) return DumpLocation(kLocNewGroupingDefn);
  groupings.Add(name, grouping);
  return true;
}

bool SubsetResults::ProcessRecord(const StatsRecord& record) {
  if (subsetCriteria == nullptr) return SetErrorCode(kUnconfiguredCode);
  // A failed test counts as a record outside the subset; its error stays
  // set for the caller's checks.
  if (!subsetAlwaysPasses && !MeetsSubset(record)) return true;
  for (auto& entry : groupings) {
    if (!entry.second.ProcessRecord(record)) return DumpLocation(kLocGroupingRecord);
  }
  return true;
}

bool SubsetResults::MeetsSubset(const StatsRecord& record) const {
  // Every node tests the same borrowed criteria against the same record:
  // through the engine's cache, with no error held, the first answer
  // stands for the rest.
  const RecordCache* cache = RecordCache::Of(record);
  if (cache == nullptr || &typeid(*subsetCriteria) == &typeid(AlwaysPassCriteria) || IsErrorSet()) {
    return subsetCriteria->RecordMeetsCriteria(record);
  }
  int answer = 0;
  if (cache->FindAnswer(subsetCriteria, answer)) return answer != 0;
  const bool meets = subsetCriteria->RecordMeetsCriteria(record);
  if (!IsErrorSet()) cache->KeepAnswer(subsetCriteria, meets ? 1 : 0);
  return meets;
}

void SubsetResults::DetachFromDefinitions(DefinitionCopies& copies) {
  if (subsetCriteria != nullptr && ownCriteria == nullptr) {
    ownCriteria = copies.CopyOf(*subsetCriteria);
    subsetCriteria = ownCriteria.get();
    subsetAlwaysPasses = typeid(*subsetCriteria) == typeid(AlwaysPassCriteria);
  }
  for (auto& entry : groupings) entry.second.DetachFromDefinitions(copies);
}

void SubsetResults::Finalize() {
  for (auto& entry : groupings) entry.second.Finalize();
}

GroupingResults* SubsetResults::GetGroupingResults(const std::string& name) const {
  // The owner hands out its results for the engine's cursor to read.
  return const_cast<GroupingResults*>(groupings.Find(name));
}

void SubsetResults::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  for (auto& entry : groupings) {
    const std::string& name = entry.first;
    GroupingResults& grouping = entry.second;
    os << "        Grouping: ";
    Criteria* criteria = grouping.GetCriteriaPrototype();
    const int kind = criteria != nullptr ? criteria->GetCriteriaType() : Criteria::kAlwaysPassType;
    if (kind == Criteria::kAlwaysPassType) {
      os << "no grouping\r\n";
    } else if (kind == Criteria::kSingleType || kind == Criteria::kRangeType ||
               criteria->GetCriteriaCount() == 1) {
      CriteriaTerm term;
      if (!criteria->GetCriteria(term, 0)) term.column = -1;
      // The empty line after the single-column form is part of the format.
      os << name << ", "
         << "Column=" << std::to_string(term.column) << "\r\n\r\n";
    } else {
      // So is the repeated name and the space after each column number.
      os << name << ", " << name << "Columns=";
      for (int index = 0; index < criteria->GetCriteriaCount(); ++index) {
        if (index > 0) os << ",";
        CriteriaTerm term;
        if (criteria->GetCriteria(term, index)) os << std::to_string(term.column) << " ";
      }
      os << "\r\n";
    }
    grouping.DumpObject(os, defns);
  }
}

// ---------------------------------------------------------------------------
// Partial results

bool SubsetResults::MergeFrom(const SubsetResults& later) {
  if (groupings.size() != later.groupings.size()) return false;
  auto other = later.groupings.begin();
  for (auto& entry : groupings) {
    if (entry.first != other->first || !entry.second.MergeFrom(other->second)) return false;
    ++other;
  }
  return true;
}

void SubsetResults::SaveResults(BinaryWriter& out) const {
  out.Count(groupings.size());
  for (const auto& entry : groupings) entry.second.SaveResults(out);
}

bool SubsetResults::LoadResults(BinaryReader& in) {
  std::size_t count = 0;
  if (!in.Count(count, 1) || count != groupings.size()) return in.Fail();
  for (auto& entry : groupings) {
    if (!entry.second.LoadResults(in)) return false;
  }
  return true;
}

}  // namespace stattree
