// The rows of the library's error table. Hosts see them as
// Stats::sErrorInfoTable; they live here so that every subsystem can
// report errors without linking the engine class.
#ifndef STATTREE_BOUNDARY_ERROR_TABLE_H_
#define STATTREE_BOUNDARY_ERROR_TABLE_H_

#include "stattree/boundary/error_info.h"

namespace stattree {

extern const ErrorInfo kErrorTable[kErrorTableRows];

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_ERROR_TABLE_H_
