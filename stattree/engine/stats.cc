#include "stattree/engine/stats.h"

#include <new>
#include <optional>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/error_table.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/results/definition_copies.h"
#include "stattree/results/grouping_results.h"
#include "stattree/results/stats_set.h"
#include "stattree/results/subset_results.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {
namespace {

// Codes set directly by the engine.
constexpr int kNoDefinitionsCode = 10020;
constexpr int kWrongStateCode = 10075;
constexpr int kIndexCode = 10105;
constexpr int kNullRecordCode = 10440;
constexpr int kNoDefinitionsMapCode = 10490;
constexpr int kUnknownStatsNameCode = 10500;
constexpr int kNotEnumCode = 10560;
constexpr int kTotalsNotEnumCode = 10566;
constexpr int kNullTreeNodeCode = 10570;
constexpr int kNullChildCode = 10145;  // no row in the table

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

// Cursor and node queries.
constexpr int kLocRootState = 10080;
constexpr int kLocChildCountNode = 10084;
constexpr int kLocChildCountState = 10085;
constexpr int kLocParentState = 10090;
constexpr int kLocParentNode = 10095;
constexpr int kLocParentMissing = 10096;
constexpr int kLocChildState = 10100;
constexpr int kLocChildErrorSet = 10102;
constexpr int kLocChildIndex = 10104;
constexpr int kLocChildNode = 10106;
constexpr int kLocChildNotFound = 10107;
constexpr int kLocChildNull = 10108;
constexpr int kLocChildNameState = 10120;
constexpr int kLocChildNameIndex = 10130;
constexpr int kLocChildNameNotFound = 10140;
constexpr int kLocChildNameFailed = 10150;
constexpr int kLocNodeFieldState = 10154;
constexpr int kLocNodeFieldFailed = 10156;
constexpr int kLocNodeNameState = 10160;
constexpr int kLocNodeNameFailed = 10165;
constexpr int kLocStatsResultState = 10170;
constexpr int kLocStatsResultName = 10180;
constexpr int kLocStatsResultSubset = 10190;
constexpr int kLocStatsResultGrouping = 10200;

// Result queries.
constexpr int kLocRecordsState = 10210;
constexpr int kLocTotalRecordsState = 10215;
constexpr int kLocResultState = 10220;
constexpr int kLocResultCombo = 10230;
constexpr int kLocResultValue = 10235;
constexpr int kLocTotalState = 10236;
constexpr int kLocTotalSet = 10237;
constexpr int kLocTotalValue = 10238;
constexpr int kLocEnumValueCount = 10240;
constexpr int kLocEnumResult = 10250;
constexpr int kLocEnumTotal = 10252;
constexpr int kLocIsEnum = 10255;
constexpr int kLocFindEnumResult = 10258;
constexpr int kLocFindEnumIndex = 10259;
constexpr int kLocEnumTextResult = 10260;
constexpr int kLocEnumTextFailed = 10262;
constexpr int kLocEnumValueResult = 10263;
constexpr int kLocEnumValueFailed = 10264;
constexpr int kLocValueCountState = 10265;
constexpr int kLocComboState = 10270;
constexpr int kLocComboSet = 10280;
constexpr int kLocComboTexts = 10290;
constexpr int kLocValueState = 10300;
constexpr int kLocValueSet = 10310;
constexpr int kLocValueTexts = 10320;
constexpr int kLocValueIndex = 10330;
constexpr int kLocGroupingFieldDefn = 10335;
constexpr int kLocGroupingFieldFailed = 10340;
constexpr int kLocGroupingCountDefn = 10350;
constexpr int kLocGroupingCountZero = 10355;
constexpr int kLocSubsetFieldDefn = 10360;
constexpr int kLocSubsetFieldFailed = 10365;
constexpr int kLocSubsetValueDefn = 10370;
constexpr int kLocSubsetValueFailed = 10375;
constexpr int kLocSubsetCountDefn = 10380;
constexpr int kLocSubsetCountZero = 10385;
constexpr int kLocStatsFieldDefn = 10390;
constexpr int kLocStatsTypeDefn = 10395;

// Private look-ups.
constexpr int kLocCurrentDefnState = 10510;
constexpr int kLocResultObjectState = 10520;
constexpr int kLocResultObjectSet = 10530;
constexpr int kLocResultObjectMissing = 10540;
constexpr int kLocEnumObjectMissing = 10550;
constexpr int kLocEnumTotalsState = 10562;
constexpr int kLocEnumTotalsSet = 10563;
constexpr int kLocEnumTotalsMissing = 10564;

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

// The host's map is const, but a few definition accessors are not; none of
// them modifies the definition.
StatsDefn* Mutable(const StatsDefn* definition) { return const_cast<StatsDefn*>(definition); }

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
// Cursor

void Stats::ClearCurrentResultsPointer() {
  if (StateIsNot(AtStatsResult)) return;
  currentStatsName.clear();
  currentGroupingResults = nullptr;
  SetState(AtTreeNode);
}

bool Stats::MoveToRootNode() {
  if (StateIsNot(ProcessingDone) && StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) {
    return WrongStateError(kLocRootState);
  }
  ClearCurrentResultsPointer();
  currentNode = &root;
  SetState(AtTreeNode);
  return true;
}

bool Stats::MoveToParent() {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) return WrongStateError(kLocParentState);
  if (currentNode == nullptr) return NullTreeNodeError(kLocParentNode);
  TreeNode* parent = currentNode->GetParent();
  if (parent == nullptr) return NullTreeNodeError(kLocParentMissing);
  ClearCurrentResultsPointer();
  currentNode = parent;
  SetState(AtTreeNode);
  return true;
}

