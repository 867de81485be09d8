// ProgressBar: the engine's progress reporter for the tool.
//
// Counts records, and when drawing is on (standard error is a terminal and
// not --quiet) redraws one status line at most ten times a second: a bar
// and percentage when the input's size is known, the record count and the
// records per second. Cancellation reads a flag that the SIGINT handler
// raises, so the engine's per-record IsCanceled stays a plain load.
//
// Thread-safety: none; the flag may be raised from a signal handler.
#ifndef STATTREE_TOOLS_PROGRESS_BAR_H_
#define STATTREE_TOOLS_PROGRESS_BAR_H_

#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include "stattree/boundary/progress_manager.h"

namespace stattree {
namespace cli {

class ProgressBar : public ProgressManager {
 public:
  // `out` and `cancel` are borrowed; `cancel` may be null. `position`, if
  // set, tells how many of `totalBytes` input bytes have been read.
  ProgressBar(std::FILE* out, bool draw, const volatile std::sig_atomic_t* cancel);
  void SetInputSize(std::function<long long()> position, long long totalBytes);

  void StartNewTask(int total) override;
  bool IsCanceled() override { return cancel_ != nullptr && *cancel_ != 0; }
  void IncrementProgress(int step) override;
  void TaskDone() override { Clear(); }

  // For records counted elsewhere (worker processes): the count so far,
  // drawn as IncrementProgress would.
  void Show(long long records);
  // The next task goes on from `records` counted before it, on the same
  // clock, rather than from zero.
  void ContinueFrom(long long records) { continueFrom_ = records; }
  // Erases the status line, if one was drawn.
  void Clear();
  long long GetRecords() const { return records_; }

  // The status line for these figures; `fraction` below 0 means unknown.
  static std::string Line(long long records, double seconds, double fraction);

 private:
  void Draw();

  std::FILE* out_;
  bool draw_;
  const volatile std::sig_atomic_t* cancel_;
  std::function<long long()> position_;
  long long totalBytes_ = -1;
  long long records_ = 0;
  long long continueFrom_ = -1;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point lastDraw_;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_PROGRESS_BAR_H_
