#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace stattree_bench {
namespace {

std::string Format(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

// 10^5 as "100 000".
std::string Grouped(std::size_t number) {
  std::string digits = std::to_string(number);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<std::size_t>(at), " ");
  }
  return digits;
}

std::string Rate(double recordsPerSecond) {
  if (recordsPerSecond >= 1e6) return Format("%.2f M/s", recordsPerSecond / 1e6);
  if (recordsPerSecond >= 1e3) return Format("%.1f k/s", recordsPerSecond / 1e3);
  return Format("%.0f /s", recordsPerSecond);
}

std::string Mebibytes(std::int64_t bytes) {
  return Format("%.1f MiB", static_cast<double>(std::max<std::int64_t>(bytes, 0)) / 1048576.0);
}

}  // namespace

void PrintMarkdownTable(std::ostream& out, const std::vector<std::vector<std::string>>& cells) {
  if (cells.empty()) return;
  std::vector<std::size_t> widths(cells[0].size(), 0);
  for (const auto& line : cells) {
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  }
  auto printLine = [&](const std::vector<std::string>& line) {
    out << "|";
    for (std::size_t i = 0; i < line.size(); ++i) {
      // Numbers right-aligned, names left-aligned.
      const std::string pad(widths[i] - line[i].size(), ' ');
      out << " " << (i == 0 || i == line.size() - 1 ? line[i] + pad : pad + line[i]) << " |";
    }
    out << "\n";
  };
  printLine(cells[0]);
  out << "|";
  for (std::size_t i = 0; i < widths.size(); ++i) {
    const bool right = i != 0 && i != widths.size() - 1;
    out << (right ? " " + std::string(widths[i] - 1, '-') + ": |"
                  : " " + std::string(widths[i], '-') + " |");
  }
  out << "\n";
  for (std::size_t i = 1; i < cells.size(); ++i) printLine(cells[i]);
}

void PrintWorkersTable(std::ostream& out, const std::vector<WorkersRow>& rows) {
  std::vector<std::vector<std::string>> cells = {{"workload", "records", "workers", "wall", "CPU",
                                                  "speed-up", "CPU overhead", "saved bytes",
                                                  "save CPU", "merge CPU", "agree"}};
  for (const WorkersRow& row : rows) {
    const WorkersRun& run = row.run;
    std::vector<std::string> line = {row.workload, Grouped(row.records),
                                     std::to_string(row.workers)};
    if (run.outcome.status != Outcome::Done) {
      const std::string what = run.outcome.status == Outcome::OverCap ? "over cap" : "failed";
      line.insert(line.end(), {what, "-", "-", "-", "-", "-", "-", row.agreement});
      cells.push_back(std::move(line));
      continue;
    }
    const bool base = row.single && row.single->outcome.status == Outcome::Done;
    line.push_back(Format("%.2f s", run.outcome.seconds));
    line.push_back(Format("%.2f s", run.cpuSeconds));
    line.push_back(
        base ? Format("%.2f", row.single->outcome.seconds / std::max(run.outcome.seconds, 1e-9))
             : "-");
    line.push_back(
        base ? Format("%+.1f %%",
                      100.0 * (run.cpuSeconds / std::max(row.single->cpuSeconds, 1e-9) - 1.0))
             : "-");
    line.push_back(row.workers > 1 ? Mebibytes(static_cast<std::int64_t>(run.savedBytes)) : "-");
    line.push_back(row.workers > 1 ? Format("%.3f s", run.saveSeconds) : "-");
    line.push_back(row.workers > 1 ? Format("%.3f s", run.mergeSeconds) : "-");
    line.push_back(row.agreement);
    cells.push_back(std::move(line));
  }
  PrintMarkdownTable(out, cells);
}

std::string Report::Throughput(const ReportRow& row, const Outcome& outcome) const {
  switch (outcome.status) {
    case Outcome::Done:
      return Rate(static_cast<double>(row.records) / std::max(outcome.seconds, 1e-9));
    case Outcome::OverCap:
      return Format("over %.0f s", capSeconds);
    case Outcome::Failed:
      break;
  }
  return "failed";
}

std::string Report::Ratio(const Outcome& top, const Outcome& bottom) const {
  if (top.status == Outcome::Done && bottom.status == Outcome::Done) {
    // Throughput ratio: time of the other divided by stattree's time.
    return Format("%#.3g", bottom.seconds / std::max(top.seconds, 1e-9));
  }
  if (top.status == Outcome::OverCap && bottom.status == Outcome::Done) {
    return Format("< %#.3g", bottom.seconds / capSeconds);
  }
  if (top.status == Outcome::Done && bottom.status == Outcome::OverCap) {
    return Format("> %#.3g", capSeconds / std::max(top.seconds, 1e-9));
  }
  return "-";
}

void Report::Print(std::ostream& out) const {
  // Throughputs, then ratios, each in the order SQLite, the peers, floor.
  std::vector<std::string> header = {"workload", "records", "stattree", "SQLite"};
  header.insert(header.end(), peerNames.begin(), peerNames.end());
  header.push_back("floor");
  header.push_back("stattree/SQLite");
  for (const std::string& peer : peerNames) header.push_back("stattree/" + peer);
  header.insert(header.end(), {"stattree/floor", "tree peak RSS", "agree"});
  std::vector<std::vector<std::string>> cells;
  cells.push_back(header);
  const Outcome absent;
  for (const ReportRow& row : rows) {
    std::string tree = Mebibytes(row.treeBytes);
    if (row.engine.status == Outcome::OverCap) tree.insert(0, "> ");
    if (row.engine.status == Outcome::Failed) tree = "-";
    auto peer = [&](std::size_t i) -> const Outcome& {
      return i < row.peers.size() ? row.peers[i] : absent;
    };
    std::vector<std::string> line = {row.workload, Grouped(row.records),
                                     Throughput(row, row.engine), Throughput(row, row.sqlite)};
    for (std::size_t i = 0; i < peerNames.size(); ++i) {
      // A peer that is missing or failed has been warned about.
      line.push_back(peer(i).status == Outcome::Failed ? "-" : Throughput(row, peer(i)));
    }
    line.push_back(Throughput(row, row.floor));
    line.push_back(Ratio(row.engine, row.sqlite));
    for (std::size_t i = 0; i < peerNames.size(); ++i) line.push_back(Ratio(row.engine, peer(i)));
    line.insert(line.end(), {Ratio(row.engine, row.floor), tree, row.agreement});
    cells.push_back(std::move(line));
  }
  PrintMarkdownTable(out, cells);
}

}  // namespace stattree_bench
