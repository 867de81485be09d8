#include "engine_workers.h"

#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "engine_contender.h"

namespace stattree_bench {
namespace {

using stattree::Stats;

// What a child writes ahead of its bytes: the saved results, or, when it
// failed, the error's text.
struct ChildHeader {
  enum Status : std::int32_t { Saved, OverCap, Failed };
  Status status = Failed;
  double saveSeconds = 0.0;
  std::uint64_t size = 0;
};

struct Child {
  pid_t pid = -1;
  int fd = -1;
};

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double CpuSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

bool WriteAll(int fd, const void* data, std::size_t size) {
  const char* at = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(fd, at, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    at += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool ReadAll(int fd, void* data, std::size_t size) {
  char* at = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t got = read(fd, at, size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    at += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

// How a run over one range ended; `bytes` gets the saved results or the
// error's text.
ChildHeader::Status RunRange(EngineJob& job, TableStats& engine, double capSeconds,
                             std::string& bytes) {
  CapProgress progress(capSeconds);
  if (job.Configure(engine) && engine.ProcessRecords(&progress, false)) {
    return ChildHeader::Saved;
  }
  if (progress.WasCanceled() && !Stats::IsErrorSet()) return ChildHeader::OverCap;
  bytes = EngineErrorText();
  return ChildHeader::Failed;
}

// The child's whole life: it never returns into the benchmark, and leaves
// without destructors (its tree dies with it, at no cost to the timing).
[[noreturn]] void RunChild(EngineJob& job, const Table& table, std::size_t first, std::size_t end,
                           double capSeconds, int fd) {
  ChildHeader header;
  std::string bytes;
  TableRecord record(table);
  TableStats engine(&record, first, end);
  header.status = RunRange(job, engine, capSeconds, bytes);
  if (header.status == ChildHeader::Saved) {
    const Stopwatch saving;
    if (!engine.SaveResults(bytes)) {
      header.status = ChildHeader::Failed;
      bytes = "SaveResults: " + EngineErrorText();
    }
    header.saveSeconds = saving.Seconds();
  }
  header.size = bytes.size();
  const bool sent =
      WriteAll(fd, &header, sizeof(header)) && WriteAll(fd, bytes.data(), bytes.size());
  _exit(sent ? 0 : 1);
}

}  // namespace

WorkersRun RunWorkers(const WorkloadSpec& spec, const Table& table, int workers, double capSeconds,
                      ResultSet& results) {
  WorkersRun run;
  EngineJob job;
  if (!job.Build(spec, run.outcome.message)) return run;
  const std::size_t rows = table.GetRowCount();
  const auto rangeStart = [&](int worker) {
    return rows * static_cast<std::size_t>(worker) / static_cast<std::size_t>(workers);
  };
  // Children must not inherit unwritten output and print it twice.
  std::cout.flush();
  std::cerr.flush();
  // Free heap pages kept from earlier runs would be shared with the
  // children, and every first write to one, in parent or child, would
  // copy it: a cost of the benchmark's history, not of the workers.
  MemoryProbe::ReleaseFreeHeap();

  const double selfBefore = CpuSeconds(RUSAGE_SELF);
  const double childrenBefore = CpuSeconds(RUSAGE_CHILDREN);
  const WallClock wall;
  std::string failure;  // the first one
  auto fail = [&failure](const std::string& message) {
    if (failure.empty()) failure = message;
  };
  std::vector<Child> children;
  for (int worker = 1; worker < workers; ++worker) {
    int ends[2];
    if (pipe(ends) != 0) {
      fail(std::string("pipe: ") + std::strerror(errno));
      break;
    }
    const pid_t pid = fork();
    if (pid == 0) {
      close(ends[0]);
      RunChild(job, table, rangeStart(worker), rangeStart(worker + 1), capSeconds, ends[1]);
    }
    close(ends[1]);
    if (pid < 0) {
      close(ends[0]);
      fail(std::string("fork: ") + std::strerror(errno));
      break;
    }
    children.push_back({pid, ends[0]});
  }

  TableRecord record(table);
  TableStats engine(&record, 0, rangeStart(1));
  std::string bytes;
  ChildHeader::Status status = ChildHeader::Failed;
  if (failure.empty()) {
    status = RunRange(job, engine, capSeconds, bytes);
    if (status == ChildHeader::Failed) fail("ProcessRecords: " + bytes);
  }
  bool overCap = status == ChildHeader::OverCap;
  // In range order: the merged tree is then the one a single engine
  // builds over all the rows.
  for (const Child& child : children) {
    ChildHeader header;
    bytes.clear();
    if (!ReadAll(child.fd, &header, sizeof(header))) {
      fail("a worker sent nothing");
    } else {
      bytes.resize(header.size);
      if (!ReadAll(child.fd, &bytes[0], bytes.size())) fail("a worker's results are cut");
    }
    close(child.fd);
    int exitStatus = 0;
    waitpid(child.pid, &exitStatus, 0);
    if (!failure.empty()) continue;
    if (header.status == ChildHeader::OverCap) overCap = true;
    if (header.status == ChildHeader::Failed) fail("worker: " + bytes);
    if (header.status != ChildHeader::Saved || overCap) continue;
    run.saveSeconds += header.saveSeconds;
    run.savedBytes += bytes.size();
    const Stopwatch merging;
    const bool merged = engine.MergeResults(bytes);
    run.mergeSeconds += merging.Seconds();
    if (!merged) fail("MergeResults: " + EngineErrorText());
  }
  const bool finalized = failure.empty() && !overCap && engine.Finalize();
  run.outcome.seconds = wall.Seconds();
  run.cpuSeconds =
      CpuSeconds(RUSAGE_SELF) - selfBefore + CpuSeconds(RUSAGE_CHILDREN) - childrenBefore;
  if (failure.empty() && overCap) {
    run.outcome.status = Outcome::OverCap;
    return run;
  }
  if (!finalized) {
    run.outcome.message = failure.empty() ? "Finalize: " + EngineErrorText() : failure;
    return run;
  }
  run.outcome.status = Outcome::Done;
  if (!job.ReadResults(engine, results)) {
    run.outcome.status = Outcome::Failed;
    run.outcome.message = "reading results: " + EngineErrorText();
  }
  return run;
}

}  // namespace stattree_bench
