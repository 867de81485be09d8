#include "python/src/job_runner.h"

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "python/src/frame_stats.h"
#include "tools/stattree/byte_source.h"
#include "tools/stattree/csv_reader.h"
#include "tools/stattree/csv_stats.h"
#include "tools/stattree/definition_builder.h"
#include "tools/stattree/job_loader.h"
#include "tools/stattree/report_collector.h"
#include "tools/stattree/warning_collector.h"

namespace stattree {
namespace python {
namespace {

std::mutex& LibraryMutex() {
  static std::mutex mutex;
  return mutex;
}

EngineFailure TakeEngineFailure(const std::string& context) {
  EngineFailure failure;
  failure.context = context;
  if (Stats::GetError(failure.code, failure.second, failure.message, failure.flag)) {
    failure.detail = Stats::GetErrorDetail();
    failure.locations = Stats::GetErrorLocations();
  } else {
    failure.message = "library call failed without an error";
  }
  Stats::ClearError();
  return failure;
}

RunOutcome BadInput(const std::string& file, const std::vector<std::string>& messages) {
  RunOutcome outcome;
  outcome.status = RunOutcome::Status::BadInput;
  for (const std::string& m : messages) {
    std::string line = file;
    line += ": ";
    line += m;
    outcome.errors.push_back(std::move(line));
  }
  return outcome;
}

std::vector<int> TreeColumns(const cli::Job& job) {
  std::vector<int> columns;
  for (const cli::ColumnRef& ref : job.tree) columns.push_back(ref.column);
  return columns;
}

// The part both sources share: the definitions are built, the host made by
// `makeHost`, then the engine runs and the results are read out.
// `dataError` answers a host's own failure message, if any.
template <typename Host, typename MakeHost, typename DataError>
RunOutcome Run(const cli::Job& job, const JobRunner::Options& options, MakeHost makeHost,
               DataError dataError) {
  std::map<std::string, StatsDefn> definitions;
  std::vector<Field> treeFields;
  std::string recordCountName;
  std::vector<std::string> errors;
  if (!cli::DefinitionBuilder::Build(definitions, treeFields, recordCountName, errors, job)) {
    return BadInput(options.jobName, errors);
  }
  // After the definitions, which the engine borrows until it is gone.
  const std::unique_ptr<Host> host = makeHost();
  Host& stats = *host;
  stats.SetNodeLimit(options.maxNodes, TreeColumns(job));
  Stats::ClearError();
  RunOutcome outcome;
  if (!stats.Configure(&definitions, treeFields)) {
    outcome.status = RunOutcome::Status::EngineFailed;
    outcome.engine = TakeEngineFailure("configuring the engine");
    return outcome;
  }
  const bool processed = stats.ProcessRecords(options.progress);
  if (stats.GetLastRunOutcome() == Stats::RunOutcome::Cancelled) {
    Stats::ClearError();
    outcome.status = RunOutcome::Status::Cancelled;
    return outcome;
  }
  if (!processed) {
    if (stats.NodeLimitReached()) {
      Stats::ClearError();
      return BadInput(options.dataName,
                      {"record " + std::to_string(stats.GetRecords() + 1) +
                       " would grow the results tree past " + std::to_string(options.maxNodes) +
                       " nodes (max_nodes; one node per distinct value of a tree field under "
                       "each parent); raise max_nodes, or set it to 0 for no limit"});
    }
    const std::string data = dataError(stats);
    if (!data.empty()) {
      Stats::ClearError();
      return BadInput(options.dataName, {data});
    }
    outcome.status = RunOutcome::Status::EngineFailed;
    outcome.engine = TakeEngineFailure("processing the records");
    return outcome;
  }
  cli::Report& report = outcome.report;
  report.dataName = options.dataName;
  report.jobName = options.jobName;
  report.records = stats.GetRecords();
  for (const cli::ColumnRef& ref : job.tree) report.treeFields.push_back(ref.name);
  std::string error;
  if (!cli::ReportCollector::Collect(report.root, error, stats, job, recordCountName)) {
    // The collector has taken the library's error into its text.
    outcome.status = RunOutcome::Status::EngineFailed;
    outcome.engine.context = "reading the results";
    outcome.engine.message = error;
  }
  return outcome;
}

void AddWarnings(RunOutcome& outcome, const cli::WarningCollector& warnings) {
  if (outcome.status != RunOutcome::Status::Ok) return;
  outcome.report.warnings = warnings.Warnings(outcome.report.root, outcome.report.records);
}

}  // namespace

RunOutcome JobRunner::RunFrame(const cli::Job& loaded, const FrameTable& table,
                               const Options& options) {
  std::lock_guard<std::mutex> lock(LibraryMutex());
  cli::Job job = loaded;
  std::vector<std::string> errors;
  if (!cli::JobLoader::Resolve(job, errors, table.names)) return BadInput(options.jobName, errors);
  FrameRecord record(table);
  cli::WarningCollector warnings(job, table.columns.size());
  RunOutcome outcome = Run<FrameStats>(
      job, options,
      [&] {
        auto stats = std::make_unique<FrameStats>(table, record);
        stats->SetWarningCollector(&warnings, job);
        return stats;
      },
      [](const FrameStats&) { return std::string(); });
  AddWarnings(outcome, warnings);
  return outcome;
}

RunOutcome JobRunner::RunCsv(const cli::Job& loaded, const std::string& path,
                             const Options& options, const CsvOptions& csvOptions) {
  std::lock_guard<std::mutex> lock(LibraryMutex());
  cli::FileSource source;
  if (!source.Open(path)) return BadInput(options.dataName, {"cannot open: " + source.GetError()});
  cli::CsvReader::Options readerOptions;
  readerOptions.delimiter = csvOptions.delimiter;
  readerOptions.skipBadRows = csvOptions.skipBadRows;
  cli::CsvReader reader(source, readerOptions);
  std::vector<std::string> header;
  switch (reader.ReadRow(header)) {
    case cli::CsvReader::Status::Row:
      break;
    case cli::CsvReader::Status::End:
      return BadInput(options.dataName,
                      {"the input is empty; expected a header row naming the columns"});
    case cli::CsvReader::Status::Error:
      return BadInput(options.dataName, {reader.GetError()});
  }
  cli::Job job = loaded;
  std::vector<std::string> errors;
  if (!cli::JobLoader::Resolve(job, errors, header)) return BadInput(options.jobName, errors);
  std::vector<bool> used;
  std::vector<bool> forceText;
  std::string error;
  if (!cli::CsvStats::ColumnFlags(used, forceText, error, job, header, csvOptions.textColumns)) {
    return BadInput(options.dataName, {"text: " + error});
  }
  cli::CsvRecord record(header.size());
  cli::WarningCollector warnings(job, header.size());
  RunOutcome outcome = Run<cli::CsvStats>(
      job, options,
      [&] {
        auto stats = std::make_unique<cli::CsvStats>(reader, record, used, forceText);
        stats->SetWarningCollector(&warnings);
        return stats;
      },
      [](const cli::CsvStats& s) { return s.HasDataError() ? s.GetDataError() : std::string(); });
  outcome.report.skippedRows = reader.GetSkippedRows();
  AddWarnings(outcome, warnings);
  return outcome;
}

}  // namespace python
}  // namespace stattree
