// Field and SubsetFieldValPair: plain column references handed in by hosts.
//
// A Field names one column of the host's records: `name` is only reported
// back and printed; `colNum` is passed to StatsRecord::GetValue unchanged.
// Only -1 has a meaning to the engine (no column), and only criteria refuse
// it; whether columns count from 0 or 1 is the host's affair.
#ifndef STATTREE_BOUNDARY_FIELD_H_
#define STATTREE_BOUNDARY_FIELD_H_

#include <string>

#include "stattree/boundary/variant.h"

namespace stattree {

struct Field {
  std::string name;
  int colNum = -1;
};

// A column and the value it must hold (text-equivalent) for a record to
// belong to a subset.
struct SubsetFieldValPair {
  Field field;
  Variant value;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_FIELD_H_
