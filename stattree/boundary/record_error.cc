#include "stattree/boundary/record_error.h"

#include <string>

#include "stattree/boundary/error_reporting.h"

namespace stattree {
namespace {

bool Report(int location, const StatsRecord& record, int code, int second, std::string message,
            bool flag) {
  if (record.GetError(code, second, message, flag)) {
    TheErrorManager().Set(code, second, message, flag, false);
  }
  return TheErrorManager().DumpCode(location);
}

}  // namespace

bool ReportCriteriaRecordError(int location, const StatsRecord& record) {
  return Report(location, record, 0, 90000, "RecordError", true);
}

bool ReportStatisticRecordError(int location, const StatsRecord& record) {
  return Report(location, record, 0, 0, std::string(), false);
}

}  // namespace stattree
