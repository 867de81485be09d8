#include "tools/stattree/app.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/stattree.h"
#include "tools/stattree/byte_source.h"
#include "tools/stattree/csv_reader.h"
#include "tools/stattree/csv_stats.h"
#include "tools/stattree/definition_builder.h"
#include "tools/stattree/job_loader.h"
#include "tools/stattree/library_error.h"
#include "tools/stattree/printable_text.h"
#include "tools/stattree/progress_bar.h"
#include "tools/stattree/report_collector.h"
#include "tools/stattree/report_csv.h"
#include "tools/stattree/report_html.h"
#include "tools/stattree/report_json.h"
#include "tools/stattree/report_text.h"
#include "tools/stattree/warning_collector.h"

#ifndef STATTREE_VERSION
#define STATTREE_VERSION "unknown"
#endif

namespace stattree {
namespace cli {
namespace {

constexpr const char* kFooter = R"(Cells become values as follows:
  - an empty cell is empty;
  - canonical integers (-12, 0, 345; no leading zeros, no plus sign, 64-bit)
    are integers;
  - canonical reals (3.25, -0.5, 1e6, 2.5E-3; digits on both sides of the
    point) are reals;
  - everything else is text, exactly as written: 007, 01234 (postcodes,
    identifiers), +5, " 5", .5, 1,000 and numbers out of range stay text.
  --text COLUMNS keeps the listed columns as text.

CSV: the first row names the columns; quoted cells may hold the delimiter,
quotes ("") and line breaks; LF, CRLF or CR line ends, each counted as
one line; blank lines are ignored. A row with another number of cells than
the header, or broken quoting, is an error naming its line, unless
--skip-bad-rows skips and counts it.

--max-nodes stops a job whose results tree would pass N nodes (the root,
and one node per distinct value of a tree field under each parent), before
it takes the machine's memory: a tree field with a million distinct values
makes a million nodes.

Exit codes: 0 success, 1 bad data or job or too many nodes, 2 usage error,
130 cancelled.)";

struct Options {
  std::string dataPath;
  std::string jobPath;
  std::string format = "text";
  std::string outputPath;
  std::string delimiter = ",";
  std::vector<std::string> textColumns;
  bool skipBadRows = false;
  bool quiet = false;
  bool checkOnly = false;
  long long sample = 0;  // check: records read for warnings
  long long maxNodes = App::kDefaultMaxNodes;
};

// One run or check, as a sequence of steps; each returns App::kExitOk to go
// on, or the exit code to stop with.
class Runner {
 public:
  Runner(const Options& options, std::ostream& out, std::ostream& err,
         const volatile std::sig_atomic_t* cancel)
      : options_(options),
        out_(out),
        err_(err),
        cancel_(cancel),
        dataName_(options.dataPath == "-" ? "<stdin>" : options.dataPath),
        source_(cancel),
        reader_(source_, ReaderOptions(options)) {}

  int Run();

 private:
  static CsvReader::Options ReaderOptions(const Options& options) {
    CsvReader::Options readerOptions;
    readerOptions.delimiter = options.delimiter[0];
    readerOptions.skipBadRows = options.skipBadRows;
    return readerOptions;
  }
  int Fail(const std::string& file, const std::string& message) {
    err_ << "stattree: error: " << (file.empty() ? "" : file + ": ")
         << PrintableText::Escape(message) << "\n";
    return App::kExitBadInput;
  }
  int FailAll(const std::string& file, const std::vector<std::string>& messages) {
    for (const std::string& m : messages) Fail(file, m);
    return App::kExitBadInput;
  }
  bool Cancelled() const { return cancel_ != nullptr && *cancel_ != 0; }

  int Load();
  int Open();
  int Resolve();
  int Process();
  int Collect(Report& report);
  int Fits();
  int WriteReport(const Report& report);

