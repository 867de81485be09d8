#include "measure.h"

#include <time.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace stattree_bench {

double ThreadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void MemoryProbe::ReleaseFreeHeap() {
#if defined(__GLIBC__)
  malloc_trim(0);
#endif
}

bool MemoryProbe::ResetPeak() {
  // "5" resets the peak resident size (Linux 4.0 and later).
  std::ofstream clearRefs("/proc/self/clear_refs");
  if (!clearRefs) return false;
  clearRefs << "5";
  clearRefs.flush();
  return static_cast<bool>(clearRefs);
}

std::int64_t MemoryProbe::ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::int64_t sizePages = 0;
  std::int64_t residentPages = 0;
  if (!(statm >> sizePages >> residentPages)) return 0;
  return residentPages * static_cast<std::int64_t>(sysconf(_SC_PAGESIZE));
}

std::int64_t MemoryProbe::PeakBytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) {
      std::istringstream fields(line.substr(6));
      std::int64_t kib = 0;
      fields >> kib;
      return kib * 1024;
    }
  }
  return 0;
}

}  // namespace stattree_bench
