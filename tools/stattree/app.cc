#include "tools/stattree/app.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "stattree/stattree.h"
#include "tools/stattree/byte_source.h"
#include "tools/stattree/csv_block_reader.h"
#include "tools/stattree/csv_reader.h"
#include "tools/stattree/csv_splitter.h"
#include "tools/stattree/csv_stats.h"
#include "tools/stattree/definition_builder.h"
#include "tools/stattree/job_loader.h"
#include "tools/stattree/library_error.h"
#include "tools/stattree/node_counter.h"
#include "tools/stattree/printable_text.h"
#include "tools/stattree/progress_bar.h"
#include "tools/stattree/range_result.h"
#include "tools/stattree/report_collector.h"
#include "tools/stattree/report_csv.h"
#include "tools/stattree/report_html.h"
#include "tools/stattree/report_json.h"
#include "tools/stattree/report_text.h"
#include "tools/stattree/warning_collector.h"
#include "tools/stattree/worker_pool.h"

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

--threads N reads a CSV file in N parts at once, each in its own process,
and merges them in order: the report is that of --threads 1 but for the
last digits of sums, averages and deviations. Standard input is cut into
blocks as it arrives, up to N read at once. A file whose quoting is broken
somewhere is read by one process, and so is standard input from there on.

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
  int threads = 1;
};

// Standard input's blocks: large enough that a worker's fork and merge
// cost little beside reading the block, small enough that N of them in
// memory do not matter.
constexpr std::size_t kBlockBytes = std::size_t{8} << 20;

// STATTREE_BLOCK_BYTES, when a positive count, sets the block size instead,
// so that tests can cut small inputs into many blocks.
std::size_t BlockBytes() {
  const char* text = std::getenv("STATTREE_BLOCK_BYTES");
  if (text == nullptr || *text == '\0') return kBlockBytes;
  char* end = nullptr;
  errno = 0;
  const unsigned long long bytes = std::strtoull(text, &end, 10);
  if (*end != '\0' || errno != 0 || bytes == 0) return kBlockBytes;
  return static_cast<std::size_t>(bytes);
}

// One worker per online core, within what --threads takes.
int DefaultThreads() {
  const long cores = sysconf(_SC_NPROCESSORS_ONLN);
  if (cores < 1) return 1;
  return cores > App::kMaxThreads ? App::kMaxThreads : static_cast<int>(cores);
}

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
  // Standard input, cut into blocks for workers as it is read.
  bool StreamInBlocks() const {
    return options_.dataPath == "-" && options_.threads > 1 && !options_.checkOnly;
  }
  std::vector<int> TreeColumns() const {
    std::vector<int> columns;
    for (const ColumnRef& ref : job_.tree) columns.push_back(ref.column);
    return columns;
  }
  std::string NodeLimitMessage(long long record) const {
    return "record " + std::to_string(record) + " would grow the results tree past " +
           std::to_string(options_.maxNodes) +
           " nodes (--max-nodes; one node per distinct value of a tree field under each "
           "parent); raise --max-nodes, or set it to 0 for no limit; no report written";
  }

  // Process's answer when the ranges can't tell the outcome one reader
  // would give: the input is read again by one reader.
  static constexpr int kReadAsOne = -1;

  int Load();
  int Open();
  int Resolve();
  int Process();
  bool Split(std::vector<CsvRange>& ranges);
  int ProcessRanges(const std::vector<CsvRange>& ranges);
  RangeResult ProcessRange(const CsvRange& range, WorkerPool::Counts& counts);
  int ProcessBlocks();
  // One part of the records, read without the header from `firstLine` on,
  // unfinalized: in a worker, which publishes into `counts`, or in the
  // parent, which draws `bar`.
  RangeResult ProcessPart(ByteSource& source, long long firstLine, WorkerPool::Counts* counts,
                          ProgressBar* bar);
  int ProcessStream();
  // Null when the library refuses the job (its error is left set).
  std::unique_ptr<CsvStats> NewEngine(CsvReader& reader, CsvRecord& record,
                                      WarningCollector* warnings, bool nodeJournal = false);
  void WarnSkipped() const;
  // While workers run: passes a Ctrl-C on to them once, draws their count.
  void ShowWorkers(WorkerPool& pool, ProgressBar& progress, bool& interrupted) const;
  // The end of a run whose parts are all merged into stats_: finalized and
  // counted, or the cancel reported.
  int FinishMerged(long long records, long long skippedRows, bool cancelled);
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
  // What standard input gave while the header was read, for the blocks.
  std::string kept_;
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
  long long records_ = 0;
  long long skippedRows_ = 0;
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
  if (StreamInBlocks()) source_.Keep(&kept_);
  const CsvReader::Status status = reader_.ReadRow(header_);
  source_.Keep(nullptr);
  switch (status) {
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
  if (StreamInBlocks()) return ProcessBlocks();
  std::vector<CsvRange> ranges;
  if (Split(ranges)) {
    const int code = ProcessRanges(ranges);
    if (code != kReadAsOne) return code;
  }
  return ProcessStream();
}

