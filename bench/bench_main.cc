// stattree_bench: record throughput and tree memory of the engine on the
// standard workloads, with SQLite and a hand-written single pass timed on
// the same rows in the same run, and optionally pandas and DuckDB on those
// rows written to a CSV file. Prints one Markdown table; exits 1 when the
// contenders disagree on any number.
//
// Usage: stattree_bench [--quick] [--cap SECONDS] [--max-records N] [--only W1|W2]
//                       [--peers DIR] [--write-csv FILE --records N]
//   --quick          small sizes only (a smoke run of a few seconds)
//   --cap SECONDS    give up on one measurement after this much processor
//                    time (default 60)
//   --max-records N  skip the sizes above N records
//   --only W1|W2     one workload only ("W2 D=100": one row)
//   --peers DIR      also run the peers whose scripts DIR holds
//                    (bench/peers/install.sh fills it); the rows' CSV
//                    files are written there and removed after use
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

int Main(int argc, char** argv) {
  bool quick = false;
  double capSeconds = kDefaultCapSeconds;
  double maxRecords = 0;
  std::string only;
  std::string peerFolder;
  std::string csvPath;
  double csvRecords = 0;
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
    } else if (arg == "--write-csv" && i + 1 < argc) {
      csvPath = argv[++i];
    } else if (arg == "--records" && i + 1 < argc) {
      csvRecords = std::atof(argv[++i]);
    } else {
      std::cerr << "usage: stattree_bench [--quick] [--cap SECONDS] [--max-records N] "
                   "[--only W1|W2] [--peers DIR]\n"
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
  std::string peerVersions;
  const Peers peers = peerFolder.empty() ? Peers() : FindPeers(peerFolder, peerVersions);
  std::vector<std::string> peerNames;
  for (const PeerContender& peer : peers.contenders) peerNames.push_back(peer.GetName());

  const WallClock total;
  Report report(capSeconds, peerNames);
  bool agreed = true;
  for (const WorkloadSpec& spec : StandardWorkloads(quick)) {
    if (maxRecords > 0 && static_cast<double>(spec.records) > maxRecords) continue;
    // "W2" picks every W2 row, "W2 D=100" only that one.
    const std::string label = spec.Label();
    if (!only.empty() && label != only && label.rfind(only + " ", 0) != 0) continue;
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
