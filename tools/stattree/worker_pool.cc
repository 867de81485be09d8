#include "tools/stattree/worker_pool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace stattree {
namespace cli {
namespace {

constexpr int kIdleMilliseconds = 100;

volatile std::sig_atomic_t sInterrupted = 0;

// As the tool's own handler: a second Ctrl-C ends the worker outright.
void OnInterrupt(int) {
  sInterrupted = 1;
  std::signal(SIGINT, SIG_DFL);
}

void OnTerminate(int) { sInterrupted = 1; }

bool WriteAll(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t n = write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

std::string DescribeEnd(int status) {
  if (WIFSIGNALED(status)) {
    return std::string("killed by signal ") + std::to_string(WTERMSIG(status)) + " (" +
           strsignal(WTERMSIG(status)) + ")";
  }
  if (WIFEXITED(status)) return "exited with code " + std::to_string(WEXITSTATUS(status));
  return "ended";
}

}  // namespace

bool WorkerPool::Interrupted() { return sInterrupted != 0; }

bool WorkerPool::Start(std::size_t parts, const Work& work) {
  Stop();
  for (std::size_t i = 0; i < parts; ++i) {
    if (!Add(work)) {
      Stop();
      return false;
    }
  }
  return true;
}

bool WorkerPool::Add(const Work& work) {
  void* shared =
      mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return false;
  auto* counts = new (shared) Counts();
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    munmap(shared, sizeof(Counts));
    return false;
  }
  // Blocked across the fork, so that a Ctrl-C at that moment reaches the
  // worker's own handler rather than the copy of the parent's.
  sigset_t block;
  sigset_t saved;
  sigemptyset(&block);
  sigaddset(&block, SIGINT);
  sigaddset(&block, SIGTERM);
  sigprocmask(SIG_BLOCK, &block, &saved);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    for (const Worker& w : workers_) {
      if (w.fd >= 0) close(w.fd);
    }
    close(fds[0]);
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = OnInterrupt;
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = OnTerminate;
    sigaction(SIGTERM, &action, nullptr);
    sigprocmask(SIG_SETMASK, &saved, nullptr);
    RunWorker(workers_.size(), fds[1], *counts, work);
  }
  sigprocmask(SIG_SETMASK, &saved, nullptr);
  close(fds[1]);
  if (pid < 0) {
    close(fds[0]);
    munmap(shared, sizeof(Counts));
    return false;
  }
  workers_.push_back({pid, fds[0], counts});
  return true;
}

void WorkerPool::Release(Worker& worker) {
  if (worker.counts == nullptr) return;
  releasedRecords_ += worker.counts->records.load(std::memory_order_relaxed);
  releasedBytes_ += worker.counts->bytes.load(std::memory_order_relaxed);
  munmap(worker.counts, sizeof(Counts));
  worker.counts = nullptr;
}

void WorkerPool::RunWorker(std::size_t part, int fd, Counts& counts, const Work& work) {
  int code = 0;
  try {
    const std::string answer = work(part, counts);
    const auto size = static_cast<unsigned long long>(answer.size());
    if (!WriteAll(fd, reinterpret_cast<const char*>(&size), sizeof size) ||
        !WriteAll(fd, answer.data(), answer.size())) {
      code = 1;
    }
  } catch (...) {
    code = 1;
  }
  // No destructors or exit handlers: they belong to the parent's copy.
  _exit(code);
}

bool WorkerPool::Take(std::string& answer, std::string& error, std::size_t part,
                      const std::function<void()>& idle) {
  answer.clear();
  if (part >= workers_.size() || workers_[part].fd < 0) {
    error = "no such worker";
    return false;
  }
  Worker& worker = workers_[part];
  unsigned long long size = 0;
  std::size_t got = 0;
  bool sized = false;
  bool whole = false;
  char buffer[1 << 16];
  for (;;) {
    pollfd p{worker.fd, POLLIN, 0};
    const int ready = poll(&p, 1, kIdleMilliseconds);
    if (ready <= 0) {
      if (ready < 0 && errno != EINTR) break;
      if (idle) idle();
      continue;
    }
    const ssize_t n = read(worker.fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    std::size_t used = 0;
    while (!sized && used < static_cast<std::size_t>(n)) {
      reinterpret_cast<char*>(&size)[got++] = buffer[used++];
      if (got == sizeof size) {
        sized = true;
        answer.reserve(static_cast<std::size_t>(size));
      }
    }
    answer.append(buffer + used, static_cast<std::size_t>(n) - used);
    if (sized && answer.size() >= size) {
      whole = answer.size() == size;
      break;
    }
  }
  close(worker.fd);
  worker.fd = -1;
  int status = 0;
  if (!whole) kill(worker.pid, SIGKILL);
  while (waitpid(worker.pid, &status, 0) < 0 && errno == EINTR) {
  }
  worker.pid = -1;
  Release(worker);
  if (!whole) {
    answer.clear();
    error =
        "worker " + std::to_string(part + 1) + " " + DescribeEnd(status) + " before it answered";
  }
  return whole;
}

long long WorkerPool::GetRecords() const {
  long long sum = releasedRecords_;
  for (const Worker& w : workers_) {
    if (w.counts != nullptr) sum += w.counts->records.load(std::memory_order_relaxed);
  }
  return sum;
}

long long WorkerPool::GetBytes() const {
  long long sum = releasedBytes_;
  for (const Worker& w : workers_) {
    if (w.counts != nullptr) sum += w.counts->bytes.load(std::memory_order_relaxed);
  }
  return sum;
}

void WorkerPool::Interrupt() {
  for (const Worker& w : workers_) {
    if (w.pid > 0) kill(w.pid, SIGTERM);
  }
}

void WorkerPool::Stop() {
  for (Worker& w : workers_) {
    if (w.fd >= 0) close(w.fd);
    if (w.pid > 0) {
      kill(w.pid, SIGKILL);
      int status = 0;
      while (waitpid(w.pid, &status, 0) < 0 && errno == EINTR) {
      }
    }
    if (w.counts != nullptr) munmap(w.counts, sizeof(Counts));
  }
  workers_.clear();
  releasedRecords_ = 0;
  releasedBytes_ = 0;
}

}  // namespace cli
}  // namespace stattree