std::unique_ptr<CsvStats> Runner::NewEngine(CsvReader& reader, CsvRecord& record,
                                            WarningCollector* warnings, bool nodeJournal) {
  auto stats = std::make_unique<CsvStats>(reader, record, used_, forceText_);
  stats->SetWarningCollector(warnings);
  stats->SetNodeLimit(options_.maxNodes, TreeColumns(), nodeJournal);
  Stats::ClearError();
  if (!stats->Configure(&definitions_, treeFields_)) return nullptr;
  return stats;
}

void Runner::WarnSkipped() const {
  if (skippedRows_ > 0) {
    err_ << "stattree: warning: " << dataName_ << ": skipped " << skippedRows_
         << (skippedRows_ == 1 ? " bad row\n" : " bad rows\n");
  }
}

bool Runner::Split(std::vector<CsvRange>& ranges) {
  // The header reader holds standard input's start; only a named regular
  // file can be read again.
  if (options_.checkOnly || options_.threads < 2 || options_.dataPath == "-" ||
      source_.GetSize() < 0 || Cancelled()) {
    return false;
  }
  FileSource file(cancel_);
  return file.Open(options_.dataPath) &&
         CsvSplitter::Split(ranges, file, options_.delimiter[0], options_.threads,
                            CsvReader::Options().maxCellBytes) &&
         ranges.size() > 1;
}

