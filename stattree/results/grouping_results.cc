#include "stattree/results/grouping_results.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <typeinfo>

#include "stattree/boundary/binary_reader.h"
#include "stattree/boundary/binary_writer.h"
#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/boundary/value_record.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/criteria/single_criteria.h"
#include "stattree/results/first_match_index.h"

namespace stattree {

namespace {

constexpr int kLocConfigureTotals = 10895;  // below the band, kept as it is
constexpr int kBadIndexCode = 10940;
constexpr int kNullCriteriaCode = 10970;
constexpr int kLocConfigurePrototype = 10980;
constexpr int kLocAddDefnPrototype = 10990;
constexpr int kLocAddDefnTotals = 10995;
constexpr int kLocMembershipTest = 11000;
constexpr int kLocNewSetValues = 11010;
constexpr int kLocNewSetRecord = 11012;
constexpr int kLocMatchingSetRecord = 11015;
constexpr int kLocTotalsRecord = 11020;

// A grouping walks its combinations up to this many; past it, it indexes
// them. An index costs about 450 bytes, and the many small nodes of a
// high-cardinality tree mostly hold fewer combinations than this.
constexpr std::size_t kLinearSets = 16;

// The "=" terms of a plain single or multiple criteria, or null for any
// other kind (a subclass included) or any other operator: only these are
// known to mean text equality of each column.
const CriteriaTerm* KeyTerms(const Criteria* criteria, std::size_t& count) {
  if (criteria == nullptr) return nullptr;
  const CriteriaTerm* terms = nullptr;
  // The kind code first: comparing unequal type_infos costs a strcmp.
  const int kind = criteria->GetCriteriaType();
  if (kind == Criteria::kSingleType && typeid(*criteria) == typeid(SingleCriteria)) {
    terms = &static_cast<const SingleCriteria*>(criteria)->GetTerm();
    count = 1;
  } else if (kind == Criteria::kMultipleType && typeid(*criteria) == typeid(MultipleCriteria)) {
    const auto& all = static_cast<const MultipleCriteria*>(criteria)->GetTerms();
    terms = all.data();
    count = all.size();
  } else {
    return nullptr;
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (terms[i].op != Equal || terms[i].column == -1) return nullptr;
  }
  return count > 0 ? terms : nullptr;
}

// The index hash of a key given as `count` values, `valueAt(i)` the i-th.
template <class ValueAt>
std::size_t KeyHash(std::size_t count, ValueAt valueAt) {
  std::size_t hash = 0;
  for (std::size_t i = 0; i < count; ++i) {
    Variant::TextBuffer buffer;
    hash = FirstMatchIndex::Combine(hash, FirstMatchIndex::HashText(valueAt(i).TextView(buffer)));
  }
  return hash;
}

// Whether the set's grouping values equal the key, value by value, as the
// "=" test of its criteria would decide.
template <class ValueAt>
bool KeyMatches(const StatsSet& set, std::size_t count, ValueAt valueAt) {
  std::size_t setCount = 0;
  const CriteriaTerm* terms = KeyTerms(set.GetCriteria(), setCount);
  if (terms == nullptr || setCount != count) return false;
  for (std::size_t i = 0; i < count; ++i) {
    if (!valueAt(i).IsStringEquivalentTo(terms[i].value)) return false;
  }
  return true;
}

}  // namespace

struct GroupingResults::SetIndex {
  std::vector<int> columns;     // the key columns, in term order
  std::size_t indexedSets = 0;  // sets below this position are in `keys`
  bool exact = true;            // false: some set's criteria can't be keyed
  std::vector<Variant> values;  // the record's key values, reused per record
  FirstMatchIndex keys;
  // Set i's "=" terms, one per key column: compared without the chase
  // through the set to its criteria.
  std::vector<const CriteriaTerm*> terms;
};

GroupingResults::GroupingResults() : prototype(std::make_shared<StatsSet>()) {}

GroupingResults::GroupingResults(const GroupingResults& other) { CopyDataMembers(other); }

GroupingResults& GroupingResults::operator=(const GroupingResults& other) {
  if (this != &other) CopyDataMembers(other);
  return *this;
}

GroupingResults::~GroupingResults() = default;

StatsSet& GroupingResults::OwnPrototype() {
  if (prototype.use_count() > 1) prototype = std::make_shared<StatsSet>(*prototype);
  return *prototype;
}

void GroupingResults::CopyDataMembers(const GroupingResults& other) {
  setIndex.reset();
  groupings = other.groupings;
  prototype = other.prototype;
  totals = other.totals;
  totalsLag = other.totalsLag;
}

void GroupingResults::SyncTotals() const {
  if (!totalsLag) return;
  totals.CopyResultsFrom(groupings.front());
  totalsLag = false;
}

const StatsSet* GroupingResults::GetTotalsStatsSet() const {
  SyncTotals();
  return &totals;
}

bool GroupingResults::FeedSets(std::size_t position, const StatsRecord& record, int setLocation) {
  StatsSet& set = groupings[position];
  if (totalsLag || (groupings.size() == 1 && totals.GetRecordsProcessed() == 0 &&
                    set.GetRecordsProcessed() == 0)) {
    // A record the one set is sure to take would be taken by the totals in
    // the same way: they may wait.
    const RecordCache* cache = RecordCache::Of(record);
    if (groupings.size() == 1 && cache != nullptr && cache->Enabled() && set.CannotFailOn(*cache)) {
      totalsLag = true;
      if (!set.ProcessRecord(record)) return DumpLocation(setLocation);
      return true;
    }
    SyncTotals();
  }
  if (!set.ProcessRecord(record)) return DumpLocation(setLocation);
  if (!totals.ProcessRecord(record)) return DumpLocation(kLocTotalsRecord);
  return true;
}

bool GroupingResults::ConfigureCriteria(Criteria* groupingCriteria,
                                        AlwaysPassCriteria* totalsCriteria) {
  if (groupingCriteria == nullptr || totalsCriteria == nullptr) {
    return SetErrorCode(kNullCriteriaCode);
  }
  if (!OwnPrototype().ConfigureCriteria(groupingCriteria)) {
    return DumpLocation(kLocConfigurePrototype);
  }
  if (!totals.ConfigureCriteria(totalsCriteria)) return DumpLocation(kLocConfigureTotals);
  return true;
}

bool GroupingResults::AddNewStatsDefn(const StatsDefn& defn) {
  SyncTotals();
  if (!OwnPrototype().AddNewStatsDefn(defn)) return DumpLocation(kLocAddDefnPrototype);
  if (!totals.AddNewStatsDefn(defn)) return DumpLocation(kLocAddDefnTotals);
  return true;
}

bool GroupingResults::ProcessRecord(const StatsRecord& record) {
  // Every grouping without a grouping spec: its one set takes every record,
  // as the search below would find.
  if (!groupings.empty() && groupings.front().AlwaysPasses()) {
    return FeedSets(0, record, kLocMatchingSetRecord);
  }
  std::size_t position = 0;
  bool found = false;
  if (!FindSetOf(position, found, record)) return DumpLocation(kLocMembershipTest);
  if (found) return FeedSets(position, record, kLocMatchingSetRecord);
  // A new combination: the failures below leave the new set in place.
  SyncTotals();
  // Grown by half rather than doubled: most groupings stay small, and a
  // doubled vector leaves a quarter of its room unused on average.
  if (groupings.size() == groupings.capacity()) {
    groupings.reserve(groupings.size() + groupings.size() / 2 + 1);
  }
  groupings.push_back(*prototype);
  StatsSet& added = groupings.back();
  if (!added.SetGroupingValues(record)) return DumpLocation(kLocNewSetValues);
  if (groupings.size() == 1) return FeedSets(0, record, kLocNewSetRecord);
  if (!added.ProcessRecord(record)) return DumpLocation(kLocNewSetRecord);
  if (!totals.ProcessRecord(record)) return DumpLocation(kLocTotalsRecord);
  return true;
}

bool GroupingResults::FindScannedSet(std::size_t& position, bool& found,
                                     const StatsRecord& record) const {
  if (groupings.empty()) return false;
  // A first set that always passes takes every record, without a read.
  if (groupings.front().AlwaysPasses()) {
    position = 0;
    found = true;
    return true;
  }
  // Few sets of a one-field grouping, the engine's cache: the record's value
  // is compared with each set's as its "=" test would, without the calls.
  const RecordCache* cache = RecordCache::Of(record);
  if (cache == nullptr || !cache->Enabled() || IsErrorSet()) return false;
  const Variant* value = nullptr;
  int column = -1;
  for (std::size_t i = 0; i < groupings.size(); ++i) {
    const Criteria* test = groupings[i].GetCriteria();
    // The address of the type: a miss (any other kind) only means the walk.
    if (test == nullptr || &typeid(*test) != &typeid(MultipleCriteria)) return false;
    const auto& terms = static_cast<const MultipleCriteria*>(test)->GetTerms();
    if (terms.size() != 1 || terms.front().op != Equal || terms.front().column == -1) return false;
    const CriteriaTerm& term = terms.front();
    if (value == nullptr) {
      column = term.column;
      value = cache->Peek(column);
      if (value == nullptr) return false;  // the walk reports the failure
    } else if (term.column != column) {
      return false;
    }
    if (value->IsStringEquivalentTo(term.value)) {
      position = i;
      found = true;
      return true;
    }
  }
  found = false;
  return true;
}

bool GroupingResults::FindIndexedSet(std::size_t& position, bool& found,
                                     const StatsRecord& record) {
  // An error already set makes the walk fail at the first set that does
  // not match: only the walk reproduces that.
  if (groupings.size() <= kLinearSets || IsErrorSet() || !MayLookUpByValue(record)) return false;
  SetIndex* index = CurrentSetIndex();
  if (index == nullptr) return false;
  // A failed read is reported by the first set's test, in the walk. One
  // key column is peeked at; several are copied, since a peeked value
  // lasts only until the next read.
  const Variant* single = nullptr;
  if (index->columns.size() == 1) {
    single = ReadColumn(record, index->columns[0], index->values[0]);
    if (single == nullptr) return false;
  } else {
    for (std::size_t i = 0; i < index->columns.size(); ++i) {
      if (!record.GetValue(index->values[i], index->columns[i])) return false;
    }
  }
  if (IsErrorSet()) return false;
  const auto recordValue = [&](std::size_t i) -> const Variant& {
    return single != nullptr ? *single : index->values[i];
  };
  const std::size_t hash = KeyHash(index->values.size(), recordValue);
  const std::uint32_t match = index->keys.Find(hash, [&](std::uint32_t at) {
    const CriteriaTerm* terms = index->terms[at];
    for (std::size_t i = 0; i < index->columns.size(); ++i) {
      if (!recordValue(i).IsStringEquivalentTo(terms[i].value)) return false;
    }
    return true;
  });
  found = match != FirstMatchIndex::kNone;
  if (found) position = match;
  return true;
}

GroupingResults::SetIndex* GroupingResults::CurrentSetIndex() {
  if (setIndex == nullptr) setIndex = std::make_unique<SetIndex>();
  SetIndex& index = *setIndex;
  if (!index.exact) return nullptr;
  for (; index.indexedSets < groupings.size(); ++index.indexedSets) {
    std::size_t count = 0;
    const CriteriaTerm* terms = KeyTerms(groupings[index.indexedSets].GetCriteria(), count);
    bool sameColumns = terms != nullptr && (index.columns.empty() || count == index.columns.size());
    for (std::size_t i = 0; sameColumns && !index.columns.empty() && i < count; ++i) {
      sameColumns = terms[i].column == index.columns[i];
    }
    if (!sameColumns) {
      index.exact = false;
      index.keys.Clear();
      std::vector<const CriteriaTerm*>().swap(index.terms);
      return nullptr;
    }
    if (index.columns.empty()) {
      for (std::size_t i = 0; i < count; ++i) index.columns.push_back(terms[i].column);
      index.values.resize(count);
    }
    index.terms.push_back(terms);
    const auto termValue = [&](std::size_t i) -> const Variant& { return terms[i].value; };
    const auto at = static_cast<std::uint32_t>(index.indexedSets);
    index.keys.Insert(KeyHash(count, termValue), at, [&](std::uint32_t other) {
      return KeyMatches(groupings[other], count, termValue);
    });
  }
  return &index;
}

void GroupingResults::DetachFromDefinitions(DefinitionCopies& copies) {
  for (StatsSet& set : groupings) set.DetachFromDefinitions(copies);
  totals.DetachFromDefinitions(copies);
  // In place, although other nodes share it: they detach to the same
  // copies, and a copy reads exactly as the set it was taken from.
  prototype->DetachFromDefinitions(copies);
}

void GroupingResults::Finalize() {
  SyncTotals();
  setIndex.reset();  // the sort moves the sets
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
  if (index == 0 && groupings.empty()) return prototype.get();
  if (index < 0 || static_cast<size_t>(index) >= groupings.size()) {
    SetErrorCode(kBadIndexCode);
    return nullptr;
  }
  return &groupings[static_cast<size_t>(index)];
}

void GroupingResults::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  for (StatsSet& set : groupings) set.DumpObject(os, defns);
}