bool Stats::MoveToChild(int childIndex) {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) return WrongStateError(kLocChildState);
  const int n = GetChildCount();
  // Kept: any error still set, also one left from an earlier call, fails
  // the move.
  if (IsErrorSet()) return DumpLocation(kLocChildErrorSet);
  if (n < 1 || childIndex < 0 || childIndex >= n) {
    return InvalidIndexError(kLocChildIndex, childIndex, n);
  }
  if (currentNode == nullptr) return NullTreeNodeError(kLocChildNode);
  TreeNode* child = nullptr;
  if (!currentNode->GetChild(child, childIndex)) return DumpLocation(kLocChildNotFound);
  if (child == nullptr) return NullTreeNodeError(kLocChildNull);
  ClearCurrentResultsPointer();
  currentNode = child;
  SetState(AtTreeNode);
  return true;
}

bool Stats::MoveToStatsResult(const std::string& name) {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) {
    return WrongStateError(kLocStatsResultState);
  }
  const StatsDefn* definition = GetStatsDefn(name);
  if (definition == nullptr) return DumpLocation(kLocStatsResultName);
  if (currentNode == nullptr) return NullTreeNodeError(kLocStatsResultSubset);
  const SubsetResults* subset = currentNode->GetSubsetResults(definition->GetSubsetName());
  if (subset == nullptr) return DumpLocation(kLocStatsResultSubset);
  GroupingResults* grouping = subset->GetGroupingResults(definition->GetGroupingName());
  if (grouping == nullptr) return DumpLocation(kLocStatsResultGrouping);
  currentStatsName = name;
  currentGroupingResults = grouping;
  SetState(AtStatsResult);
  return true;
}

// ---------------------------------------------------------------------------
// Node queries

int Stats::GetChildCount() const {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) {
    WrongStateError(kLocChildCountState);
    return 0;
  }
  if (currentNode == nullptr) {
    NullTreeNodeError(kLocChildCountNode);
    return 0;
  }
  return currentNode->GetChildCount();
}

bool Stats::GetChildName(std::string& name, int childIndex) const {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) {
    return WrongStateError(kLocChildNameState);
  }
  const int n = GetChildCount();
  if (n >= 0 && childIndex >= 0 && childIndex < n) {
    TreeNode* child = nullptr;
    if (!currentNode->GetChild(child, childIndex)) return DumpLocation(kLocChildNameNotFound);
    if (child == nullptr) return SetErrorCode(kNullChildCode);
    if (!child->GetName(name)) return DumpLocation(kLocChildNameFailed);
    return true;
  }
  return InvalidIndexError(kLocChildNameIndex, childIndex, n);
}

bool Stats::GetNodeName(std::string& name) const {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) {
    return WrongStateError(kLocNodeNameState);
  }
  if (currentNode == nullptr || !currentNode->GetName(name)) {
    return DumpLocation(kLocNodeNameFailed);
  }
  return true;
}

bool Stats::GetNodeField(std::string& fieldName) const {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) {
    return WrongStateError(kLocNodeFieldState);
  }
  Field field;
  if (currentNode == nullptr || !currentNode->GetField(field)) {
    return DumpLocation(kLocNodeFieldFailed);
  }
  fieldName = field.name;
  return true;
}

// ---------------------------------------------------------------------------
// Result queries