int Runner::ProcessRanges(const std::vector<CsvRange>& ranges) {
  warnings_ = std::make_unique<WarningCollector>(job_, header_.size());
  // The engine the ranges merge into; it reads no records itself.
  stats_ = NewEngine(reader_, *record_, nullptr);
  if (stats_ == nullptr) {
    return Fail(options_.jobPath, "the library refused the job: " + LibraryError::TakeText());
  }
  WorkerPool pool;
  const bool started =
      pool.Start(ranges.size(), [this, &ranges](std::size_t part, WorkerPool::Counts& counts) {
        return ProcessRange(ranges[part], counts).Pack();
      });
  if (!started) return kReadAsOne;

  ProgressBar progress(stderr, !options_.quiet && isatty(STDERR_FILENO) != 0, cancel_);
  const long long headerBytes = ranges.front().offset;
  progress.SetInputSize([&pool, headerBytes] { return headerBytes + pool.GetBytes(); },
                        source_.GetSize());
  bool interrupted = false;
  auto idle = [&] { ShowWorkers(pool, progress, interrupted); };
  auto fail = [&](const std::string& file, const std::string& message) {
    progress.Clear();
    return Fail(file, message);
  };
  long long records = 0;
  long long skippedRows = 0;
  bool cancelled = false;
  const long long maxNodes = options_.maxNodes;
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    std::string bytes;
    std::string error;
    if (!pool.Take(bytes, error, i, idle)) return fail(dataName_, "processing failed: " + error);
    idle();
    RangeResult result;
    if (!result.Unpack(bytes)) {
      return fail(dataName_, "processing failed: worker " + std::to_string(i + 1) +
                                 " answered in an unknown form");
    }
    records += result.records;
    skippedRows += result.skippedRows;
    cancelled = cancelled || Cancelled() || result.status == RangeResult::Status::Cancelled;
    // The rest only adds to the count of records read before the stop.
    if (cancelled) continue;
    switch (result.status) {
      case RangeResult::Status::Ok:
      case RangeResult::Status::Cancelled:
        break;
      case RangeResult::Status::NodeLimit:
        progress.Clear();
        return kReadAsOne;
      case RangeResult::Status::DataError:
        // One reader would have stopped at the node limit first if the tree
        // so far may have passed it: only that reader words it exactly.
        if (maxNodes > 0 && stats_->GetNodeCount() + result.nodes - 1 > maxNodes) {
          progress.Clear();
          return kReadAsOne;
        }
        return fail(dataName_, result.message);
      case RangeResult::Status::Failed:
        return fail(dataName_, result.message);
    }
    Stats::ClearError();
    if (!warnings_->MergeState(result.warnings, 0)) {
      return fail(dataName_, "processing failed: worker " + std::to_string(i + 1) +
                                 " sent warnings of another job");
    }
    if (!stats_->MergeResults(result.engine)) {
      return fail(dataName_, "processing failed: " + LibraryError::TakeText());
    }
    if (maxNodes > 0 && stats_->GetNodeCount() > maxNodes) {
      progress.Clear();
      return kReadAsOne;
    }
  }
  progress.Clear();
  return FinishMerged(records, skippedRows, cancelled || Cancelled());
}

