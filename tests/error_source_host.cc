// HeldError for the hosts of the shared library: through Stats, the only
// way a host reads the error (the manager itself is not exported).
#include "stattree/engine/stats.h"
#include "tests/test_util.h"

namespace stattree {
namespace testing {

ErrorSnapshot HeldError() {
  ErrorSnapshot held;
  held.set = Stats::GetError(held.code, held.second, held.message, held.flag);
  held.detail = Stats::GetErrorDetail();
  held.locations = Stats::GetErrorLocations();
  return held;
}

void ClearHeldError() { Stats::ClearError(); }

}  // namespace testing
}  // namespace stattree
