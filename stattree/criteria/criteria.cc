#include "stattree/criteria/criteria.h"

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/boundary/record_error.h"

namespace stattree {

namespace {

// Codes set by the routines shared by every kind.
constexpr int kInvalidColumnCode = 10595;
constexpr int kInvalidIndexCode = 10645;

// EvaluateTerm
constexpr int kLocEvaluateColumn = 10600;
constexpr int kLocEvaluateRead = 10610;

}  // namespace

bool Criteria::InvalidColumnError(int location, int column) {
  TheErrorManager().Set(kInvalidColumnCode, column);
  return DumpLocation(location);
}

bool Criteria::InvalidIndexError(int location, int index, int count) {
  return IndexError(kInvalidIndexCode, location, index, count);
}

const char* Criteria::GetOperatorText(int op) {
  switch (op) {
    case Equal:
      return "=";
    case NotEqual:
      return "<>";
    case Less:
      return "<";
    case Greater:
      return ">";
    case LessEqual:
      return "<=";
    case GreaterEqual:
      return ">=";
    default:
      return "";
  }
}

bool Criteria::ReportRecordError(int location, const StatsRecord& record) {
  return ReportCriteriaRecordError(location, record);
}

bool Criteria::EvaluateTerm(const CriteriaTerm& term, const StatsRecord& record) {
  if (term.column == -1) return InvalidColumnError(kLocEvaluateColumn, -1);
  Variant scratch;
  const Variant* read = ReadColumn(record, term.column, scratch);
  if (read == nullptr) return ReportRecordError(kLocEvaluateRead, record);
  return TermHolds(term, *read);
}

std::string Criteria::ValueText(const Variant& value) { return std::string(value); }

std::string Criteria::ValueTextOrUnknown(const Variant& value) {
  std::string text(value);
  return text.empty() ? std::string("???") : text;
}

std::string Criteria::ColumnText(int column) {
  if (column == -1) return "INVALID COLUMN ";
  return "Col " + std::to_string(column) + " ";
}

std::string Criteria::TermText(const CriteriaTerm& term, bool withOperator) {
  std::string text = withOperator ? GetOperatorText(term.op) : "";
  return text + ValueText(term.value);
}

}  // namespace stattree