  const Options& options_;
  std::ostream& out_;
  std::ostream& err_;
  const volatile std::sig_atomic_t* cancel_;
  const std::string dataName_;
  Job job_;
  FileSource source_;
  CsvReader reader_;
  std::vector<std::string> header_;
  std::vector<bool> forceText_;
  std::vector<bool> used_;
  // Declared before the engine, which borrows them.
  std::map<std::string, StatsDefn> definitions_;
  std::vector<Field> treeFields_;
  std::string recordCountName_;
  std::unique_ptr<CsvRecord> record_;
  std::unique_ptr<WarningCollector> warnings_;
  std::unique_ptr<CsvStats> stats_;
};

int Runner::Run() {
  int code = Load();
  if (code == App::kExitOk) code = Open();
  if (code == App::kExitOk) code = Resolve();
  if (code != App::kExitOk) return code;
  if (options_.checkOnly && options_.sample == 0) return Fits();
  Report report;
  code = Process();
  if (code == App::kExitOk) code = Collect(report);
  if (code != App::kExitOk) return code;
  if (options_.checkOnly) return Fits();
  return WriteReport(report);
}

int Runner::Load() {
  std::vector<std::string> errors;
  const bool loaded = JobLoader::Load(job_, errors, options_.jobPath);
  for (const std::string& w : job_.warnings) {
    err_ << "stattree: warning: " << options_.jobPath << ": " << PrintableText::Escape(w) << "\n";
  }
  return loaded ? App::kExitOk : FailAll(options_.jobPath, errors);
}

int Runner::Open() {
  if (!source_.Open(options_.dataPath)) {
    return Fail(dataName_, "cannot open: " + source_.GetError());
  }
  switch (reader_.ReadRow(header_)) {
    case CsvReader::Status::Row:
      break;
    case CsvReader::Status::End:
      return Fail(dataName_, "the input is empty; expected a header row naming the columns");
    case CsvReader::Status::Error:
      return Fail(dataName_, reader_.GetError());
  }
  return App::kExitOk;
}

int Runner::Resolve() {
  std::vector<std::string> errors;
  if (!JobLoader::Resolve(job_, errors, header_)) return FailAll(options_.jobPath, errors);
  std::string error;
  if (!CsvStats::ColumnFlags(used_, forceText_, error, job_, header_, options_.textColumns)) {
    return Fail(dataName_, "--text: " + error);
  }
  return App::kExitOk;
}

int Runner::Process() {
  std::vector<std::string> errors;
  if (!DefinitionBuilder::Build(definitions_, treeFields_, recordCountName_, errors, job_)) {
    return FailAll(options_.jobPath, errors);
  }
  record_ = std::make_unique<CsvRecord>(header_.size());
  stats_ = std::make_unique<CsvStats>(reader_, *record_, used_, forceText_);
  warnings_ = std::make_unique<WarningCollector>(job_, header_.size());
  stats_->SetWarningCollector(warnings_.get());
  if (options_.checkOnly) stats_->SetRecordLimit(options_.sample);
  std::vector<int> treeColumns;
  for (const ColumnRef& ref : job_.tree) treeColumns.push_back(ref.column);
  stats_->SetNodeLimit(options_.maxNodes, treeColumns);
  Stats::ClearError();
  if (!stats_->Configure(&definitions_, treeFields_)) {
    return Fail(options_.jobPath, "the library refused the job: " + LibraryError::TakeText());
  }

  ProgressBar progress(stderr, !options_.quiet && isatty(STDERR_FILENO) != 0, cancel_);
  progress.SetInputSize([this] { return reader_.GetBytesRead(); }, source_.GetSize());
  const bool processed = stats_->ProcessRecords(&progress);
  progress.Clear();
  if (Cancelled()) {
    err_ << "stattree: cancelled after " << stats_->GetRecords() << " records; no report written\n";
    return App::kExitCancelled;
  }
  if (!processed) {
    if (stats_->NodeLimitReached()) {
      Stats::ClearError();
      return Fail(dataName_, "record " + std::to_string(stats_->GetRecords() + 1) +
                                 " would grow the results tree past " +
                                 std::to_string(options_.maxNodes) +
                                 " nodes (--max-nodes; one node per distinct value of a tree "
                                 "field under each parent); raise --max-nodes, or set it to 0 "
                                 "for no limit; no report written");
    }
    if (stats_->HasDataError()) {
      Stats::ClearError();
      return Fail(dataName_, stats_->GetDataError());
    }
    return Fail(dataName_, "processing failed: " + LibraryError::TakeText());
  }
  if (reader_.GetSkippedRows() > 0) {
    err_ << "stattree: warning: " << dataName_ << ": skipped " << reader_.GetSkippedRows()
         << (reader_.GetSkippedRows() == 1 ? " bad row\n" : " bad rows\n");
  }
  return App::kExitOk;
}

int Runner::Collect(Report& report) {
  report.dataName = dataName_;
  report.jobName = options_.jobPath;
  report.records = stats_->GetRecords();
  report.skippedRows = reader_.GetSkippedRows();
  for (const ColumnRef& ref : job_.tree) report.treeFields.push_back(ref.name);
  std::string error;
  if (!ReportCollector::Collect(report.root, error, *stats_, job_, recordCountName_)) {
    return Fail(dataName_, error);
  }
  report.warnings = warnings_->Warnings(report.root, report.records);
  if (!options_.quiet || options_.checkOnly) {
    for (const ReportWarning& w : report.warnings) {
      err_ << "stattree: warning: " << PrintableText::Escape(w.message) << "\n";
    }
  }
  return App::kExitOk;
}

int Runner::Fits() {
  out_ << options_.jobPath << ": fits " << dataName_ << " (" << header_.size() << " columns, "
       << job_.statistics.size() << " statistics, " << job_.tree.size()
       << (job_.tree.size() == 1 ? " tree level)\n" : " tree levels)\n");
  return App::kExitOk;
}

int Runner::WriteReport(const Report& report) {
  std::ostringstream text;
  if (options_.format == "json") {
    JsonReportWriter::Write(text, report);
  } else if (options_.format == "csv") {
    CsvReportWriter::Write(text, report);
  } else if (options_.format == "html") {
    HtmlReportWriter::Write(text, report);
  } else {
    TextReportWriter::Write(text, report);
  }
  if (options_.outputPath.empty() || options_.outputPath == "-") {
    out_ << text.str();
    out_.flush();
    if (!out_) return Fail("<stdout>", "cannot write the report");
    return App::kExitOk;
  }
  std::ofstream file(options_.outputPath, std::ios::binary | std::ios::trunc);
  if (!file) return Fail(options_.outputPath, "cannot open for writing");
  file << text.str();
  file.close();
  if (!file) return Fail(options_.outputPath, "cannot write the report");
  return App::kExitOk;
}

// A single character, or "\t" / "tab" for a tab.
bool ParseDelimiter(std::string& delimiter) {
  if (delimiter == "\\t" || delimiter == "tab") delimiter = "\t";
  return delimiter.size() == 1 && delimiter[0] != '"' && delimiter[0] != '\n' &&
         delimiter[0] != '\r';
}

}  // namespace

int App::Main(int argc, const char* const* argv) {
  Options options;
  CLI::App app("stattree: statistics over a CSV file, printed as a results tree.", "stattree");
  app.set_version_flag("--version", std::string("stattree ") + STATTREE_VERSION);
  app.require_subcommand(1);
  app.footer(kFooter);

  auto addCommon = [&options](CLI::App* command) {
    command->add_option("data", options.dataPath, "CSV file to read, or - for standard input")
        ->required();
    command->add_option("--job,-j", options.jobPath, "Job file (JSON): tree and statistics")
        ->required();
    command->add_option("--delimiter,-d", options.delimiter,
                        "Cell separator: one character, or tab (default ,)");
    command
        ->add_option("--text", options.textColumns,
                     "Columns whose cells stay text (comma-separated names)")
        ->delimiter(',');
  };
  CLI::App* run = app.add_subcommand("run", "Run a job over a CSV file and print its results tree");
  addCommon(run);
  run->add_option("--format,-f", options.format,
                  "Report format: text (default), json, csv (one row per result) or html (one "
                  "file with charts)")
      ->check(CLI::IsMember({"text", "json", "csv", "html"}));
  run->add_option("--output,-o", options.outputPath, "Write the report to FILE (default stdout)");
  run->add_flag("--skip-bad-rows", options.skipBadRows,
                "Skip and count malformed rows instead of stopping");
  run->add_flag("--quiet,-q", options.quiet,
                "No progress bar and no warnings on standard error (the report keeps them)");
  run->add_option("--max-nodes", options.maxNodes,
                  "Stop with exit code 1 before the results tree passes N nodes, each some "
                  "1-4 KiB (default " +
                      std::to_string(App::kDefaultMaxNodes) + "; 0: no limit)")
      // The library counts its nodes in an int.
      ->check(CLI::Range(0LL, static_cast<long long>(std::numeric_limits<int>::max())))
      ->option_text("N");
  CLI::App* check = app.add_subcommand(
      "check", "Check a job against a CSV file's header without processing records");
  addCommon(check);
  check
      ->add_option("--sample", options.sample,
                   "Also read the first N records and print the warnings a run would give")
      ->check(CLI::Range(0LL, std::numeric_limits<long long>::max()))
      ->option_text("N");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) {
      app.exit(e, out_, err_);
      return kExitOk;
    }
    err_ << "stattree: error: " << e.what() << "\nRun 'stattree --help' for usage.\n";
    return kExitUsage;
  }
  if (!ParseDelimiter(options.delimiter)) {
    err_ << "stattree: error: --delimiter: expected one character (or tab), other than a quote "
            "or a line break\n";
    return kExitUsage;
  }
  options.checkOnly = check->parsed();
  return Runner(options, out_, err_, cancel_).Run();
}

}  // namespace cli
}  // namespace stattree
