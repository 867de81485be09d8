// Timing, the per-measurement time cap and resident-memory probes.
//
// Every figure of the benchmark is taken with these: a steady clock for
// durations, a Deadline that the three contenders poll to give up at the
// cap, and Linux's /proc counters for the engine tree's resident memory.
#ifndef STATTREE_BENCH_MEASURE_H_
#define STATTREE_BENCH_MEASURE_H_

#include <chrono>
#include <cstdint>
#include <string>

namespace stattree_bench {

// Seconds of processor time used by the calling thread (user and system).
// Every contender runs on the benchmark's one thread, so other processes
// on a shared machine stretch the wall clock but not this.
double ThreadCpuSeconds();

class Stopwatch {
 public:
  Stopwatch() : start(ThreadCpuSeconds()) {}
  double Seconds() const { return ThreadCpuSeconds() - start; }

 private:
  double start;
};

// The cap of one measurement, in the same processor time as Stopwatch.
class Deadline {
 public:
  explicit Deadline(double seconds) : end(ThreadCpuSeconds() + seconds) {}
  bool Passed() const { return ThreadCpuSeconds() >= end; }

 private:
  double end;
};

// Wall-clock seconds, only for the length of the whole run.
class WallClock {
 public:
  WallClock() : start(std::chrono::steady_clock::now()) {}
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

 private:
  std::chrono::steady_clock::time_point start;
};

// How one timed run of one contender ended.
struct Outcome {
  enum Status { Done, OverCap, Failed };
  Status status = Failed;
  double seconds = 0.0;
  std::string message;  // why it failed
};

// Resident memory of this process, from /proc (Linux only; 0 elsewhere).
class MemoryProbe {
 public:
  // Hands the allocator's free pages back to the system, so that memory
  // freed by an earlier workload is not silently reused by the next tree
  // without showing up as resident growth.
  static void ReleaseFreeHeap();
  // Restarts the peak (VmHWM) at the current resident size; false when the
  // kernel does not allow it.
  static bool ResetPeak();
  static std::int64_t ResidentBytes();
  static std::int64_t PeakBytes();
};

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_MEASURE_H_
