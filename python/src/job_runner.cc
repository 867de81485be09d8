#include "python/src/job_runner.h"

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "python/src/frame_stats.h"
#include "tools/stattree/byte_pack.h"
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

// The report of a finished engine over `records` records.
void Collect(RunOutcome& outcome, Stats& stats, const cli::Job& job,
             const JobRunner::Options& options, const std::string& recordCountName,
             long long records) {
  cli::Report& report = outcome.report;
  report.dataName = options.dataName;
  report.jobName = options.jobName;
  report.records = records;
  for (const cli::ColumnRef& ref : job.tree) report.treeFields.push_back(ref.name);
  std::string error;
  if (!cli::ReportCollector::Collect(report.root, error, stats, job, recordCountName)) {
    // The collector has taken the library's error into its text.
    outcome.status = RunOutcome::Status::EngineFailed;
    outcome.engine.context = "reading the results";
    outcome.engine.message = error;
  }
}

RunOutcome EngineFailed(const std::string& context) {
  RunOutcome outcome;
  outcome.status = RunOutcome::Status::EngineFailed;
  outcome.engine = TakeEngineFailure(context);
  return outcome;
}

// A partial run's bytes: a tag, the frame's column names, its rows, the
// engine's unfinalized results and the warnings' findings.
constexpr const char* kPartialTag = "stattree partial results 1";

struct Partial {
  std::vector<std::string> names;
  long long records = 0;
  std::string results;
  std::string findings;
};

std::string Pack(const Partial& partial) {
  cli::BytePacker out;
  out.PutText(kPartialTag);
  out.PutNumber(partial.names.size());
  for (const std::string& name : partial.names) out.PutText(name);
  out.PutSigned(partial.records);
  out.PutText(partial.results);
  out.PutText(partial.findings);
  return out.Bytes();
}

bool Unpack(Partial& partial, const std::string& bytes) {
  cli::ByteUnpacker in(bytes);
  std::string tag;
  std::uint64_t names = 0;
  if (!in.GetText(tag) || tag != kPartialTag || !in.GetNumber(names) || names > bytes.size()) {
    return false;
  }
  partial.names.resize(static_cast<std::size_t>(names));
  for (std::string& name : partial.names) {
    if (!in.GetText(name)) return false;
  }
  return in.GetSigned(partial.records) && partial.records >= 0 && in.GetText(partial.results) &&
         in.GetText(partial.findings) && in.AtEnd();
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
  const bool processed = stats.ProcessRecords(options.progress, !options.partial);
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
  if (options.partial) {
    if (!stats.SaveResults(outcome.partial)) {
      outcome.status = RunOutcome::Status::EngineFailed;
      outcome.engine = TakeEngineFailure("saving the partial results");
    }
    return outcome;
  }
  Collect(outcome, stats, job, options, recordCountName, stats.GetRecords());
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
  if (options.partial) {
    if (outcome.status == RunOutcome::Status::Ok) {
      outcome.partial =
          Pack(Partial{table.names, static_cast<long long>(table.rows), std::move(outcome.partial),
                       warnings.SaveState()});
    }
    return outcome;
  }
  AddWarnings(outcome, warnings);
  return outcome;
}

RunOutcome JobRunner::PartialFrame(const cli::Job& job, const FrameTable& table,
                                   const Options& options) {
  Options partial = options;
  partial.partial = true;
  return RunFrame(job, table, partial);
}

RunOutcome JobRunner::MergePartials(const cli::Job& loaded, const std::vector<std::string>& bytes,
                                    const Options& options) {
  if (bytes.empty()) return BadInput(options.dataName, {"no partial results to merge"});
  std::vector<Partial> partials(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::string which = "partial result " + std::to_string(i + 1);
    if (!Unpack(partials[i], bytes[i])) {
      return BadInput(options.dataName, {which + " is damaged, or not a stattree partial result"});
    }
    if (partials[i].names != partials[0].names) {
      return BadInput(options.dataName,
                      {which + " comes from a frame with other columns than the first"});
    }
  }
  std::lock_guard<std::mutex> lock(LibraryMutex());
  cli::Job job = loaded;
  std::vector<std::string> errors;
  if (!cli::JobLoader::Resolve(job, errors, partials[0].names)) {
    return BadInput(options.jobName, errors);
  }
  std::map<std::string, StatsDefn> definitions;
  std::vector<Field> treeFields;
  std::string recordCountName;
  if (!cli::DefinitionBuilder::Build(definitions, treeFields, recordCountName, errors, job)) {
    return BadInput(options.jobName, errors);
  }
  // An engine of no rows of its own: it only takes the partials in.
  FrameTable none;
  none.names = partials[0].names;
  none.columns.resize(none.names.size());
  FrameRecord record(none);
  FrameStats stats(none, record);
  cli::WarningCollector warnings(job, none.names.size());
  Stats::ClearError();
  if (!stats.Configure(&definitions, treeFields)) return EngineFailed("configuring the engine");
  long long records = 0;
  for (std::size_t i = 0; i < partials.size(); ++i) {
    if (!stats.MergeResults(partials[i].results)) {
      return EngineFailed("merging partial result " + std::to_string(i + 1));
    }
    if (!warnings.MergeState(partials[i].findings, records)) {
      return BadInput(options.dataName, {"partial result " + std::to_string(i + 1) +
                                         " was made by another job"});
    }
    records += partials[i].records;
  }
  RunOutcome outcome;
  if (options.partial) {
    // Merged into one partial again, for a merge further up.
    std::string results;
    if (!stats.SaveResults(results)) return EngineFailed("saving the merged partial results");
    outcome.partial = Pack(Partial{partials[0].names, records, std::move(results),
                                   warnings.SaveState()});
    return outcome;
  }
  if (!stats.Finalize()) return EngineFailed("finalizing the merged results");
  if (options.maxNodes > 0 && stats.GetNodeCount() > options.maxNodes) {
    Stats::ClearError();
    return BadInput(options.dataName,
                    {"the merged results tree has " + std::to_string(stats.GetNodeCount()) +
                     " nodes, past max_nodes (" + std::to_string(options.maxNodes) +
                     "); raise max_nodes, or set it to 0 for no limit"});
  }
  Collect(outcome, stats, job, options, recordCountName, records);
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
