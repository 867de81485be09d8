// stattree_bench: record throughput and tree memory of the engine on the
// standard workloads, with SQLite and a hand-written single pass timed on
// the same rows in the same run, and optionally pandas and DuckDB on those
// rows written to a CSV file. Prints one Markdown table; exits 1 when the
// contenders disagree on any number.
//
// Usage: stattree_bench [--quick] [--cap SECONDS] [--max-records N] [--only W1|W2]
//                       [--peers DIR] [--workers LIST] [--write-csv FILE --records N]
//   --quick          small sizes only (a smoke run of a few seconds)
//   --cap SECONDS    give up on one measurement after this much processor
//                    time (default 60)
//   --max-records N  skip the sizes above N records
//   --only W1|W2     one workload only ("W2 D=100": one row)
//   --peers DIR      also run the peers whose scripts DIR holds
//                    (bench/peers/install.sh fills it); the rows' CSV
//                    files are written there and removed after use
//   --workers LIST   instead of the contest, the engine alone on each
//                    number of worker processes in LIST ("1,2"): wall-clock
//                    and processor time, merged results checked against
//                    the floor
//   --write-csv FILE write the first N rows of W1 to FILE and exit (the
//                    tool benchmark's input)

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "csv_writer.h"
#include "engine_contender.h"
#include "engine_workers.h"
#include "floor_contender.h"
#include "measure.h"
#include "peer_contender.h"
#include "report.h"
#include "result_set.h"
#include "sqlite_contender.h"
#include "table.h"
#include "workload.h"