// ---------------------------------------------------------------------------
// Partial results

namespace {

// The set's grouping values as a record: each term's value in its column.
bool ValuesOf(const StatsSet& set, ValueRecord& values) {
  const Criteria* criteria = set.GetCriteria();
  if (criteria == nullptr) return false;
  values.Clear();
  CriteriaTerm term;
  for (int i = 0; i < criteria->GetCriteriaCount(); ++i) {
    if (!criteria->GetCriteria(term, i)) return false;
    values.Add(term.column, term.value);
  }
  return true;
}

}  // namespace

bool GroupingResults::FindSetOf(std::size_t& position, bool& found, const StatsRecord& record) {
  found = false;
  const bool looked = groupings.size() <= kLinearSets ? FindScannedSet(position, found, record)
                                                      : FindIndexedSet(position, found, record);
  if (looked) return true;
  // The reference walk: the index, where it decides, answers the same.
  for (std::size_t i = 0; i < groupings.size(); ++i) {
    if (groupings[i].RecordMeetsCriteria(record)) {
      position = i;
      found = true;
      return true;
    }
    if (IsErrorSet()) return false;
  }
  return true;
}

bool GroupingResults::FindSetOfValues(std::size_t& position, bool& found,
                                      const ValueRecord& values) {
  // A plain "=" set matches exactly when each of its values equals the one
  // held, which its test would read and decide the same way. Any other set,
  // a value not held (its test reports the failed read) or an error already
  // set leaves the decision to FindSetOf.
  if (groupings.size() > kLinearSets || IsErrorSet()) return FindSetOf(position, found, values);
  for (std::size_t i = 0; i < groupings.size(); ++i) {
    std::size_t count = 0;
    const CriteriaTerm* terms = KeyTerms(groupings[i].GetCriteria(), count);
    if (terms == nullptr) return FindSetOf(position, found, values);
    bool match = true;
    for (std::size_t t = 0; t < count; ++t) {
      const Variant* held = values.Find(terms[t].column);
      if (held == nullptr) return FindSetOf(position, found, values);
      match = match && held->IsStringEquivalentTo(terms[t].value);
    }
    if (match) {
      position = i;
      found = true;
      return true;
    }
  }
  found = false;
  return true;
}

