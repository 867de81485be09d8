#include "stattree/engine/stats.h"

#include <new>
#include <optional>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/error_table.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/results/definition_copies.h"

namespace stattree {
namespace {

// Codes set directly by the engine.
constexpr int kNoDefinitionsCode = 10020;
constexpr int kWrongStateCode = 10075;
constexpr int kIndexCode = 10105;
constexpr int kNullRecordCode = 10440;
constexpr int kNullTreeNodeCode = 10570;

// Lifecycle and record loop.
constexpr int kLocResetDuringRun = 10005;
constexpr int kLocConfigureState = 10010;
constexpr int kLocConfigureDefinitions = 10030;
constexpr int kLocConfigureMemory = 10035;
constexpr int kLocProcessState = 10040;
constexpr int kLocNoFirstRecord = 10050;
constexpr int kLocProcessRecord = 10060;
constexpr int kLocRecordsEnded = 10065;
constexpr int kLocFinalize = 10070;
constexpr int kLocProcessMemory = 10075;
constexpr int kLocDefinitionsState = 10400;
constexpr int kLocAddDefinition = 10410;
constexpr int kLocNodeProcess = 10420;
constexpr int kLocCreateChild = 10430;
constexpr int kLocChildField = 10450;
constexpr int kLocChildCriteria = 10455;
constexpr int kLocTreeNodeField = 10460;
constexpr int kLocFinalizeChild = 10470;
constexpr int kLocFinalizeRecursion = 10480;
constexpr int kLocCountChild = 10485;
constexpr int kLocCountRecursion = 10487;
constexpr int kLocNodeCount = 10167;

const char kRootFieldName[] = "Root";

// Marks a run for its whole extent; an exception of the host's own that
// leaves the run still ends it.
class RunScope {
 public:
  RunScope(bool& running, Stats::RunOutcome& outcome) : running_(running), outcome_(outcome) {
    running_ = true;
    outcome_ = Stats::RunOutcome::UnderWay;
  }
  RunScope(const RunScope&) = delete;
  RunScope& operator=(const RunScope&) = delete;
  ~RunScope() {
    running_ = false;
    if (outcome_ == Stats::RunOutcome::UnderWay) outcome_ = Stats::RunOutcome::FailedWithoutError;
  }

 private:
  bool& running_;
  Stats::RunOutcome& outcome_;
};

}  // namespace

const ErrorInfo (&Stats::sErrorInfoTable)[kErrorTableRows] = kErrorTable;

Stats::Stats(StatsRecord* record) : record(record) { Reset(); }

Stats::Stats(const Stats& other)
    : record(other.record),
      definitions(other.definitions),
      treeFields(other.treeFields),
      root(other.root),
      prototypeResults(other.prototypeResults),
      currentNode(other.currentNode),
      currentStatsName(other.currentStatsName),
      currentGroupingResults(other.currentGroupingResults),
      state(other.state),
      recordCaching(other.recordCaching),
      lastRunOutcome(other.lastRunOutcome != RunOutcome::UnderWay ? other.lastRunOutcome
                                                                  : RunOutcome::NoRun) {}

Stats::~Stats() = default;

// ---------------------------------------------------------------------------
// Lifecycle and record loop

void Stats::Reset() {
  if (running) {
    resetRefused = true;
    WrongStateError(kLocResetDuringRun);
    return;
  }
  // The kept nodes stop borrowing from the definitions: the host may free
  // its map now.
  DefinitionCopies copies;
  root.DetachFromDefinitions(copies);
  definitions = nullptr;
  currentNode = nullptr;
  currentGroupingResults = nullptr;
  currentStatsName.clear();
  prototypeResults.ClearResults();
  SetState(NotConfigured);
  lastRunOutcome = RunOutcome::NoRun;
}

bool Stats::Configure(const std::map<std::string, StatsDefn>* definitionsMap,
                      const std::vector<Field>& fields) {
  if (StateIsNot(NotConfigured)) return WrongStateError(kLocConfigureState);
  try {
    treeFields.push_back(Field{kRootFieldName, -1});
    treeFields.insert(treeFields.end(), fields.begin(), fields.end());
    if (definitionsMap == nullptr) return SetErrorCode(kNoDefinitionsCode);
    definitions = definitionsMap;
    // Kept: the result is ignored, so a reconfigured engine carries the
    // 11070 of its existing root criteria into the record loop's checks.
    root.CreateCriteriaForAllRecords();
    root.SetField(Field{kRootFieldName, -1});
    SetState(Configured);
    if (!ProcessStatsDefinitions()) return DumpLocation(kLocConfigureDefinitions);
    root.InitializeResults(prototypeResults);
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocConfigureMemory);
  }
}

bool Stats::ProcessStatsDefinitions() {
  if (StateIsNot(Configured)) return WrongStateError(kLocDefinitionsState);
  for (const auto& entry : *definitions) {
    if (!prototypeResults.AddNewStatsDefn(entry.second)) return DumpLocation(kLocAddDefinition);
  }
  SetState(DefinitionsProcessed);
  return true;
}

bool Stats::ProcessRecords(ProgressManager* progress) {
  // While a run is under way the state still reads DefinitionsProcessed; a
  // nested run would rebuild what the outer loop is walking.
  if (running || StateIsNot(DefinitionsProcessed)) return WrongStateError(kLocProcessState);
  RunScope scope(running, lastRunOutcome);
  resetRefused = false;
  bool cancelled = false;
  const bool done = RunRecords(progress, cancelled);
  if (done) {
    lastRunOutcome = RunOutcome::Completed;
  } else if (cancelled) {
    lastRunOutcome = RunOutcome::Cancelled;
  } else {
    lastRunOutcome = IsErrorSet() ? RunOutcome::FailedWithError : RunOutcome::FailedWithoutError;
  }
  return done;
}