namespace stattree_bench {
namespace {

constexpr double kDefaultCapSeconds = 60.0;
constexpr std::size_t kDefaultCheckRows = 10000;
// Contests whose three times add up to less than this are run kRounds times.
constexpr double kRepeatBelowSeconds = 20.0;
constexpr int kRounds = 3;

std::vector<WorkloadSpec> StandardWorkloads(bool quick) {
  if (quick) {
    return {{WorkloadKind::Everyday, 100000, 0},
            {WorkloadKind::HighCardinality, 100000, 100},
            {WorkloadKind::HighCardinality, 100000, 1000}};
  }
  return {{WorkloadKind::Everyday, 100000, 0},
          {WorkloadKind::Everyday, 1000000, 0},
          {WorkloadKind::Everyday, 10000000, 0},
          {WorkloadKind::HighCardinality, 1000000, 100},
          {WorkloadKind::HighCardinality, 1000000, 1000},
          {WorkloadKind::HighCardinality, 1000000, 10000},
          {WorkloadKind::HighCardinality, 1000000, 100000}};
}

std::string StatusText(const char* who, const Outcome& outcome) {
  char text[160];
  switch (outcome.status) {
    case Outcome::Done:
      std::snprintf(text, sizeof(text), "%s %.2f s", who, outcome.seconds);
      return text;
    case Outcome::OverCap:
      std::snprintf(text, sizeof(text), "%s over the cap", who);
      return text;
    case Outcome::Failed:
      break;
  }
  return std::string(who) + " FAILED";
}

// The peers asked for, whether each answered, and the folder their CSV
// files go to.
struct Peers {
  std::vector<PeerContender> contenders;
  std::vector<bool> answered;
  std::string folder;
};

struct PeerRun {
  Outcome outcome;
  ResultSet results;
};

// The contenders' outcomes and numbers on one set of rows.
struct Contest {
  EngineRun engine;
  Outcome sqlite;
  Outcome floor;
  ResultSet engineResults;
  ResultSet sqliteResults;
  ResultSet floorResults;
  std::unique_ptr<SqliteContender> database;  // kept loaded for the timing rounds
  std::vector<PeerRun> peers;                 // in the order of Peers::contenders
};

// The peers read the very rows the others got, from a file written for
// them; they repeat short computations themselves (`rounds`).
void RunPeers(const WorkloadSpec& spec, const Table& table, double capSeconds, int rounds,
              const Peers& peers, Contest& contest) {
  if (std::find(peers.answered.begin(), peers.answered.end(), true) == peers.answered.end()) {
    return;
  }
  contest.peers.resize(peers.contenders.size());
  std::string label = spec.Label();
  for (char& c : label) {
    if (c == ' ' || c == '=') c = '-';
  }
  const std::string path =
      peers.folder + "/rows-" + label + "-" + std::to_string(table.GetRowCount()) + ".csv";
  std::string error;
  if (!WriteCsv(table, path, error)) {
    for (PeerRun& run : contest.peers) run.outcome.message = error;
  } else {
    for (std::size_t i = 0; i < peers.contenders.size(); ++i) {
      if (!peers.answered[i]) continue;
      const PeerContender& peer = peers.contenders[i];
      PeerRun& run = contest.peers[i];
      run.outcome = peer.Run(spec, path, capSeconds, rounds, kRepeatBelowSeconds, run.results);
      std::cerr << ", " << StatusText(peer.GetName().c_str(), run.outcome) << std::flush;
    }
  }
  std::remove(path.c_str());
  for (std::size_t i = 0; i < contest.peers.size(); ++i) {
    if (peers.answered[i] && contest.peers[i].outcome.status == Outcome::Failed) {
      std::cerr << "\n  warning: " << contest.peers[i].outcome.message << " (shown as -)";
    }
  }
}

void RunContest(const WorkloadSpec& spec, const Table& table, double capSeconds, int peerRounds,
                const Peers& peers, Contest& contest) {
  // The engine goes first, on a heap that holds nothing but the rows, so
  // that its tree's memory shows as resident growth.
  contest.engine = RunEngine(spec, table, capSeconds, contest.engineResults);
  std::cerr << " " << StatusText("stattree", contest.engine.outcome) << std::flush;

  contest.floor = RunFloor(spec, table, capSeconds, contest.floorResults);
  std::cerr << ", " << StatusText("floor", contest.floor) << std::flush;

  contest.database = std::make_unique<SqliteContender>();
  std::string error;
  const WallClock loading;
  if (contest.database->Load(table, error)) {
    std::cerr << ", SQLite insert " << std::lround(loading.Seconds()) << " s (untimed)"
              << std::flush;
    contest.sqlite = contest.database->Run(spec, capSeconds, contest.sqliteResults);
  } else {
    contest.sqlite.message = error;
  }
  std::cerr << ", " << StatusText("SQLite", contest.sqlite) << std::flush;
  RunPeers(spec, table, capSeconds, peerRounds, peers, contest);
  std::cerr << "\n";
  for (const Outcome* outcome : {&contest.engine.outcome, &contest.sqlite, &contest.floor}) {
    if (outcome->status == Outcome::Failed) std::cerr << "  " << outcome->message << "\n";
  }
}

void KeepFaster(Outcome& best, const Outcome& another) {
  if (another.status == Outcome::Done && another.seconds < best.seconds) {
    best.seconds = another.seconds;
  }
}

// Short contests are run again, the three contenders in turn, and each
// keeps its fastest time: a burst of load on a shared machine then spoils
// one round, not the ratio.
void RepeatShortContest(const WorkloadSpec& spec, const Table& table, double capSeconds,
                        Contest& contest) {
  const Outcome* outcomes[] = {&contest.engine.outcome, &contest.sqlite, &contest.floor};
  double seconds = 0;
  for (const Outcome* outcome : outcomes) {
    if (outcome->status != Outcome::Done) return;
    seconds += outcome->seconds;
  }
  if (seconds >= kRepeatBelowSeconds) return;
  for (int round = 1; round < kRounds; ++round) {
    ResultSet scratch;
    KeepFaster(contest.engine.outcome, RunEngine(spec, table, capSeconds, scratch).outcome);
    scratch.Clear();
    KeepFaster(contest.floor, RunFloor(spec, table, capSeconds, scratch));
    scratch.Clear();
    KeepFaster(contest.sqlite, contest.database->Run(spec, capSeconds, scratch));
  }
  std::cerr << "  fastest of " << kRounds << ": " << StatusText("stattree", contest.engine.outcome)
            << ", " << StatusText("floor", contest.floor) << ", "
            << StatusText("SQLite", contest.sqlite) << "\n";
}

struct Agreement {
  bool same = true;  // no two finished contenders differ
  int compared = 0;  // how many finished and were compared
  int expected = 0;  // how many should have: all but the peers that failed
};

// Compares every pair of contenders that finished. A peer that failed is
// left out (and shown as "-"), as if it had not been asked.
Agreement CheckAgreement(const Contest& contest, const Peers& peers) {
  struct Contender {
    std::string name;
    const Outcome& outcome;
    const ResultSet& results;
  };
  std::vector<Contender> all = {{"stattree", contest.engine.outcome, contest.engineResults},
                                {"SQLite", contest.sqlite, contest.sqliteResults},
                                {"floor", contest.floor, contest.floorResults}};
  Agreement agreement;
  agreement.expected = static_cast<int>(all.size());
  for (std::size_t i = 0; i < contest.peers.size(); ++i) {
    if (contest.peers[i].outcome.status == Outcome::Failed) continue;
    all.push_back(
        {peers.contenders[i].GetName(), contest.peers[i].outcome, contest.peers[i].results});
    ++agreement.expected;
  }
  std::vector<const Contender*> finished;
  for (const Contender& contender : all) {
    if (contender.outcome.status == Outcome::Done) finished.push_back(&contender);
  }
  agreement.compared = finished.size() < 2 ? 0 : static_cast<int>(finished.size());
  for (std::size_t i = 0; i < finished.size(); ++i) {
    for (std::size_t j = i + 1; j < finished.size(); ++j) {
      std::string differences;
      if (!finished[i]->results.Agrees(finished[j]->results, finished[i]->name, finished[j]->name,
                                       differences)) {
        std::cerr << "  DISAGREEMENT " << finished[i]->name << " / " << finished[j]->name << ":\n"
                  << differences;
        agreement.same = false;
      }
    }
  }
  return agreement;
}

ReportRow Measure(const WorkloadSpec& spec, double capSeconds, std::size_t checkRows,
                  const Peers& peers, bool& agreed) {
  ReportRow row;
  row.workload = spec.Label();
  row.records = spec.records;

  // Before timing, the three must agree on a prefix of the rows (the
  // generator draws row after row, so fewer records give exactly the
  // first rows of the full table). This also covers the engine where the
  // full size reaches the cap.
  Agreement first;
  if (checkRows > 0 && checkRows < spec.records) {
    WorkloadSpec prefix = spec;
    prefix.records = checkRows;
    std::cerr << "[" << row.workload << ", first " << checkRows << " records]" << std::flush;
    Contest contest;
    RunContest(prefix, GenerateRows(prefix), capSeconds, 1, peers, contest);
    first = CheckAgreement(contest, peers);
  }

  std::cerr << "[" << row.workload << ", " << spec.records << " records]" << std::flush;
  Agreement full;
  {
    const Table table = GenerateRows(spec);
    Contest contest;
    RunContest(spec, table, capSeconds, kRounds, peers, contest);
    full = CheckAgreement(contest, peers);
    RepeatShortContest(spec, table, capSeconds, contest);
    row.engine = contest.engine.outcome;
    row.treeBytes = contest.engine.treeBytes;
    row.sqlite = contest.sqlite;
    row.floor = contest.floor;
    for (const PeerRun& run : contest.peers) row.peers.push_back(run.outcome);
  }

  if (!first.same || !full.same) {
    agreed = false;
    row.agreement = "NO";
  } else if (full.compared == full.expected) {
    row.agreement = "yes";
  } else if (first.expected > 0 && first.compared == first.expected) {
    row.agreement = "yes*";
  } else {
    row.agreement = "unchecked";
  }
  return row;
}

std::vector<WorkloadSpec> WorkersWorkloads(bool quick) {
  if (quick) {
    return {{WorkloadKind::Everyday, 100000, 0}, {WorkloadKind::HighCardinality, 100000, 100}};
  }
  return {{WorkloadKind::Everyday, 1000000, 0},
          {WorkloadKind::Everyday, 10000000, 0},
          {WorkloadKind::HighCardinality, 1000000, 100},
          {WorkloadKind::HighCardinality, 1000000, 100000}};
}

// "1,2" into {1, 2}; false on anything else than positive counts.
bool ParseWorkerCounts(const std::string& text, std::vector<int>& counts) {
  std::size_t at = 0;
  while (at <= text.size()) {
    const std::size_t comma = std::min(text.find(',', at), text.size());
    const std::string item = text.substr(at, comma - at);
    char* end = nullptr;
    const long count = std::strtol(item.c_str(), &end, 10);
    if (item.empty() || *end != '\0' || count < 1 || count > 64) return false;
    counts.push_back(static_cast<int>(count));
    at = comma + 1;
  }
  return !counts.empty();
}

std::string StatusText(int workers, const WorkersRun& run) {
  if (run.outcome.status != Outcome::Done) {
    return StatusText(("workers " + std::to_string(workers)).c_str(), run.outcome);
  }
  char text[120];
  std::snprintf(text, sizeof(text), "workers %d %.2f s wall, %.2f s CPU", workers,
                run.outcome.seconds, run.cpuSeconds);
  return text;
}

// Each worker count on the same rows; their merged numbers must agree with
// the floor's. Short runs go round again, the counts in turn, and each
// keeps its fastest wall-clock run: wall time is what a burst of load from
// elsewhere spoils.
std::vector<WorkersRow> MeasureWorkers(const WorkloadSpec& spec, const std::vector<int>& counts,
                                       double capSeconds, bool& agreed) {
  std::cerr << "[" << spec.Label() << ", " << spec.records << " records]" << std::flush;
  const Table table = GenerateRows(spec);
  ResultSet floorResults;
  const Outcome floor = RunFloor(spec, table, capSeconds, floorResults);
  std::cerr << " " << StatusText("floor", floor) << std::flush;

  std::vector<WorkersRow> rows;
  double total = 0;
  bool allDone = true;
  for (int workers : counts) {
    WorkersRow row;
    row.workload = spec.Label();
    row.records = spec.records;
    row.workers = workers;
    ResultSet results;
    row.run = RunWorkers(spec, table, workers, capSeconds, results);
    std::cerr << ", " << StatusText(workers, row.run) << std::flush;
    if (row.run.outcome.status == Outcome::Failed) {
      std::cerr << "\n  " << row.run.outcome.message;
    }
    std::string differences;
    if (row.run.outcome.status != Outcome::Done || floor.status != Outcome::Done) {
      row.agreement = "unchecked";
    } else if (results.Agrees(floorResults, "stattree", "floor", differences)) {
      row.agreement = "yes";
    } else {
      std::cerr << "\n  DISAGREEMENT on " << workers << " workers, stattree / floor:\n"
                << differences;
      row.agreement = "NO";
      agreed = false;
    }
    allDone = allDone && row.run.outcome.status == Outcome::Done;
    total += row.run.outcome.seconds;
    rows.push_back(std::move(row));
  }
  std::cerr << "\n";

  if (allDone && total < kRepeatBelowSeconds) {
    for (int round = 1; round < kRounds; ++round) {
      for (WorkersRow& row : rows) {
        ResultSet scratch;
        const WorkersRun again = RunWorkers(spec, table, row.workers, capSeconds, scratch);
        if (again.outcome.status == Outcome::Done &&
            again.outcome.seconds < row.run.outcome.seconds) {
          row.run = again;
        }
      }
    }
    std::cerr << "  fastest of " << kRounds << ":";
    for (const WorkersRow& row : rows) std::cerr << " " << StatusText(row.workers, row.run) << ";";
    std::cerr << "\n";
  }
  for (const WorkersRow& one : rows) {
    if (one.workers != 1) continue;
    for (WorkersRow& row : rows) row.single = one.run;
  }
  return rows;
}

std::string CpuModel() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  std::string line;
  while (std::getline(cpuinfo, line)) {
    if (line.rfind("model name", 0) == 0) {
      const auto colon = line.find(':');
      if (colon != std::string::npos) return line.substr(colon + 2);
    }
  }
  return "unknown CPU";
}

std::string Compiler() {
#if defined(__clang__)
  return std::string("clang ") + __clang_version__;
#elif defined(__GNUC__)
  return std::string("g++ ") + __VERSION__;
#else
  return "unknown compiler";
#endif
}

std::string UtcDate() {
  const std::time_t now = std::time(nullptr);
  char text[32];
  std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
  return text;
}

// Debian's pandas belongs to the system's interpreter, which another one
// earlier on the PATH would hide.
std::string PythonInterpreter() {
  const char* system = "/usr/bin/python3";
  return access(system, X_OK) == 0 ? system : "python3";
}

// The peers whose scripts are in `folder` and that answer; a warning for
// each that does not. Their versions are appended to `versions`.
Peers FindPeers(const std::string& folder, std::string& versions) {
  Peers peers;
  peers.folder = folder;
  const PeerContender candidates[] = {
      {"pandas", PythonInterpreter(), folder + "/pandas_peer.py"},
      {"DuckDB", "node", folder + "/duckdb_peer.mjs"},
  };
  for (const PeerContender& peer : candidates) {
    std::string version;
    std::string error;
    peers.contenders.push_back(peer);
    peers.answered.push_back(peer.Probe(version, error));
    if (peers.answered.back()) {
      versions += ", " + version;
    } else {
      std::cerr << "warning: " << peer.GetName() << " is left out (shown as -): " << error << "\n";
    }
  }
  return peers;
}

int WriteCsvOnly(const std::string& path, std::size_t records) {
  const WorkloadSpec spec{WorkloadKind::Everyday, records, 0};
  std::string error;
  if (!WriteCsv(GenerateRows(spec), path, error)) {
    std::cerr << error << "\n";
    return 1;
  }
  return 0;
}

// "W2" picks every W2 row, "W2 D=100" only that one.
bool Selected(const WorkloadSpec& spec, double maxRecords, const std::string& only) {
  if (maxRecords > 0 && static_cast<double>(spec.records) > maxRecords) return false;
  const std::string label = spec.Label();
  return only.empty() || label == only || label.rfind(only + " ", 0) == 0;
}

int WorkersMain(bool quick, double capSeconds, double maxRecords, const std::string& only,
                const std::vector<int>& counts) {
  const WallClock total;
  std::vector<WorkersRow> rows;
  bool agreed = true;
  for (const WorkloadSpec& spec : WorkersWorkloads(quick)) {
    if (!Selected(spec, maxRecords, only)) continue;
    for (WorkersRow& row : MeasureWorkers(spec, counts, capSeconds, agreed)) {
      rows.push_back(std::move(row));
    }
  }
  std::cout << "\nTaken " << UtcDate() << " on " << std::thread::hardware_concurrency()
            << " cores (" << CpuModel() << "), " << Compiler()
            << "; wall-clock time from the first fork to the end of finalization, processor "
               "time of all the workers' processes, cap "
            << static_cast<int>(capSeconds) << " s of processor time per worker.\n\n";
  PrintWorkersTable(std::cout, rows);
  std::cout << "\nWhole run: " << std::lround(total.Seconds()) << " s (wall clock). "
            << (agreed ? "The merged results agree with the floor on every number."
                       : "DISAGREEMENT: see the messages above.")
            << "\n";
  return agreed ? 0 : 1;
}

int Main(int argc, char** argv) {
  bool quick = false;
  double capSeconds = kDefaultCapSeconds;
  double maxRecords = 0;
  std::string only;
  std::string peerFolder;
  std::string csvPath;
  double csvRecords = 0;
  std::vector<int> workerCounts;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--quick") {
      quick = true;
    } else if (arg == "--cap" && i + 1 < argc) {
      capSeconds = std::atof(argv[++i]);
    } else if (arg == "--max-records" && i + 1 < argc) {
      maxRecords = std::atof(argv[++i]);
    } else if (arg == "--only" && i + 1 < argc) {
      only = argv[++i];
    } else if (arg == "--peers" && i + 1 < argc) {
      peerFolder = argv[++i];
    } else if (arg == "--workers" && i + 1 < argc && ParseWorkerCounts(argv[i + 1], workerCounts)) {
      ++i;
    } else if (arg == "--write-csv" && i + 1 < argc) {
      csvPath = argv[++i];
    } else if (arg == "--records" && i + 1 < argc) {
      csvRecords = std::atof(argv[++i]);
    } else {
      std::cerr << "usage: stattree_bench [--quick] [--cap SECONDS] [--max-records N] "
                   "[--only W1|W2] [--peers DIR] [--workers 1,2]\n"
                   "       stattree_bench --write-csv FILE --records N\n";
      return 2;
    }
  }
  if (!csvPath.empty()) {
    if (csvRecords < 1) {
      std::cerr << "--write-csv needs --records N\n";
      return 2;
    }
    return WriteCsvOnly(csvPath, static_cast<std::size_t>(csvRecords));
  }
  if (capSeconds <= 0) capSeconds = kDefaultCapSeconds;
  if (!workerCounts.empty()) return WorkersMain(quick, capSeconds, maxRecords, only, workerCounts);
  std::string peerVersions;
  const Peers peers = peerFolder.empty() ? Peers() : FindPeers(peerFolder, peerVersions);
  std::vector<std::string> peerNames;
  for (const PeerContender& peer : peers.contenders) peerNames.push_back(peer.GetName());

  const WallClock total;
  Report report(capSeconds, peerNames);
  bool agreed = true;
  for (const WorkloadSpec& spec : StandardWorkloads(quick)) {
    if (!Selected(spec, maxRecords, only)) continue;
    report.Add(Measure(spec, capSeconds, kDefaultCheckRows, peers, agreed));
  }

  std::cout << "\nTaken " << UtcDate() << " on " << std::thread::hardware_concurrency()
            << " cores (" << CpuModel() << "), " << Compiler() << ", SQLite "
            << SqliteContender::Version() << peerVersions
            << "; records per second of processor time, cap " << static_cast<int>(capSeconds)
            << " s per measurement.\n\n";
  report.Print(std::cout);
  for (const ReportRow& row : report.GetRows()) {
    if (row.agreement != "yes*") continue;
    std::cout << "\n* Not all contenders finished the full size within the cap. All agreed on "
                 "the first "
              << kDefaultCheckRows
              << " records before timing, and those that finished the full size agree.\n";
    break;
  }
  std::cout << "\nWhole run: " << std::lround(total.Seconds()) << " s (wall clock). "
            << (agreed ? "The contenders agree on every number they finished."
                       : "DISAGREEMENT: see the messages above.")
            << "\n";
  return agreed ? 0 : 1;
}

}  // namespace
}  // namespace stattree_bench

int main(int argc, char** argv) { return stattree_bench::Main(argc, argv); }
