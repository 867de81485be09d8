// The cursor and the queries of Stats: the moves through the results tree
// and every read of the node or statistic under the cursor.
#include <optional>

#include "stattree/boundary/error_reporting.h"
#include "stattree/engine/stats.h"
#include "stattree/results/grouping_results.h"
#include "stattree/results/stats_set.h"
#include "stattree/results/subset_results.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {
namespace {

// Codes set directly by the queries.
constexpr int kNoDefinitionsMapCode = 10490;
constexpr int kUnknownStatsNameCode = 10500;
constexpr int kNotEnumCode = 10560;
constexpr int kTotalsNotEnumCode = 10566;
constexpr int kNullChildCode = 10145;  // no row in the table

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
constexpr int kLocEnumObjectMissing = 10550;

// Where a statistic's result object is looked up, and the locations the
// look-up reports: a combination's set or the grouping's totals.
struct ResultObjectSite {
  int state;
  int set;
  int missing;
};
constexpr ResultObjectSite kComboObject{10520, 10530, 10540};
constexpr ResultObjectSite kTotalsObject{10562, 10563, 10564};

// The host's map is const, but a few definition accessors are not; none of
// them modifies the definition.
StatsDefn* Mutable(const StatsDefn* definition) { return const_cast<StatsDefn*>(definition); }

// Null, with `notEnumCode` set, when the statistic is not an enumeration.
EnumResult* AsEnum(StatsResult* result, int notEnumCode) {
  auto* enumResult = result->IsEnum() ? dynamic_cast<EnumResult*>(result) : nullptr;
  if (enumResult == nullptr) SetErrorCode(notEnumCode);
  return enumResult;
}

}  // namespace

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
  if (!CheckAtNode(kLocParentState)) return false;
  if (currentNode == nullptr) return NullTreeNodeError(kLocParentNode);
  TreeNode* parent = currentNode->GetParent();
  if (parent == nullptr) return NullTreeNodeError(kLocParentMissing);
  ClearCurrentResultsPointer();
  currentNode = parent;
  SetState(AtTreeNode);
  return true;
}

bool Stats::MoveToChild(int childIndex) {
  if (!CheckAtNode(kLocChildState)) return false;
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
  if (!CheckAtNode(kLocStatsResultState)) return false;
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
  if (!CheckAtNode(kLocChildCountState)) return 0;
  if (currentNode == nullptr) {
    NullTreeNodeError(kLocChildCountNode);
    return 0;
  }
  return currentNode->GetChildCount();
}

bool Stats::GetChildName(std::string& name, int childIndex) const {
  if (!CheckAtNode(kLocChildNameState)) return false;
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
  if (!CheckAtNode(kLocNodeNameState)) return false;
  if (currentNode == nullptr || !currentNode->GetName(name)) {
    return DumpLocation(kLocNodeNameFailed);
  }
  return true;
}

bool Stats::GetNodeField(std::string& fieldName) const {
  if (!CheckAtNode(kLocNodeFieldState)) return false;
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
  if (!CheckAtResult(kLocRecordsState)) return 0;
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  return set != nullptr ? set->GetRecordsProcessed() : 0;
}

int Stats::GetTotalGroupingRecordsProcessed() const {
  if (!CheckAtResult(kLocTotalRecordsState)) return 0;
  const StatsSet* totals = currentGroupingResults->GetTotalsStatsSet();
  return totals != nullptr ? totals->GetRecordsProcessed() : 0;
}

bool Stats::GetResult(Variant& result, int comboIndex) const {
  if (!CheckAtResult(kLocResultState)) return false;
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  if (set == nullptr) return DumpLocation(kLocResultCombo);
  if (!set->GetResult(result, currentStatsName)) return DumpLocation(kLocResultValue);
  return true;
}

bool Stats::GetGroupingTotal(Variant& result) const {
  if (!CheckAtResult(kLocTotalState)) return false;
  const StatsSet* totals = currentGroupingResults->GetTotalsStatsSet();
  if (totals == nullptr) return DumpLocation(kLocTotalSet);
  if (!totals->GetResult(result, currentStatsName)) return DumpLocation(kLocTotalValue);
  return true;
}

int Stats::GetGroupingValueCount() const {
  if (!CheckAtResult(kLocValueCountState)) return 0;
  return currentGroupingResults->GetGroupingsCount();
}

bool Stats::GetGroupingValueCombo(std::vector<std::string>& values, int comboIndex) const {
  if (!CheckAtResult(kLocComboState)) return false;
  const StatsSet* set = currentGroupingResults->GetGroupingStatsSet(comboIndex);
  if (set == nullptr) return DumpLocation(kLocComboSet);
  if (!set->GetCriteriaText(values)) return DumpLocation(kLocComboTexts);
  return true;
}

bool Stats::GetGroupingValue(std::string& value, int comboIndex, int fieldIndex) const {
  if (!CheckAtResult(kLocValueState)) return false;
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
  if (!CheckAtResult(kLocCurrentDefnState)) return nullptr;
  return GetStatsDefn(currentStatsName);
}

StatsResult* Stats::GetStatsResultObject(std::optional<int> comboIndex) const {
  const ResultObjectSite& site = comboIndex ? kComboObject : kTotalsObject;
  if (!CheckAtResult(site.state)) return nullptr;
  const StatsSet* set = comboIndex ? currentGroupingResults->GetGroupingStatsSet(*comboIndex)
                                   : currentGroupingResults->GetTotalsStatsSet();
  if (set == nullptr) {
    DumpLocation(site.set);
    return nullptr;
  }
  StatsResult* result = set->GetStatsResult(currentStatsName);
  if (result == nullptr) DumpLocation(site.missing);
  return result;
}

EnumResult* Stats::GetEnumResultsObject(int comboIndex) const {
  StatsResult* result = GetStatsResultObject(comboIndex);
  if (result == nullptr) {
    DumpLocation(kLocEnumObjectMissing);
    return nullptr;
  }
  return AsEnum(result, kNotEnumCode);
}

EnumResult* Stats::GetEnumTotalsObject() const {
  StatsResult* result = GetStatsResultObject(std::nullopt);
  if (result == nullptr) return nullptr;
  return AsEnum(result, kTotalsNotEnumCode);
}

// ---------------------------------------------------------------------------
// Guards

bool Stats::CheckAtNode(int location) const {
  if (StateIsNot(AtTreeNode) && StateIsNot(AtStatsResult)) return WrongStateError(location);
  return true;
}

bool Stats::CheckAtResult(int location) const {
  if (StateIsNot(AtStatsResult) || currentGroupingResults == nullptr) {
    return WrongStateError(location);
  }
  return true;
}

}  // namespace stattree
