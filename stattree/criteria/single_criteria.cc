#include "stattree/criteria/single_criteria.h"

#include "stattree/boundary/error_reporting.h"

namespace stattree {

namespace {

constexpr int kAlreadyConfiguredCode = 10618;

constexpr int kLocAddColumn = 10615;
constexpr int kLocSetValuesColumn = 10620;
constexpr int kLocSetValuesRead = 10630;
constexpr int kLocMeets = 10640;
constexpr int kLocGetValueIndex = 10650;
constexpr int kLocGetTextIndex = 10660;
constexpr int kLocGetCriteriaIndex = 10670;

constexpr int kTermCount = 1;

}  // namespace

SingleCriteria* SingleCriteria::Clone() const { return new SingleCriteria(*this); }

bool SingleCriteria::AddNewCriteria(const CriteriaTerm& term) {
  if (term.column == -1) return InvalidColumnError(kLocAddColumn, term.column);
  if (criteria.column != -1) return SetErrorCode(kAlreadyConfiguredCode);
  criteria = term;
  return true;
}

bool SingleCriteria::SetValuesFromRecord(const StatsRecord& record) {
  if (criteria.column == -1) return InvalidColumnError(kLocSetValuesColumn, -1);
  Variant value;
  if (!record.GetValue(value, criteria.column)) {
    return ReportRecordError(kLocSetValuesRead, record);
  }
  criteria.value = value;
  return true;
}

bool SingleCriteria::RecordMeetsCriteria(const StatsRecord& record) const {
  if (EvaluateTerm(criteria, record)) return true;
  if (IsErrorSet()) return DumpLocation(kLocMeets);
  return false;
}

bool SingleCriteria::GetCriteriaValue(Variant& value, int index) const {
  if (index != 0) return InvalidIndexError(kLocGetValueIndex, index, kTermCount);
  value = criteria.value;
  return true;
}

bool SingleCriteria::GetCriteriaText(std::string& text, int index, bool withOperator) const {
  if (index != 0) return InvalidIndexError(kLocGetTextIndex, index, kTermCount);
  text = TermText(criteria, withOperator);
  return true;
}

bool SingleCriteria::GetCriteria(CriteriaTerm& term, int index) const {
  if (index != 0) return InvalidIndexError(kLocGetCriteriaIndex, index, kTermCount);
  term = criteria;
  return true;
}

bool SingleCriteria::IsLessThan(const Criteria* other) const {
  if (other == nullptr || other->GetCriteriaType() != kSingleType) return false;
  CriteriaTerm otherTerm;
  other->GetCriteria(otherTerm, 0);
  return criteria.value < otherTerm.value;
}

void SingleCriteria::DumpObject(std::ostream& out, const char* indent) const {
  out << OrEmpty(indent) << ColumnText(criteria.column) << GetOperatorText(criteria.op) << ' '
      << ValueTextOrUnknown(criteria.value);
}

void SingleCriteria::DumpCriteriaValue(std::ostream& out, const char* prefix) const {
  out << OrEmpty(prefix) << ValueText(criteria.value);
}

}  // namespace stattree
