// Criteria: a test that a record either meets or not, built from terms
// (CriteriaTerm: a column, an operator and a value).
//
// Four kinds derive from it: SingleCriteria (one term), RangeCriteria (a
// lower and an upper term, both must hold), MultipleCriteria (any number of
// terms joined by AND) and AlwaysPassCriteria (no terms, met by every
// record). GetCriteriaType tells them apart (kSingleType ... kAlwaysPassType).
//
// A criteria is built empty, receives its terms through AddNewCriteria,
// optionally the values of its terms from a record (SetValuesFromRecord),
// and is then used read-only.
//
// Ownership: criteria are polymorphic and copied with Clone, which returns a
// new heap object owned by the caller (hold it in a std::unique_ptr).
// Destroying through a Criteria pointer destroys the whole object.
//
// Errors go through the one error manager: a failing operation sets a code
// or adds its location and returns false. A test that is simply not met
// sets nothing; callers tell it from a failure by IsErrorSet().
//
// Thread-safety: none; a criteria is used by one thread at a time.
#ifndef STATTREE_CRITERIA_CRITERIA_H_
#define STATTREE_CRITERIA_CRITERIA_H_

#include <ostream>
#include <string>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/criteria/criteria_term.h"

namespace stattree {

class Criteria {
 public:
  // Kind codes answered by GetCriteriaType.
  static constexpr int kSingleType = 0;
  static constexpr int kRangeType = 1;
  static constexpr int kMultipleType = 2;
  static constexpr int kAlwaysPassType = 3;

  virtual ~Criteria() = default;

  // A new criteria of the same class with the same terms; the caller owns it.
  virtual Criteria* Clone() const = 0;
  virtual bool AddNewCriteria(const CriteriaTerm& term) = 0;
  // Takes the value of every term from the record's column.
  virtual bool SetValuesFromRecord(const StatsRecord& record) = 0;
  // False both when the record does not meet the test and on failure.
  virtual bool RecordMeetsCriteria(const StatsRecord& record) const = 0;
  virtual int GetCriteriaCount() const = 0;
  virtual bool GetCriteriaValue(Variant& value, int index) const = 0;
  // The term's value text, with the operator text in front ("<20") when
  // `withOperator` is true. The column is never part of it.
  virtual bool GetCriteriaText(std::string& text, int index, bool withOperator) const = 0;
  virtual bool GetCriteria(CriteriaTerm& term, int index) const = 0;
  // Orders criteria of the same kind by their values; false across kinds
  // and against null.
  virtual bool IsLessThan(const Criteria* other) const = 0;
  virtual int GetCriteriaType() const = 0;
  // Readable form of the test after `indent` (null means empty); no line end.
  virtual void DumpObject(std::ostream& out, const char* indent) const = 0;
  // Short form of the values after `prefix` (null means empty); no line end.
  virtual void DumpCriteriaValue(std::ostream& out, const char* prefix) const = 0;

  // Error 10595 with the column as detail, then `location`; false.
  static bool InvalidColumnError(int location, int column);
  // Error 10645 with the "index,count" detail, then `location`; false.
  static bool InvalidIndexError(int location, int index, int count);
  // "=", "<>", "<", ">", "<=", ">="; "" for any other code.
  static const char* GetOperatorText(int op);

 protected:
  Criteria() = default;
  Criteria(const Criteria&) = default;
  Criteria& operator=(const Criteria&) = default;

  // The failed-read report with the criteria-side presets; false.
  static bool ReportRecordError(int location, const StatsRecord& record);
  // Reads the term's column and applies its operator. An unknown operator
  // gives false without error.
  static bool EvaluateTerm(const CriteriaTerm& term, const StatsRecord& record);

  // Text forming shared by the kinds.
  static std::string ValueText(const Variant& value);
  // The value text, or "???" when it is empty.
  static std::string ValueTextOrUnknown(const Variant& value);
  // "Col %d " or "INVALID COLUMN ".
  static std::string ColumnText(int column);
  static std::string TermText(const CriteriaTerm& term, bool withOperator);
  static const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }
};

}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_H_