int Stats::GetRecordsProcessed(int comboIndex) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    WrongStateError(kLocRecordsState);
    return 0;
  }
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  return set != nullptr ? set->GetRecordsProcessed() : 0;
}

int Stats::GetTotalGroupingRecordsProcessed() const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    WrongStateError(kLocTotalRecordsState);
    return 0;
  }
  const StatsSet* totals = currentGroupingResults->GetTotalsStatsSet();
  return totals != nullptr ? totals->GetRecordsProcessed() : 0;
}

bool Stats::GetResult(Variant& result, int comboIndex) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    return WrongStateError(kLocResultState);
  }
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  if (set == nullptr) return DumpLocation(kLocResultCombo);
  if (!set->GetResult(result, currentStatsName)) return DumpLocation(kLocResultValue);
  return true;
}

bool Stats::GetGroupingTotal(Variant& result) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    return WrongStateError(kLocTotalState);
  }
  const StatsSet* totals = currentGroupingResults->GetTotalsStatsSet();
  if (totals == nullptr) return DumpLocation(kLocTotalSet);
  if (!totals->GetResult(result, currentStatsName)) return DumpLocation(kLocTotalValue);
  return true;
}

int Stats::GetGroupingValueCount() const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    WrongStateError(kLocValueCountState);
    return 0;
  }
  return currentGroupingResults->GetGroupingsCount();
}

bool Stats::GetGroupingValueCombo(std::vector<std::string>& values, int comboIndex) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    return WrongStateError(kLocComboState);
  }
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  if (set == nullptr) return DumpLocation(kLocComboSet);
  if (!set->GetCriteriaText(values)) return DumpLocation(kLocComboTexts);
  return true;
}

bool Stats::GetGroupingValue(std::string& value, int comboIndex, int fieldIndex) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    return WrongStateError(kLocValueState);
  }
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  if (set == nullptr) return DumpLocation(kLocValueSet);
  std::vector<std::string> texts;
  if (!set->GetCriteriaText(texts)) return DumpLocation(kLocValueTexts);
  const int count = static_cast<int>(texts.size());
  if (fieldIndex < 0 || fieldIndex >= count) {
    return InvalidIndexError(kLocValueIndex, fieldIndex, count);
  }
  value = texts[static_cast<size_t>(fieldIndex)];
  return true;
}

// The definition queries have no state check of their own: the look-up
// reports the wrong state and the query adds its location.
bool Stats::GetGroupingField(std::string& fieldName, int fieldIndex) const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) return DumpLocation(kLocGroupingFieldDefn);
  if (!definition->GetGroupingFieldName(fieldName, fieldIndex)) {
    return DumpLocation(kLocGroupingFieldFailed);
  }
  return true;
}

int Stats::GetGroupingFieldCount() const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) {
    DumpLocation(kLocGroupingCountDefn);
    return 0;
  }
  const int count = Mutable(definition)->GetGroupingFieldCount();
  if (count == 0 && IsErrorSet()) DumpLocation(kLocGroupingCountZero);
  return count;
}

bool Stats::GetSubsetField(std::string& fieldName, int fieldIndex) const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) return DumpLocation(kLocSubsetFieldDefn);
  if (!definition->GetSubsetFieldName(fieldName, fieldIndex)) {
    return DumpLocation(kLocSubsetFieldFailed);
  }
  return true;
}

bool Stats::GetSubsetFieldValue(Variant& value, int fieldIndex) const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) return DumpLocation(kLocSubsetValueDefn);
  if (!definition->GetSubsetFieldValue(value, fieldIndex)) {
    return DumpLocation(kLocSubsetValueFailed);
  }
  return true;
}

int Stats::GetSubsetFieldCount() const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) {
    DumpLocation(kLocSubsetCountDefn);
    return 0;
  }
  const int count = Mutable(definition)->GetSubsetFieldCount();
  if (count == 0 && IsErrorSet()) DumpLocation(kLocSubsetCountZero);
  return count;
}

bool Stats::GetCurrentStatsField(std::string& fieldName) const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) return DumpLocation(kLocStatsFieldDefn);
  return definition->GetFieldName(fieldName);
}

bool Stats::GetCurrentStatsType(std::string& typeName) const {
  const StatsDefn* definition = GetCurrentStatsDefn();
  if (definition == nullptr) return DumpLocation(kLocStatsTypeDefn);
  StatsDefn::GetTypeString(typeName, Mutable(definition)->GetType());
  return true;
}

// ---------------------------------------------------------------------------
// Enumeration queries

