// CriteriaTerm and the enumerations that criteria and histogram specs use.
//
// Both enumerations have the fixed underlying type int, so any int can be
// cast in; criteria decide what an unknown operator or bin logic means.
#ifndef STATTREE_CRITERIA_CRITERIA_TERM_H_
#define STATTREE_CRITERIA_CRITERIA_TERM_H_

#include "stattree/boundary/variant.h"

namespace stattree {

// "=" and "<>" are decided by Variant::IsStringEquivalentTo; the others by
// the Variant ordering.
enum CriteriaOperator : int { Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual };

enum HistogramBinLogic : int { LowerEdgeInclusive = 0, UpperEdgeInclusive = 1 };

// One test of a record column against a value.
struct CriteriaTerm {
  int column = -1;
  CriteriaOperator op = Equal;
  Variant value;
};

// Whether a record's `value` meets the term: "=" and "<>" by text
// equivalence, the others by Variant ordering; an unknown operator never
// holds.
inline bool TermHolds(const CriteriaTerm& term, const Variant& value) {
  switch (term.op) {
    case Equal:
      return value.IsStringEquivalentTo(term.value);
    case NotEqual:
      return !value.IsStringEquivalentTo(term.value);
    case Less:
      return value < term.value;
    case Greater:
      return value > term.value;
    case LessEqual:
      return value <= term.value;
    case GreaterEqual:
      return value >= term.value;
  }
  return false;
}

}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_TERM_H_
