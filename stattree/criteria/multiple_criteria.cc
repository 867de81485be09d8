#include "stattree/criteria/multiple_criteria.h"

#include <algorithm>

#include "stattree/boundary/error_reporting.h"

namespace stattree {

namespace {

constexpr int kLocAddColumn = 10715;
constexpr int kLocSetValuesColumn = 10720;
constexpr int kLocSetValuesRead = 10730;
constexpr int kLocMeets = 10740;
constexpr int kLocGetValueIndex = 10750;
constexpr int kLocGetTextIndex = 10760;
constexpr int kLocGetCriteriaIndex = 10770;

}  // namespace

MultipleCriteria* MultipleCriteria::Clone() const { return new MultipleCriteria(*this); }

bool MultipleCriteria::AddNewCriteria(const CriteriaTerm& term) {
  if (term.column == -1) return InvalidColumnError(kLocAddColumn, -1);
  criteria.push_back(term);
  return true;
}

bool MultipleCriteria::SetValuesFromRecord(const StatsRecord& record) {
  for (CriteriaTerm& term : criteria) {
    if (term.column == -1) return InvalidColumnError(kLocSetValuesColumn, -1);
    Variant value;
    if (!record.GetValue(value, term.column)) return ReportRecordError(kLocSetValuesRead, record);
    term.value = value;
  }
  return true;
}

bool MultipleCriteria::RecordMeetsCriteria(const StatsRecord& record) const {
  for (const CriteriaTerm& term : criteria) {
    if (!EvaluateTerm(term, record)) {
      if (IsErrorSet()) return DumpLocation(kLocMeets);
      return false;
    }
  }
  return true;
}

bool MultipleCriteria::GetCriteriaValue(Variant& value, int index) const {
  const int count = GetCriteriaCount();
  if (index < 0 || index >= count) return InvalidIndexError(kLocGetValueIndex, index, count);
  value = criteria[index].value;
  return true;
}

bool MultipleCriteria::GetCriteriaText(std::string& text, int index, bool withOperator) const {
  const int count = GetCriteriaCount();
  if (index < 0 || index >= count) return InvalidIndexError(kLocGetTextIndex, index, count);
  text = TermText(criteria[index], withOperator);
  return true;
}

bool MultipleCriteria::GetCriteria(CriteriaTerm& term, int index) const {
  const int count = GetCriteriaCount();
  if (index < 0 || index >= count) return InvalidIndexError(kLocGetCriteriaIndex, index, count);
  term = criteria[index];
  return true;
}

bool MultipleCriteria::IsLessThan(const Criteria* other) const {
  if (other == nullptr || other->GetCriteriaType() != kMultipleType) return false;
  const int shorter = std::min(GetCriteriaCount(), other->GetCriteriaCount());
  for (int i = 0; i < shorter; ++i) {
    CriteriaTerm otherTerm;
    if (other->GetCriteria(otherTerm, i) && !(otherTerm.value == criteria[i].value)) {
      return criteria[i].value < otherTerm.value;
    }
  }
  return false;
}

void MultipleCriteria::DumpObject(std::ostream& out, const char* indent) const {
  out << OrEmpty(indent);
  for (size_t i = 0; i < criteria.size(); ++i) {
    const CriteriaTerm& term = criteria[i];
    if (i > 0) out << " AND ";
    // Kept: the column text ends in a blank and another follows, so two
    // blanks stand before the operator.
    out << '(' << ColumnText(term.column) << ' ' << GetOperatorText(term.op) << ' '
        << ValueTextOrUnknown(term.value) << ')';
  }
}

void MultipleCriteria::DumpCriteriaValue(std::ostream& out, const char* prefix) const {
  out << OrEmpty(prefix);
  for (size_t i = 0; i < criteria.size(); ++i) {
    if (i > 0) out << " AND ";
    out << ValueText(criteria[i].value);
  }
}

}  // namespace stattree