bool GroupingResults::MergeFrom(const GroupingResults& later) {
  const StatsSet* laterTotals = later.GetTotalsStatsSet();
  if (!totals.HoldsSameStatistics(*laterTotals)) return false;
  for (const StatsSet& set : later.groupings) {
    if (!prototype->HoldsSameStatistics(set)) return false;
  }
  SyncTotals();
  ValueRecord values;
  for (const StatsSet& set : later.groupings) {
    std::size_t position = 0;
    bool found = false;
    if (!ValuesOf(set, values) || !FindSetOfValues(position, found, values)) return false;
    if (!found) {
      // Its first record would have made the same set here, after ours.
      groupings.push_back(*prototype);
      position = groupings.size() - 1;
      if (!groupings.back().SetGroupingValues(values)) return false;
    }
    groupings[position].MergeFrom(set);
  }
  totals.MergeFrom(*laterTotals);
  return true;
}

void GroupingResults::SaveResults(BinaryWriter& out) const {
  out.Count(groupings.size());
  CriteriaTerm term;
  for (const StatsSet& set : groupings) {
    const Criteria* criteria = set.GetCriteria();
    const int count = criteria != nullptr ? criteria->GetCriteriaCount() : 0;
    out.Count(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      if (!criteria->GetCriteria(term, i)) term.value.SetEmpty();
      out.Value(term.value);
    }
    set.SaveResults(out);
  }
  GetTotalsStatsSet()->SaveResults(out);
}