int Runner::ProcessBlocks() {
  warnings_ = std::make_unique<WarningCollector>(job_, header_.size());
  // The engine the blocks merge into; it reads no records itself.
  stats_ = NewEngine(reader_, *record_, nullptr);
  if (stats_ == nullptr) {
    return Fail(options_.jobPath, "the library refused the job: " + LibraryError::TakeText());
  }
  const std::size_t keptBytes = kept_.size();
  CsvBlockReader blocks(source_, std::move(kept_), options_.delimiter[0], BlockBytes(),
                        CsvReader::Options().maxCellBytes);
  // The nodes of the blocks merged so far, as one counter over them.
  NodeCounter nodes(TreeColumns());
  const long long maxNodes = options_.maxNodes;
  WorkerPool pool;
  ProgressBar progress(stderr, !options_.quiet && isatty(STDERR_FILENO) != 0, cancel_);
  bool interrupted = false;
  auto idle = [&] { ShowWorkers(pool, progress, interrupted); };
  int code = App::kExitOk;
  auto fail = [&](const std::string& message) {
    progress.Clear();
    code = Fail(dataName_, message);
    return false;
  };
  long long records = 0;
  long long skippedRows = 0;
  bool cancelled = false;
  std::size_t parts = 0;
  // Merges the next part's result, the parts before it merged; false to
  // stop with `code`.
  auto merge = [&](const RangeResult& result) {
    const std::string worker = "worker " + std::to_string(++parts);
    const long long before = records;
    records += result.records;
    skippedRows += result.skippedRows;
    cancelled = cancelled || Cancelled() || result.status == RangeResult::Status::Cancelled;
    // The rest only adds to the count of records read before the stop.
    if (cancelled) return true;
    if (maxNodes > 0 && result.status != RangeResult::Status::Failed) {
      long long passedAt = -1;
      if (!nodes.MergeJournal(result.nodeJournal, maxNodes, passedAt)) {
        return fail("processing failed: " + worker + " answered in an unknown form");
      }
      // One reader stops there, before any fault further on.
      if (passedAt >= 0) return fail(NodeLimitMessage(before + passedAt + 1));
    }
    switch (result.status) {
      case RangeResult::Status::Ok:
      case RangeResult::Status::Cancelled:
        break;
      case RangeResult::Status::NodeLimit:
        return fail(NodeLimitMessage(before + result.records + 1));
      case RangeResult::Status::DataError:
      case RangeResult::Status::Failed:
        return fail(result.message);
    }
    Stats::ClearError();
    if (!warnings_->MergeState(result.warnings, 0)) {
      return fail("processing failed: " + worker + " sent warnings of another job");
    }
    if (!stats_->MergeResults(result.engine)) {
      return fail("processing failed: " + LibraryError::TakeText());
    }
    return true;
  };
  std::size_t taken = 0;
  auto takeNext = [&] {
    std::string bytes;
    std::string error;
    if (!pool.Take(bytes, error, taken++, idle)) return fail("processing failed: " + error);
    idle();
    RangeResult result;
    if (!result.Unpack(bytes)) {
      return fail("processing failed: worker " + std::to_string(parts + 1) +
                  " answered in an unknown form");
    }
    return merge(result);
  };
  auto takeAll = [&] {
    while (taken < pool.GetStarted()) {
      if (!takeNext()) return false;
    }
    return true;
  };
  // A part the parent reads itself, once every earlier one is merged.
  auto readHere = [&](ByteSource& source, long long firstLine) {
    if (!takeAll()) return false;
    progress.ContinueFrom(records);
    return merge(ProcessPart(source, firstLine, nullptr, &progress));
  };

  const auto inFlight = static_cast<std::size_t>(options_.threads);
  CsvBlock block;
  auto status = CsvBlockReader::Status::Block;
  bool sized = false;
  while (!Cancelled() && (status = blocks.Next(block)) == CsvBlockReader::Status::Block &&
         !Cancelled()) {
    if (!sized) {
      // Known for standard input from a file; the header is read.
      sized = true;
      const long long headerBytes = block.offset;
      progress.SetInputSize([&pool, headerBytes] { return headerBytes + pool.GetBytes(); },
                            source_.GetSize());
    }
    while (pool.GetStarted() - taken >= inFlight) {
      if (!takeNext()) return code;
    }
    const bool started = pool.Add([this, &block](std::size_t, WorkerPool::Counts& counts) {
      MemorySource source(block.bytes.Data(), block.bytes.Size());
      return ProcessPart(source, block.firstLine, &counts, nullptr).Pack();
    });
    if (!started) {
      // No process to be had: the parent reads the block itself.
      MemorySource source(block.bytes.Data(), block.bytes.Size());
      if (!readHere(source, block.firstLine)) return code;
    }
    // The worker has its own copy.
    block.bytes.Release();
    idle();
  }
  if (!Cancelled() && status == CsvBlockReader::Status::Rest) {
    long long offset = 0;
    long long firstLine = 1;
    std::string rest = blocks.TakePending(offset, firstLine);
    if (offset == 0) {
      // Nothing was cut: the header's reader goes on alone, as with one
      // thread.
      progress.Clear();
      source_.PutBack(rest.substr(keptBytes));
      return ProcessStream();
    }
    // From the last cut on, the stream is read as one part, here.
    source_.PutBack(std::move(rest));
    if (!readHere(source_, firstLine)) return code;
  }
  if (Cancelled()) idle();
  if (!takeAll()) return code;
  progress.Clear();
  return FinishMerged(records, skippedRows, cancelled || Cancelled());
}

void Runner::ShowWorkers(WorkerPool& pool, ProgressBar& progress, bool& interrupted) const {
  if (Cancelled() && !interrupted) {
    interrupted = true;
    pool.Interrupt();
  }
  progress.Show(pool.GetRecords());
}

int Runner::FinishMerged(long long records, long long skippedRows, bool cancelled) {
  if (cancelled) {
    err_ << "stattree: cancelled after " << records << " records; no report written\n";
    return App::kExitCancelled;
  }
  Stats::ClearError();
  if (!stats_->Finalize()) return Fail(dataName_, "processing failed: " + LibraryError::TakeText());
  records_ = records;
  skippedRows_ = skippedRows;
  WarnSkipped();
  return App::kExitOk;
}