bool Stats::IsEnum() const {
  // Combination 0 answers for every combination.
  StatsResult* result = GetStatsResultObject(0);
  if (result == nullptr) return DumpLocation(kLocIsEnum);
  return result->IsEnum();
}

bool Stats::GetEnumValueCount(int& count, int comboIndex) const {
  EnumResult* result = GetEnumResultsObject(comboIndex);
  if (result == nullptr) return DumpLocation(kLocEnumValueCount);
  count = result->GetEnumValueCount();
  return true;
}

bool Stats::GetEnumResult(Variant& result, int valueIndex, int comboIndex) const {
  EnumResult* enumResult = GetEnumResultsObject(comboIndex);
  if (enumResult == nullptr) return DumpLocation(kLocEnumResult);
  return enumResult->GetEnumResult(result, valueIndex);
}

bool Stats::GetEnumGroupingTotal(Variant& result, int valueIndex) const {
  EnumResult* totals = GetEnumTotalsObject();
  if (totals == nullptr) return DumpLocation(kLocEnumTotal);
  return totals->GetEnumResult(result, valueIndex);
}

int Stats::FindEnumIndex(const std::string& valueText) const {
  EnumResult* result = GetEnumResultsObject(0);
  if (result == nullptr) {
    DumpLocation(kLocFindEnumResult);
    return -1;
  }
  const int index = result->FindEnumIndex(valueText);
  if (index == -1 && IsErrorSet()) DumpLocation(kLocFindEnumIndex);
  return index;
}

bool Stats::GetEnumValue(std::string& text, int valueIndex, int comboIndex,
                         bool withOperator) const {
  EnumResult* result = GetEnumResultsObject(comboIndex);
  if (result == nullptr) return DumpLocation(kLocEnumTextResult);
  if (!result->GetEnumValue(text, valueIndex, withOperator)) {
    return DumpLocation(kLocEnumTextFailed);
  }
  return true;
}

bool Stats::GetEnumValue(Variant& value, int valueIndex, int comboIndex) const {
  EnumResult* result = GetEnumResultsObject(comboIndex);
  if (result == nullptr) return DumpLocation(kLocEnumValueResult);
  if (!result->GetEnumValue(value, valueIndex)) return DumpLocation(kLocEnumValueFailed);
  return true;
}

// ---------------------------------------------------------------------------
// Private look-ups

const StatsDefn* Stats::GetStatsDefn(const std::string& name) const {
  if (definitions == nullptr) {
    SetErrorCode(kNoDefinitionsMapCode);
    return nullptr;
  }
  const auto found = definitions->find(name);
  if (found == definitions->end()) {
    TheErrorManager().Set(kUnknownStatsNameCode, name);
    return nullptr;
  }
  return &found->second;
}

const StatsDefn* Stats::GetCurrentStatsDefn() const {
  if (StateIsNot(AtStatsResult)) {
    WrongStateError(kLocCurrentDefnState);
    return nullptr;
  }
  return GetStatsDefn(currentStatsName);
}

StatsResult* Stats::GetStatsResultObject(int comboIndex) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    WrongStateError(kLocResultObjectState);
    return nullptr;
  }
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  if (set == nullptr) {
    DumpLocation(kLocResultObjectSet);
    return nullptr;
  }
  StatsResult* result = set->GetStatsResult(currentStatsName);
  if (result == nullptr) DumpLocation(kLocResultObjectMissing);
  return result;
}

EnumResult* Stats::GetEnumResultsObject(int comboIndex) const {
  StatsResult* result = GetStatsResultObject(comboIndex);
  if (result == nullptr) {
    DumpLocation(kLocEnumObjectMissing);
    return nullptr;
  }
  auto* enumResult = result->IsEnum() ? dynamic_cast<EnumResult*>(result) : nullptr;
  if (enumResult == nullptr) SetErrorCode(kNotEnumCode);
  return enumResult;
}

EnumResult* Stats::GetEnumTotalsObject() const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    WrongStateError(kLocEnumTotalsState);
    return nullptr;
  }
  const StatsSet* totals = currentGroupingResults->GetTotalsStatsSet();
  if (totals == nullptr) {
    DumpLocation(kLocEnumTotalsSet);
    return nullptr;
  }
  StatsResult* result = totals->GetStatsResult(currentStatsName);
  if (result == nullptr) {
    DumpLocation(kLocEnumTotalsMissing);
    return nullptr;
  }
  auto* enumResult = result->IsEnum() ? dynamic_cast<EnumResult*>(result) : nullptr;
  if (enumResult == nullptr) SetErrorCode(kTotalsNotEnumCode);
  return enumResult;
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
