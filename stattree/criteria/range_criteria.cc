#include "stattree/criteria/range_criteria.h"

#include "stattree/boundary/error_reporting.h"

namespace stattree {

namespace {

constexpr int kAlreadyConfiguredCode = 10678;

constexpr int kLocAddColumn = 10675;
constexpr int kLocMeets = 10680;
constexpr int kLocGetValueIndex = 10690;
constexpr int kLocGetTextIndex = 10700;
constexpr int kLocGetCriteriaIndex = 10710;

constexpr int kTermCount = 2;

}  // namespace

RangeCriteria* RangeCriteria::Clone() const { return new RangeCriteria(*this); }

bool RangeCriteria::AddNewCriteria(const CriteriaTerm& term) {
  if (term.column == -1) return InvalidColumnError(kLocAddColumn, term.column);
  if (lowerCriteria.column == -1) {
    lowerCriteria = term;
    return true;
  }
  if (upperCriteria.column != -1) return SetErrorCode(kAlreadyConfiguredCode);
  upperCriteria = term;
  return true;
}

bool RangeCriteria::SetValuesFromRecord(const StatsRecord& /*record*/) { return true; }

bool RangeCriteria::RecordMeetsCriteria(const StatsRecord& record) const {
  if (EvaluateTerm(lowerCriteria, record) && EvaluateTerm(upperCriteria, record)) return true;
  if (IsErrorSet()) return DumpLocation(kLocMeets);
  return false;
}

bool RangeCriteria::GetCriteriaValue(Variant& value, int index) const {
  if (index < 0 || index >= kTermCount) {
    return InvalidIndexError(kLocGetValueIndex, index, kTermCount);
  }
  value = (index == 0 ? lowerCriteria : upperCriteria).value;
  return true;
}

bool RangeCriteria::GetCriteriaText(std::string& text, int index, bool withOperator) const {
  if (index < 0 || index >= kTermCount) {
    return InvalidIndexError(kLocGetTextIndex, index, kTermCount);
  }
  text = TermText(index == 0 ? lowerCriteria : upperCriteria, withOperator);
  return true;
}

bool RangeCriteria::GetCriteria(CriteriaTerm& term, int index) const {
  if (index < 0 || index >= kTermCount) {
    return InvalidIndexError(kLocGetCriteriaIndex, index, kTermCount);
  }
  term = index == 0 ? lowerCriteria : upperCriteria;
  return true;
}

bool RangeCriteria::IsLessThan(const Criteria* other) const {
  if (other == nullptr || other->GetCriteriaType() != kRangeType) return false;
  CriteriaTerm otherLower;
  other->GetCriteria(otherLower, 0);
  return lowerCriteria.value < otherLower.value;
}

void RangeCriteria::DumpObject(std::ostream& out, const char* indent) const {
  out << OrEmpty(indent) << ValueTextOrUnknown(lowerCriteria.value) << ' '
      << GetOperatorText(lowerCriteria.op) << ' ' << ColumnText(lowerCriteria.column)
      << GetOperatorText(upperCriteria.op) << ' ' << ValueTextOrUnknown(upperCriteria.value);
}

void RangeCriteria::DumpCriteriaValue(std::ostream& out, const char* prefix) const {
  out << OrEmpty(prefix) << '[' << ValueText(lowerCriteria.value)
      << (lowerCriteria.op == GreaterEqual ? "*" : "") << " - " << ValueText(upperCriteria.value)
      << (upperCriteria.op == LessEqual ? "*" : "") << ']';
}

}  // namespace stattree