bool GroupingResults::LoadResults(BinaryReader& in) {
  if (!groupings.empty()) return in.Fail();
  SyncTotals();
  const Criteria* criteria = prototype->GetCriteria();
  const int terms = criteria != nullptr ? criteria->GetCriteriaCount() : 0;
  std::vector<int> columns;
  CriteriaTerm term;
  for (int i = 0; i < terms; ++i) {
    if (!criteria->GetCriteria(term, i)) return in.Fail();
    columns.push_back(term.column);
  }
  // A set takes at least its value count, record count and accumulator count.
  std::size_t count = 0;
  if (!in.Count(count, 12)) return false;
  ValueRecord values;
  Variant value;
  for (std::size_t n = 0; n < count; ++n) {
    std::size_t valueCount = 0;
    if (!in.Count(valueCount, 1) || valueCount != columns.size()) return in.Fail();
    values.Clear();
    for (const int column : columns) {
      if (!in.Value(value)) return false;
      values.Add(column, value);
    }
    std::size_t position = 0;
    bool found = false;
    // Two sets of one combination are never saved.
    if (!FindSetOfValues(position, found, values) || found) return in.Fail();
    groupings.push_back(*prototype);
    if (!groupings.back().SetGroupingValues(values)) return in.Fail();
    if (!groupings.back().LoadResults(in)) return false;
  }
  return totals.LoadResults(in);
}

}  // namespace stattree
