#include "stattree/criteria/criteria_set.h"

#include <algorithm>
#include <memory>
#include <typeinfo>
#include <utility>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/criteria/range_criteria.h"
#include "stattree/criteria/single_criteria.h"

namespace stattree {

namespace {

constexpr int kInvalidSpecCode = 10785;

constexpr int kLocEnumListColumn = 10780;
constexpr int kLocEnumSetColumn = 10800;
constexpr int kLocEnumSetRefused = 10830;
constexpr int kLocWidthHistogramColumn = 10840;
constexpr int kLocWidthHistogramNoBins = 10850;
constexpr int kLocEdgeHistogramColumn = 10860;
constexpr int kLocEdgeHistogramNoEdges = 10870;
constexpr int kLocMeets = 10880;
constexpr int kLocGetValueTerm = 10900;
constexpr int kLocGetValueCriteria = 10910;
constexpr int kLocGetTextTerm = 10920;
constexpr int kLocGetTextCriteria = 10930;

std::unique_ptr<Criteria> MakeSingle(int colNum, CriteriaOperator op, const Variant& value) {
  auto single = std::make_unique<SingleCriteria>();
  single->AddNewCriteria(CriteriaTerm{colNum, op, value});
  return single;
}

std::unique_ptr<Criteria> MakeRange(int colNum, CriteriaOperator lowerOp, const Variant& lower,
                                    CriteriaOperator upperOp, const Variant& upper) {
  auto range = std::make_unique<RangeCriteria>();
  range->AddNewCriteria(CriteriaTerm{colNum, lowerOp, lower});
  range->AddNewCriteria(CriteriaTerm{colNum, upperOp, upper});
  return range;
}

Variant OpenEdge() {
  Variant edge;
  edge.SetEmpty();
  return edge;
}

}  // namespace

CriteriaSet::CriteriaSet(const CriteriaSet& other) { CopyDataMembers(other); }

CriteriaSet& CriteriaSet::operator=(const CriteriaSet& other) {
  if (this != &other) {
    DeleteDataMembers();
    CopyDataMembers(other);
  }
  return *this;
}

CriteriaSet::~CriteriaSet() {
  DeleteDataMembers();
  criteriaList.clear();
}

void CriteriaSet::CopyDataMembers(const CriteriaSet& other) {
  for (const auto& entry : other.criteriaList) {
    if (!entry) continue;
    // Owned before the list grows, so a failed growth cannot leak it.
    std::unique_ptr<Criteria> clone(entry->Clone());
    criteriaList.push_back(std::move(clone));
  }
  Flatten();
}

// Kept: the entries stay in place (as nulls, which every operation skips),
// so an assigned-onto set still counts them.
void CriteriaSet::DeleteDataMembers() {
  flatFor = kNotFlat;
  for (auto& entry : criteriaList) entry.reset();
}

const Criteria* CriteriaSet::EntryAt(int index) const {
  if (index < 0 || index >= GetCriteriaCount()) return nullptr;
  return criteriaList[index].get();
}

bool CriteriaSet::CreateEnum(const std::vector<std::string>& values, int colNum) {
  if (colNum == -1) return Criteria::InvalidColumnError(kLocEnumListColumn, -1);
  for (const std::string& value : values) {
    // Kept: the answer is not looked at; the column was checked above.
    criteriaList.push_back(MakeSingle(colNum, Equal, Variant(value)));
  }
  Flatten();
  return true;
}

bool CriteriaSet::CreateEnum(const std::set<std::string>& values, int colNum) {
  if (colNum == -1) return Criteria::InvalidColumnError(kLocEnumSetColumn, colNum);
  for (const std::string& value : values) {
    auto single = std::make_unique<SingleCriteria>();
    if (!single->AddNewCriteria(CriteriaTerm{colNum, Equal, Variant(value)})) {
      Flatten();
      return DumpLocation(kLocEnumSetRefused);
    }
    criteriaList.push_back(std::move(single));
  }
  Flatten();
  return true;
}

bool CriteriaSet::CreateHistogram(const Variant& start, const Variant& width, int binCount,
                                  int colNum) {
  if (colNum == -1) return Criteria::InvalidColumnError(kLocWidthHistogramColumn, colNum);
  if (binCount < 1) return InvalidSpecError(kLocWidthHistogramNoBins);
  criteriaList.push_back(MakeRange(colNum, GreaterEqual, OpenEdge(), Less, start));
  Variant edge = start;
  for (int i = 0; i < binCount; ++i) {
    Variant next = edge + width;
    criteriaList.push_back(MakeRange(colNum, GreaterEqual, edge, Less, next));
    edge = next;
  }
  criteriaList.push_back(MakeRange(colNum, GreaterEqual, edge, Less, OpenEdge()));
  Flatten();
  return true;
}

bool CriteriaSet::CreateHistogram(const std::vector<Variant>& edges, HistogramBinLogic logic,
                                  int colNum) {
  if (colNum == -1) return Criteria::InvalidColumnError(kLocEdgeHistogramColumn, -1);
  if (edges.empty()) return InvalidSpecError(kLocEdgeHistogramNoEdges);
  const bool lowerInclusive = logic == LowerEdgeInclusive;
  const CriteriaOperator firstOp = lowerInclusive ? Less : LessEqual;
  const CriteriaOperator lowerOp = lowerInclusive ? GreaterEqual : Greater;
  const CriteriaOperator upperOp = lowerInclusive ? Less : LessEqual;
  const CriteriaOperator lastOp = lowerInclusive ? GreaterEqual : Greater;
  criteriaList.push_back(MakeSingle(colNum, firstOp, edges.front()));
  for (size_t i = 1; i < edges.size(); ++i) {
    criteriaList.push_back(MakeRange(colNum, lowerOp, edges[i - 1], upperOp, edges[i]));
  }
  criteriaList.push_back(MakeSingle(colNum, lastOp, edges.back()));
  Flatten();
  return true;
}

bool CriteriaSet::RecordMeetsCriteria(int& index, const StatsRecord& record) {
  // Within one record the walk reads the same cached values and so finds
  // the same bin; with an error held it could fail midway, so it runs.
  const RecordCache* cache = RecordCache::Of(record);
  if (cache != nullptr && cache->Enabled() && !IsErrorSet()) {
    if (cache->FindAnswer(currentBin, index)) return true;
    if (!(IsFlat() && FindBinFlat(index, *cache)) && !FindBin(index, record)) return false;
    if (!IsErrorSet()) cache->KeepAnswer(currentBin, index);
    return true;
  }
  return FindBin(index, record);
}

bool CriteriaSet::FindBinFlat(int& index, const RecordCache& cache) const {
  if (!rangeEdges.empty()) {
    const Variant* value = cache.Peek(rangeColumn);
    if (value == nullptr) return false;
    if (value->IsNumber()) {
      // The bin is the number of edges the value has passed.
      const auto passed =
          rangeUpperInclusive
              ? std::lower_bound(rangeEdges.begin(), rangeEdges.end(), *value,
                                 [](const Variant& edge, const Variant& v) { return v > edge; })
              : std::upper_bound(rangeEdges.begin(), rangeEdges.end(), *value,
                                 [](const Variant& v, const Variant& edge) { return v < edge; });
      index = flatEntries[static_cast<std::size_t>(passed - rangeEdges.begin())].index;
      return true;
    }
  }
  std::size_t term = 0;
  for (const FlatEntry& entry : flatEntries) {
    bool meets = true;
    for (; term < entry.termsEnd; ++term) {
      const Variant* value = cache.Peek(flatTerms[term].column);
      if (value == nullptr) return false;
      if (!TermHolds(flatTerms[term], *value)) {
        meets = false;
        break;
      }
    }
    if (meets) {
      index = entry.index;
      return true;
    }
    term = entry.termsEnd;
  }
  index = -1;
  return true;
}

bool CriteriaSet::FindBinAhead(const RecordCache& cache) const {
  if (!IsFlat() || !cache.Enabled()) return false;
  for (int column : flatColumns) {
    if (cache.Peek(column) == nullptr) return false;
  }
  // Every column read: the flat walk finds the bin RecordMeetsCriteria
  // would, from the same values.
  int index = -1;
  if (!IsErrorSet() && !cache.FindAnswer(currentBin, index) && FindBinFlat(index, cache)) {
    cache.KeepAnswer(currentBin, index);
  }
  return true;
}

void CriteriaSet::Flatten() {
  flatFor = kNotFlat;
  std::vector<CriteriaTerm> terms;
  std::vector<FlatEntry> entries;
  for (int i = 0; i < GetCriteriaCount(); ++i) {
    const Criteria* entry = criteriaList[i].get();
    if (entry == nullptr) continue;
    const std::type_info& kind = typeid(*entry);
    if (kind != typeid(SingleCriteria) && kind != typeid(RangeCriteria) &&
        kind != typeid(MultipleCriteria) && kind != typeid(AlwaysPassCriteria)) {
      return;
    }
    for (int t = 0; t < entry->GetCriteriaCount(); ++t) {
      CriteriaTerm term;
      if (!entry->GetCriteria(term, t) || term.column == -1) return;
      // An integer bound that a double holds exactly orders every value
      // as that double does, and lets real values compare inline.
      constexpr long long kExact = 1LL << 53;
      if (term.op != Equal && term.op != NotEqual && term.value.IsInteger() &&
          term.value.GetInteger() <= kExact && term.value.GetInteger() >= -kExact) {
        term.value = Variant(static_cast<double>(term.value.GetInteger()));
      }
      terms.push_back(std::move(term));
    }
    entries.push_back(FlatEntry{i, terms.size()});
  }
  std::vector<int> columns;
  for (const CriteriaTerm& term : terms) {
    if (std::find(columns.begin(), columns.end(), term.column) == columns.end()) {
      columns.push_back(term.column);
    }
  }
  flatTerms.swap(terms);
  flatEntries.swap(entries);
  flatColumns.swap(columns);
  flatFor = criteriaList.size();
  FindRanges();
}

void CriteriaSet::FindRanges() {
  rangeEdges.clear();
  if (flatColumns.size() != 1 || flatEntries.size() < 2) return;
  // An open edge (an empty bound) holds for every number, so a number's bin
  // depends on the other terms only: entry 0 has just an upper bound, the
  // last just a lower bound, each other one a lower then an upper bound,
  // and each lower bound is the upper bound of the entry before.
  std::vector<Variant> edges;
  std::vector<CriteriaOperator> lowerOps;
  std::vector<CriteriaOperator> upperOps;
  std::size_t term = 0;
  for (std::size_t entry = 0; entry < flatEntries.size(); ++entry) {
    std::vector<const CriteriaTerm*> bounds;
    for (; term < flatEntries[entry].termsEnd; ++term) {
      const CriteriaTerm& t = flatTerms[term];
      if (t.op == Equal || t.op == NotEqual) return;
      if (!t.value.IsEmpty()) bounds.push_back(&t);
    }
    const bool first = entry == 0;
    const bool last = entry + 1 == flatEntries.size();
    const std::size_t expected = (first || last) ? 1 : 2;
    if (bounds.size() != expected) return;
    std::size_t at = 0;
    if (!first) {
      const CriteriaTerm& lower = *bounds[at++];
      if (lower.op != GreaterEqual && lower.op != Greater) return;
      const Variant& previous = edges.back();
      if (lower.value.GetKind() != previous.GetKind() || lower.value != previous) return;
      lowerOps.push_back(lower.op);
    }
    if (!last) {
      const CriteriaTerm& upper = *bounds[at];
      if (upper.op != Less && upper.op != LessEqual) return;
      if (!upper.value.IsNumber()) return;
      if (!edges.empty() && !(edges.back() < upper.value)) return;
      upperOps.push_back(upper.op);
      edges.push_back(upper.value);
    }
  }
  const bool lowerInclusive = lowerOps.front() == GreaterEqual && upperOps.front() == Less;
  const bool upperInclusive = lowerOps.front() == Greater && upperOps.front() == LessEqual;
  if (!lowerInclusive && !upperInclusive) return;
  for (std::size_t i = 0; i < lowerOps.size(); ++i) {
    if (lowerOps[i] != lowerOps.front() || upperOps[i] != upperOps.front()) return;
  }
  rangeColumn = flatColumns.front();
  rangeUpperInclusive = upperInclusive;
  rangeEdges.swap(edges);
}

bool CriteriaSet::FindBin(int& index, const StatsRecord& record) const {
  index = -1;
  for (int i = 0; i < GetCriteriaCount(); ++i) {
    const Criteria* entry = criteriaList[i].get();
    if (entry == nullptr) continue;
    if (entry->RecordMeetsCriteria(record)) {
      index = i;
      return true;
    }
    if (IsErrorSet()) return DumpLocation(kLocMeets);
  }
  return true;
}

int CriteriaSet::GetCriteriaCount() const { return static_cast<int>(criteriaList.size()); }

int CriteriaSet::GetCriteriaValueCount() const {
  if (criteriaList.empty() || !criteriaList.front()) return 0;
  return criteriaList.front()->GetCriteriaCount();
}

bool CriteriaSet::GetCriteriaValue(Variant& value, int criteriaIndex, int valueIndex) const {
  const int count = GetCriteriaCount();
  if (criteriaIndex < 0 || criteriaIndex >= count) {
    return Criteria::InvalidIndexError(kLocGetValueCriteria, criteriaIndex, count);
  }
  const int valueCount = GetCriteriaValueCount();
  const Criteria* entry = criteriaList[criteriaIndex].get();
  if (valueIndex < 0 || valueIndex >= valueCount || entry == nullptr ||
      !entry->GetCriteriaValue(value, valueIndex)) {
    return Criteria::InvalidIndexError(kLocGetValueTerm, valueIndex, valueCount);
  }
  return true;
}

bool CriteriaSet::GetCriteriaValueText(std::string& text, int criteriaIndex, int valueIndex,
                                       bool withOperator) const {
  const int count = GetCriteriaCount();
  const int valueCount = GetCriteriaValueCount();
  // Kept: a bad term index is reported with the criteria index and count.
  if (criteriaIndex < 0 || criteriaIndex >= count || valueIndex < 0 || valueIndex >= valueCount) {
    return Criteria::InvalidIndexError(kLocGetTextCriteria, criteriaIndex, count);
  }
  const Criteria* entry = criteriaList[criteriaIndex].get();
  if (entry == nullptr || !entry->GetCriteriaText(text, valueIndex, withOperator)) {
    return Criteria::InvalidIndexError(kLocGetTextTerm, valueIndex, valueCount);
  }
  return true;
}

bool CriteriaSet::InvalidSpecError(int location) {
  SetErrorCode(kInvalidSpecCode);
  return DumpLocation(location);
}

void CriteriaSet::DumpCriteraValues(std::ostream& out, const char* prefix, bool oneLine) {
  const char* text = prefix != nullptr ? prefix : "";
  out << text;
  for (int i = 0; i < GetCriteriaCount(); ++i) {
    const Criteria* entry = criteriaList[i].get();
    if (entry == nullptr) continue;
    // The separator goes by position, not by how many bins were written.
    if (oneLine) {
      if (i > 0) out << ", ";
      entry->DumpCriteriaValue(out, "");
    } else {
      if (i > 0) out << "\r\n";
      entry->DumpCriteriaValue(out, text);
    }
  }
}

void CriteriaSet::DumpObject(std::ostream& out, const char* indent) {
  for (const auto& entry : criteriaList) {
    if (!entry) continue;
    entry->DumpObject(out, indent);
    out << "\r\n";
  }
}

void CriteriaSet::DumpCriteria(std::ostream& out, const char* indent, int index) {
  if (const Criteria* entry = EntryAt(index)) entry->DumpObject(out, indent);
}

void CriteriaSet::DumpCriteriaValue(std::ostream& out, const char* indent, int index) {
  if (const Criteria* entry = EntryAt(index)) entry->DumpCriteriaValue(out, indent);
}

}  // namespace stattree
