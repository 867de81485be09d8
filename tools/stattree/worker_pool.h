// WorkerPool: runs parts of one job in forked worker processes and hands
// their answers to the parent in the order of the parts.
//
// Processes, not threads: the library keeps one unsynchronised error
// manager per process, so engines on several threads would have to take
// turns for every call. A worker runs its part from a copy of the parent's
// memory as it was when it was started (all at once with Start, or one
// more with Add while earlier ones run), and answers with one message
// over a pipe.
// While it runs it publishes its record and byte counts in shared memory,
// so that the parent can draw progress; the parent may stop the workers
// with Interrupt (each then answers as cancelled).
//
// Every worker is killed and reaped by Stop or the destructor, whatever
// path the parent takes; a worker whose parent dies is killed too.
// The parent must be single-threaded at Start. Thread-safety: none.
#ifndef STATTREE_TOOLS_WORKER_POOL_H_
#define STATTREE_TOOLS_WORKER_POOL_H_

#include <sys/types.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "stattree/boundary/progress_manager.h"

namespace stattree {
namespace cli {

class WorkerPool {
 public:
  // What a worker publishes while it runs; written by the worker only.
  struct Counts {
    std::atomic<long long> records{0};
    std::atomic<long long> bytes{0};
  };

  // The progress reporter of a worker: publishes the record count and the
  // bytes `position` tells, and cancels once the worker is interrupted
  // (SIGINT or Interrupt).
  class Progress : public ProgressManager {
   public:
    Progress(Counts& counts, std::function<long long()> position)
        : counts_(counts), position_(std::move(position)) {}
    void StartNewTask(int) override {}
    bool IsCanceled() override { return WorkerPool::Interrupted(); }
    void IncrementProgress(int step) override {
      counts_.records.store(counts_.records.load(std::memory_order_relaxed) + step,
                            std::memory_order_relaxed);
      counts_.bytes.store(position_(), std::memory_order_relaxed);
    }
    void TaskDone() override {}

   private:
    Counts& counts_;
    std::function<long long()> position_;
  };

  // In a worker, runs its part and returns its answer.
  using Work = std::function<std::string(std::size_t part, Counts& counts)>;

  WorkerPool() = default;
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  ~WorkerPool() { Stop(); }

  // Forks one worker per part. False, with none left running, when the
  // system refuses a process, a pipe or the shared counts.
  bool Start(std::size_t parts, const Work& work);
  // Forks a worker for the next part (parts are numbered from 0 in the
  // order they are started). False, with that part not started and the
  // others going on, when the system refuses it.
  bool Add(const Work& work);
  std::size_t GetStarted() const { return workers_.size(); }
  // Waits for the answer of `part`, calling `idle` about ten times a second
  // meanwhile. False when the worker ended without a whole answer; `error`
  // then says how it ended.
  bool Take(std::string& answer, std::string& error, std::size_t part,
            const std::function<void()>& idle);
  // Sums over the workers, as published so far (finished ones included).
  long long GetRecords() const;
  long long GetBytes() const;
  // Asks every worker still running to stop.
  void Interrupt();
  // Kills and reaps every worker left.
  void Stop();

  // In a worker: whether it has been asked to stop.
  static bool Interrupted();

 private:
  struct Worker {
    pid_t pid = -1;
    int fd = -1;               // the read end of its answer pipe
    Counts* counts = nullptr;  // shared with it until its answer is taken
  };

  [[noreturn]] static void RunWorker(std::size_t part, int fd, Counts& counts, const Work& work);
  // Keeps a worker's last counts and lets its shared page go.
  void Release(Worker& worker);

  std::vector<Worker> workers_;
  long long releasedRecords_ = 0;
  long long releasedBytes_ = 0;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_WORKER_POOL_H_
