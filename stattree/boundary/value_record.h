// ValueRecord: a record made of given column values, through which the
// results decide where a partial result belongs.
//
// Merging partial results and reading their binary form rebuild nodes and
// grouping combinations from stored values. Handing those values to the
// same finders and criteria that records go through (TreeNode::CreateChild,
// StatsSet::SetGroupingValues, RecordMeetsCriteria) keeps one rule for
// which child or combination takes a value. A column it does not hold
// fails to read.
//
// Ownership: holds its values by copy. Thread-safety: none.
#ifndef STATTREE_BOUNDARY_VALUE_RECORD_H_
#define STATTREE_BOUNDARY_VALUE_RECORD_H_

#include <string>
#include <utility>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"

namespace stattree {

class ValueRecord final : public StatsRecord {
 public:
  // A later value for a column already held is ignored: one record has one
  // value per column.
  void Add(int column, const Variant& value);
  void Clear() { values.clear(); }

  bool GetValue(Variant& value, int colNum) const override;
  // The value held for `colNum`, or null: read without a copy.
  const Variant* Find(int colNum) const;
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override;

 private:
  std::vector<std::pair<int, Variant>> values;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_VALUE_RECORD_H_