bool Stats::RunRecords(ProgressManager* progress, bool& cancelled) {
  if (!MoveToFirstRecord()) {
    if (IsErrorSet()) return DumpLocation(kLocNoFirstRecord);
    if (finalizeRun) SetState(ProcessingDone);
    return true;
  }
  try {
    const int total = GetRecordCount();
    if (progress != nullptr) progress->StartNewTask(total);
    std::optional<RecordCache> cache;
    if (record != nullptr) cache.emplace(*record, recordCaching);
    const StatsRecord* source = cache ? &*cache : nullptr;
    do {
      if (cache) cache->NextRecord();
      if (!ProcessRecordRecursively(source, &root, 0)) return DumpLocation(kLocProcessRecord);
      if (progress != nullptr) {
        if (progress->IsCanceled()) {
          cancelled = true;
          return false;
        }
        progress->IncrementProgress(1);
      }
    } while (MoveToNextRecord());
    // A host's record source reports a read failure by leaving an error set.
    // A Reset refused during the run fails it even if the host cleared the
    // error since.
    if (IsErrorSet() || resetRefused) return DumpLocation(kLocRecordsEnded);
    if (progress != nullptr) {
      progress->TaskDone();
      if (resetRefused) return DumpLocation(kLocRecordsEnded);
    }
    if (!finalizeRun) return true;
    // An allocation failure from here on leaves the state at Finalizing: the
    // nodes are partly finalized, so neither navigation nor another run may
    // follow; Reset still starts over.
    SetState(Finalizing);
    if (!FinalizeRecursively(&root)) return DumpLocation(kLocFinalize);
    SetState(ProcessingDone);
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocProcessMemory);
  }
}

bool Stats::ProcessRecordRecursively(const StatsRecord* source, TreeNode* node, int depth) {
  // One path per record: each level accumulates, then descends into the
  // child for the record's value of the next level's field.
  while (node != nullptr) {
    if (!node->ProcessRecord(source)) return DumpLocation(kLocNodeProcess);
    if (depth == GetTreeDepth()) return true;
    TreeNode* child = nullptr;
    bool created = false;
    if (!node->CreateChild(child, created, source)) return DumpLocation(kLocCreateChild);
    if (created) {
      if (source == nullptr) return SetErrorCode(kNullRecordCode);
      Field field;
      if (!GetTreeNodeField(field, depth + 1)) return DumpLocation(kLocChildField);
      child->SetField(field);
      if (!child->CreateCriteria(field.colNum, *source)) return DumpLocation(kLocChildCriteria);
      // An empty node holds no statistics; the descent goes on through it.
      if (!child->EmptyNode()) child->InitializeResults(prototypeResults);
    }
    node = child;
    ++depth;
  }
  return true;
}

int Stats::GetTreeDepth() const { return static_cast<int>(treeFields.size()) - 1; }

bool Stats::GetTreeNodeField(Field& field, int level) const {
  if (level >= 0 && level <= GetTreeDepth()) {
    field = treeFields[static_cast<size_t>(level)];
    return true;
  }
  field = Field{};
  // The bound is the deepest valid level, not a count.
  return InvalidIndexError(kLocTreeNodeField, level, GetTreeDepth());
}

bool Stats::FinalizeRecursively(TreeNode* node) {
  if (node == nullptr) return true;
  node->Finalize();
  const int n = node->GetChildCount();
  for (int i = 0; i < n; ++i) {
    TreeNode* child = nullptr;
    node->GetChild(child, i);
    if (child == nullptr) return DumpLocation(kLocFinalizeChild);
    if (!FinalizeRecursively(child)) return DumpLocation(kLocFinalizeRecursion);
  }
  return true;
}

int Stats::GetNodeCount() {
  int count = 0;
  NodeCountRecursively(&root, count);
  if (IsErrorSet()) DumpLocation(kLocNodeCount);
  return count;
}

void Stats::NodeCountRecursively(TreeNode* node, int& count) {
  if (node == nullptr) return;
  ++count;
  const int n = node->GetChildCount();
  for (int i = 0; i < n; ++i) {
    TreeNode* child = nullptr;
    node->GetChild(child, i);
    if (child == nullptr) {
      DumpLocation(kLocCountChild);
      return;
    }
    NodeCountRecursively(child, count);
    if (IsErrorSet()) {
      DumpLocation(kLocCountRecursion);
      return;
    }
  }
}

// ---------------------------------------------------------------------------
// Errors

bool Stats::WrongStateError(int location) const {
  TheErrorManager().Set(kWrongStateCode, static_cast<int>(state));
  return DumpLocation(location);
}

bool Stats::InvalidIndexError(int location, int index, int bound) const {
  return IndexError(kIndexCode, location, index, bound);
}

bool Stats::NullTreeNodeError(int location) const {
  SetErrorCode(kNullTreeNodeCode);
  return DumpLocation(location);
}

void Stats::InitError(std::ofstream* stream) { TheErrorManager().Init(stream); }

bool Stats::IsErrorSet() { return TheErrorManager().IsErrorSet(); }

bool Stats::GetError(int& code, int& second, std::string& message, bool& flag) {
  return TheErrorManager().Get(code, second, message, flag);
}

void Stats::SetError(int code, int second, const std::string& message, bool flag) {
  TheErrorManager().Set(code, second, message, flag, false);
}

void Stats::ClearError() { TheErrorManager().Clear(); }

std::string Stats::GetErrorDetail() { return TheErrorManager().GetDetail(); }

std::vector<int> Stats::GetErrorLocations() { return TheErrorManager().GetLocations(); }

}  // namespace stattree
