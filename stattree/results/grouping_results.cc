#include "stattree/results/grouping_results.h"

#include <algorithm>

#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {

namespace {

constexpr int kLocConfigureTotals = 10895;  // below the band, kept as it is
constexpr int kErrBadIndex = 10940;
constexpr int kErrNullCriteria = 10970;
constexpr int kLocConfigurePrototype = 10980;
constexpr int kLocAddDefnPrototype = 10990;
constexpr int kLocAddDefnTotals = 10995;
constexpr int kLocMembershipTest = 11000;
constexpr int kLocNewSetValues = 11010;
constexpr int kLocNewSetRecord = 11012;
constexpr int kLocMatchingSetRecord = 11015;
constexpr int kLocTotalsRecord = 11020;

}  // namespace

GroupingResults::GroupingResults() = default;

GroupingResults::GroupingResults(const GroupingResults& other) { CopyDataMembers(other); }

GroupingResults& GroupingResults::operator=(const GroupingResults& other) {
  if (this != &other) CopyDataMembers(other);
  return *this;
}

GroupingResults::~GroupingResults() = default;

void GroupingResults::CopyDataMembers(const GroupingResults& other) {
  groupings = other.groupings;
  prototype = other.prototype;
  totals = other.totals;
}

bool GroupingResults::ConfigureCriteria(Criteria* groupingCriteria,
                                        AlwaysPassCriteria* totalsCriteria) {
  if (groupingCriteria == nullptr || totalsCriteria == nullptr) {
    return SetErrorCode(kErrNullCriteria);
  }
  if (!prototype.ConfigureCriteria(groupingCriteria)) return DumpLocation(kLocConfigurePrototype);
  if (!totals.ConfigureCriteria(totalsCriteria)) return DumpLocation(kLocConfigureTotals);
  return true;
}

bool GroupingResults::AddNewStatsDefn(const StatsDefn& defn) {
  if (!prototype.AddNewStatsDefn(defn)) return DumpLocation(kLocAddDefnPrototype);
  if (!totals.AddNewStatsDefn(defn)) return DumpLocation(kLocAddDefnTotals);
  return true;
}

bool GroupingResults::ProcessRecord(const StatsRecord& record) {
  for (StatsSet& set : groupings) {
    if (set.RecordMeetsCriteria(record)) {
      if (!set.ProcessRecord(record)) return DumpLocation(kLocMatchingSetRecord);
      if (!totals.ProcessRecord(record)) return DumpLocation(kLocTotalsRecord);
      return true;
    }
    if (IsErrorSet()) return DumpLocation(kLocMembershipTest);
  }
  // A new combination: the failures below leave the new set in place.
  groupings.push_back(prototype);
  StatsSet& added = groupings.back();
  if (!added.SetGroupingValues(record)) return DumpLocation(kLocNewSetValues);
  if (!added.ProcessRecord(record)) return DumpLocation(kLocNewSetRecord);
  if (!totals.ProcessRecord(record)) return DumpLocation(kLocTotalsRecord);
  return true;
}

void GroupingResults::Finalize() {
  for (StatsSet& set : groupings) set.Finalize();
  // A merge sort: whatever the comparison answers (sets without criteria
  // are equivalent to every set) it only permutes the vector.
  std::stable_sort(groupings.begin(), groupings.end());
  totals.Finalize();
}

int GroupingResults::GetGroupingsCount() const { return static_cast<int>(groupings.size()); }

const StatsSet* GroupingResults::GetGroupingStatsSet(int index) const {
  // Deliberate: a grouping that saw no record answers its first index with
  // the unfed prototype, so an empty node still reports zero counts.
  if (index == 0 && groupings.empty()) return &prototype;
  if (index < 0 || static_cast<size_t>(index) >= groupings.size()) {
    SetErrorCode(kErrBadIndex);
    return nullptr;
  }
  return &groupings[static_cast<size_t>(index)];
}

void GroupingResults::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  for (StatsSet& set : groupings) set.DumpObject(os, defns);
}

}  // namespace stattree
