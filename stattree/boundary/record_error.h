// The report of a failed record read, shared by every reader of record
// values. The two variants differ only in the presets of the four outputs
// handed to StatsRecord::GetError: criteria supply a default message and
// the second value of the engine's own rows, statistics supply nothing.
#ifndef STATTREE_BOUNDARY_RECORD_ERROR_H_
#define STATTREE_BOUNDARY_RECORD_ERROR_H_

#include "stattree/boundary/stats_record.h"

namespace stattree {

// Presets code 0, second 90000, message "RecordError", flag true.
bool ReportCriteriaRecordError(int location, const StatsRecord& record);
// Presets code 0, second 0, empty message, flag false.
bool ReportStatisticRecordError(int location, const StatsRecord& record);

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_RECORD_ERROR_H_
