// ProgressManager: progress reporting and cancellation for a record loop.
//
// Owned by the host and passed to Stats::ProcessRecords; the engine never
// creates, copies or destroys one. Every operation has a do-nothing default
// so a host overrides only what it needs.
#ifndef STATTREE_BOUNDARY_PROGRESS_MANAGER_H_
#define STATTREE_BOUNDARY_PROGRESS_MANAGER_H_

namespace stattree {

class ProgressManager {
 public:
  virtual ~ProgressManager() = default;

  // Once per ProcessRecords, after the first record, with GetRecordCount().
  virtual void StartNewTask(int total) { (void)total; }
  // After each record; true stops the loop without an error.
  virtual bool IsCanceled() { return false; }
  // After each record that was not cancelled, with step 1.
  virtual void IncrementProgress(int step) { (void)step; }
  // Once after the last record, only when the loop ended normally.
  virtual void TaskDone() {}
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_PROGRESS_MANAGER_H_
