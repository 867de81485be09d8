// StatsRecord: the host's current record, read by column number.
//
// The host implements both operations and refills the same object on each
// record move; the engine never creates, copies or destroys one, and reads
// it only between two record moves (values taken from it are copied).
#ifndef STATTREE_BOUNDARY_STATS_RECORD_H_
#define STATTREE_BOUNDARY_STATS_RECORD_H_

#include <string>

#include "stattree/boundary/variant.h"

namespace stattree {

class StatsRecord {
 public:
  virtual ~StatsRecord() = default;

  // Stores the current record's value in column `colNum`; false when the
  // column can't be read.
  virtual bool GetValue(Variant& value, int colNum) const = 0;

  // Describes why the last read failed, as the four parts of an error row.
  // The engine presets the outputs; whatever is left untouched keeps its
  // preset. Returns true when it has filled them.
  virtual bool GetError(int& code, int& second, std::string& message, bool& flag) const = 0;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_STATS_RECORD_H_