// Runs in a worker process.
RangeResult Runner::ProcessRange(const CsvRange& range, WorkerPool::Counts& counts) {
  FileSource source;
  if (!source.OpenRange(options_.dataPath, range.offset, range.length)) {
    RangeResult result;
    result.status = RangeResult::Status::Failed;
    result.message = "cannot open: " + source.GetError();
    return result;
  }
  return ProcessPart(source, range.firstLine, &counts, nullptr);
}

RangeResult Runner::ProcessPart(ByteSource& source, long long firstLine, WorkerPool::Counts* counts,
                                ProgressBar* bar) {
  RangeResult result;
  result.status = RangeResult::Status::Failed;
  CsvReader::Options readerOptions = ReaderOptions(options_);
  readerOptions.headerCells = static_cast<long long>(header_.size());
  readerOptions.firstLine = firstLine;
  CsvReader reader(source, readerOptions);
  CsvRecord record(header_.size());
  WarningCollector warnings(job_, header_.size());
  std::unique_ptr<CsvStats> stats = NewEngine(reader, record, &warnings, /*nodeJournal=*/true);
  if (stats == nullptr) {
    result.message = "processing failed: " + LibraryError::TakeText();
    return result;
  }
  WorkerPool::Counts unused;
  WorkerPool::Progress published(counts != nullptr ? *counts : unused,
                                 [&reader] { return reader.GetBytesRead(); });
  ProgressManager& progress = bar != nullptr ? static_cast<ProgressManager&>(*bar) : published;
  const bool processed = stats->ProcessRecords(&progress, /*finalize=*/false);
  result.records = stats->GetRecords();
  result.skippedRows = reader.GetSkippedRows();
  result.nodes = stats->GetCountedNodes();
  result.nodeJournal = stats->SaveNodeJournal();
  if (progress.IsCanceled()) {
    result.status = RangeResult::Status::Cancelled;
  } else if (!processed && stats->NodeLimitReached()) {
    result.status = RangeResult::Status::NodeLimit;
  } else if (!processed && stats->HasDataError()) {
    result.status = RangeResult::Status::DataError;
    result.message = stats->GetDataError();
  } else if (!processed || !stats->SaveResults(result.engine)) {
    result.message = "processing failed: " + LibraryError::TakeText();
  } else {
    result.status = RangeResult::Status::Ok;
    result.warnings = warnings.SaveState();
  }
  return result;
}

int Runner::ProcessStream() {
  // A second reading starts afresh; the engine goes first, as it borrows
  // the definitions.
  stats_.reset();
  warnings_ = std::make_unique<WarningCollector>(job_, header_.size());
  stats_ = NewEngine(reader_, *record_, warnings_.get());
  if (stats_ == nullptr) {
    return Fail(options_.jobPath, "the library refused the job: " + LibraryError::TakeText());
  }
  if (options_.checkOnly) stats_->SetRecordLimit(options_.sample);

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
      return Fail(dataName_, NodeLimitMessage(stats_->GetRecords() + 1));
    }
    if (stats_->HasDataError()) {
      Stats::ClearError();
      return Fail(dataName_, stats_->GetDataError());
    }
    return Fail(dataName_, "processing failed: " + LibraryError::TakeText());
  }
  records_ = stats_->GetRecords();
  skippedRows_ = reader_.GetSkippedRows();
  WarnSkipped();
  return App::kExitOk;
}

int Runner::Collect(Report& report) {
  report.dataName = dataName_;
  report.jobName = options_.jobPath;
  report.records = records_;
  report.skippedRows = skippedRows_;
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
  options.threads = DefaultThreads();
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
  run->add_option("--threads", options.threads,
                  "Read a CSV file in N parts at once, one process each (default: the machine's "
                  "cores, here " +
                      std::to_string(options.threads) + "; at most " + std::to_string(kMaxThreads) +
                      "; standard input in blocks, N at once)")
      ->check(CLI::Range(1, kMaxThreads))
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
