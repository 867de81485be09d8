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

}  // namespace stattree

#endif  // STATTREE_CRITERIA_CRITERIA_TERM_H_
