// HeldError for the tests built from the library's objects: the library's
// own error manager.
#include "stattree/boundary/error_reporting.h"
#include "tests/test_util.h"

namespace stattree {
namespace testing {

ErrorSnapshot HeldError() { return ErrorSnapshot::Of(TheErrorManager()); }

void ClearHeldError() { TheErrorManager().Clear(); }

}  // namespace testing
}  // namespace stattree
