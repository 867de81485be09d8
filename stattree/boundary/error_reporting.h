// The one error manager of the process and the helpers every class uses to
// report through it.
//
// Convention: the site that detects a failure sets a code (directly or via
// its class's error routine); every caller that sees a callee fail adds
// its own location with DumpCode and returns that result (false). Callers
// that may get a neutral negative answer add a location only when
// IsErrorSet() is true after the call.
#ifndef STATTREE_BOUNDARY_ERROR_REPORTING_H_
#define STATTREE_BOUNDARY_ERROR_REPORTING_H_

#include <string>

#include "stattree/boundary/error_manager.h"

namespace stattree {

// Built on first use from the error table, named "QK"; lives until exit.
ErrorManager& TheErrorManager();

// The manager once built, else null: lets the per-record checks skip the
// call (constant-initialised, so it is null before any static constructor).
extern ErrorManager* sBuiltErrorManager;

// Shorthands for the common calls; each returns false.
inline bool SetErrorCode(int code) { return TheErrorManager().Set(code); }
inline bool DumpLocation(int location) { return TheErrorManager().DumpCode(location); }
inline bool IsErrorSet() {
  const ErrorManager* manager = sBuiltErrorManager;
  return (manager != nullptr ? *manager : TheErrorManager()).IsErrorSet();
}

// The "index,bound" detail of every index error ("5,3", no space).
std::string IndexDetail(int index, int bound);

// Sets code `code` with the "index,bound" detail and records `location`.
bool IndexError(int code, int location, int index, int bound);

// Handler of an allocation failure: code 10001, then `location`.
bool OutOfMemoryError(int location);

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_ERROR_REPORTING_H_
