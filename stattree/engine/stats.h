// Stats: the engine. A host derives from it, implements the three
// record-source operations, configures it with named statistic
// definitions and tree fields, runs ProcessRecords, then walks the results
// tree with the cursor and reads results.
//
// Calling order: construct with the host's StatsRecord; optionally
// InitError; Configure(&definitions, treeFields); ProcessRecords(progress);
// MoveToRootNode / MoveToChild / MoveToParent / MoveToStatsResult and the
// queries; Reset to start over.
//
// Ownership: Stats owns its tree fields, the whole tree and its prototype
// results. It borrows the host's record and the host's definitions map,
// which the host keeps alive and unchanged while the engine uses them.
// Node pointers stay valid while the tree grows (children are held through
// owning pointers), so the cursor never dangles.
//
// Errors: every failure is stored in the one process-wide error manager
// (a code, then the location of every operation it passed through) and the
// operation answers false, null, 0 or -1. Errors stay set until ClearError;
// several operations consult IsErrorSet, so clear before an operation whose
// outcome you want to judge. Configure and ProcessRecords report an
// allocation failure as 10001; other operations let std::bad_alloc through,
// leaving the engine usable and leaking nothing.
//
// Re-entrance: while ProcessRecords runs, the host's callbacks (the record
// source, StatsRecord, ProgressManager) may call back into the engine.
// Every call that would change it (ProcessRecords, Configure, Reset, the
// cursor moves) is refused with 10075 at its own location and changes
// nothing; a refused Reset also makes the run end with false. Queries
// answer or refuse.
//
// Thread-safety: none. The error manager is shared by every engine in the
// process; a host using engines on several threads serialises every call.
#ifndef STATTREE_ENGINE_STATS_H_
#define STATTREE_ENGINE_STATS_H_

#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "stattree/boundary/error_info.h"
#include "stattree/boundary/field.h"
#include "stattree/boundary/progress_manager.h"
#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/export.h"
#include "stattree/results/node_results.h"
#include "stattree/results/tree_node.h"

namespace stattree {

class BinaryReader;
class BinaryWriter;
class EnumResult;
class GroupingResults;
class StatsResult;

class STATTREE_EXPORT Stats {
 public:
  enum StatsState : int {
    NotConfigured = 0,
    Configured = 1,
    DefinitionsProcessed = 2,
    Finalizing = 3,
    ProcessingDone = 4,
    AtTreeNode = 5,
    AtStatsResult = 6,
  };

  // The library's error rows (40: 39 rows and a terminating row of code 0).
  static const ErrorInfo (&sErrorInfoTable)[kErrorTableRows];

  explicit Stats(StatsRecord* record);
  // Shares the record and the definitions with `other` and deep-copies the
  // tree. The cursor is copied as it is: navigate a copy only after
  // MoveToRootNode.
  Stats(const Stats& other);
  Stats& operator=(const Stats&) = delete;
  virtual ~Stats();

  // Record source, implemented by the host; called only from ProcessRecords.
  // On a read failure the host sets an error (e.g. SetError) and answers
  // false.
  virtual bool MoveToFirstRecord() = 0;
  virtual bool MoveToNextRecord() = 0;
  // Only used as the progress total.
  virtual int GetRecordCount() = 0;

  // Ends navigation and forgets the definitions. The tree fields and the
  // root's nodes are kept on purpose: configuring again appends the fields
  // once more, and the root's criteria then reports 11070. The kept nodes
  // take copies of the subset criteria and enumeration criteria sets they
  // borrowed from the earlier definitions (one copy per borrowed object),
  // so the host may free the earlier map once Reset returns. During a
  // run, Reset is refused (10075 at 10005) and the run ends with false.
  void Reset();
  // `definitions` is borrowed: keep it alive and unchanged until the next
  // Reset or the engine's destruction (copies of the engine borrow it too).
  bool Configure(const std::map<std::string, StatsDefn>* definitions,
                 const std::vector<Field>& treeFields);
  // Cancelling through `progress` returns false without setting an error;
  // the records so far stay accumulated and a later call adds on top.
  // An allocation failure fails the run with 10001 at 10075; during
  // finalization it leaves the state at Finalizing, where navigation is
  // refused and only Reset leads on.
  bool ProcessRecords(ProgressManager* progress = nullptr);

  // Partial results (stats_merge.cc). Engines that processed consecutive
  // ranges of one record stream, merged in order into the first, hold what
  // one engine holds over the whole stream; finalize once at the end.
  //
  // With `finalize` false the run is that of ProcessRecords, but its
  // records stay unfinalized: on success the state stays
  // DefinitionsProcessed (with or without records), so a further run adds
  // on top, and Merge, SaveResults and Finalize apply. With true it is
  // ProcessRecords.
  bool ProcessRecords(ProgressManager* progress, bool finalize);
  // DefinitionsProcessed -> ProcessingDone through Finalizing: finalizes
  // every visible node as a run's end does. Wrong state: 10075 at 10571; a
  // node that fails: 10574 (the state stays Finalizing).
  bool Finalize();
  // Takes in `later`'s unfinalized results as if its records had come after
  // this engine's: the same tree, children in first-seen order (ours, then
  // later's new ones in its order); the same combinations, each keeping
  // its first-seen grouping values; counts, Min and Max (ties keep ours),
  // enumeration and histogram counts, N/A counts and percentages exact;
  // Sum, Average and StdDev within rounding, their sums being added in
  // another order (integer sums exact). `later` is not changed.
  // Both engines unfinalized (DefinitionsProcessed), not running, and
  // configured with the same tree fields and equal definitions (the same
  // map, or maps whose definitions dump alike). Checked before anything
  // changes; a refusal changes nothing:
  //   this engine's state: 10075 at 10576;
  //   `later` finalized, in another state, running, or this engine: 10582
  //   at 10577;
  //   other definitions or tree fields: 10580 at 10579;
  //   an error already set: its code stays, location 10581.
  // An allocation failure (10001 at 10584) may leave the merge half done.
  bool Merge(const Stats& later);
  // The unfinalized results in a portable binary form: versioned, with a
  // checksum and a digest of the definitions and tree fields, independent
  // of the host's pointers and byte order. Needs DefinitionsProcessed
  // (10075 at 10586). `out` is replaced.
  bool SaveResults(std::string& out) const;
  // Merges results that SaveResults wrote, as Merge does. Refused as Merge
  // refuses (10075 at 10589; an error set, 10590), and, changing nothing:
  //   truncated, corrupted or not such results: 10585 at 10591;
  //   another format version: 10587 at 10591;
  //   saved with other definitions or tree fields: 10588 at 10591.
  // An allocation failure: 10001 at 10593.
  bool MergeResults(const std::string& in);

  // How the last run that got under way ended; a refused ProcessRecords is
  // no run and changes nothing. It tells apart the false answers that leave
  // no error set: a cancel, and a failed host read whose GetError declined
  // to describe it (its locations are recorded all the same).
  enum class RunOutcome : int {
    NoRun = 0,               // none since construction or Reset
    UnderWay = 1,            // asked from a callback of the run
    Completed = 2,           // ProcessRecords answered true
    Cancelled = 3,           // the progress reporter cancelled
    FailedWithError = 4,     // false, an error is set
    FailedWithoutError = 5,  // false, no error set: an undescribed read
                             // failure, a refused Reset whose error the
                             // host cleared, or an exception of the host's
  };
  RunOutcome GetLastRunOutcome() const { return lastRunOutcome; }

  // Record caching, on by default: during ProcessRecords each column of a
  // record is read through GetValue at most once, and the value is shared
  // by every criteria and statistic that reads it. A failed read is never
  // kept, so each reader still reports it with its own location and asks
  // GetError as it would uncached. Exact for every host whose record does
  // not change between its record moves; turn it off for a record whose
  // reads have side effects, to get one GetValue per reader (this also
  // turns off the lookup of children and grouping combinations by value,
  // which reads a record's value once instead of once per candidate).
  void SetRecordCaching(bool enabled) { recordCaching = enabled; }
  bool GetRecordCaching() const { return recordCaching; }

  // Visible nodes: the root and every non-empty node. Works in any state.
  int GetNodeCount();
  bool StateIs(StatsState value) const { return state == value; }
  bool StateIsNot(StatsState value) const { return state != value; }

  // Cursor.
  bool MoveToRootNode();
  bool MoveToParent();
  bool MoveToChild(int childIndex);
  bool MoveToStatsResult(const std::string& name);

  // Node queries.
  int GetChildCount() const;
  bool GetChildName(std::string& name, int childIndex) const;
  bool GetNodeName(std::string& name) const;
  bool GetNodeField(std::string& fieldName) const;

  // Result queries: need a selected statistic (AtStatsResult).
  int GetRecordsProcessed(int comboIndex) const;
  int GetTotalGroupingRecordsProcessed() const;
  bool GetResult(Variant& result, int comboIndex) const;
  bool GetGroupingTotal(Variant& result) const;
  int GetGroupingValueCount() const;
  bool GetGroupingValueCombo(std::vector<std::string>& values, int comboIndex) const;
  bool GetGroupingValue(std::string& value, int comboIndex, int fieldIndex) const;
  bool GetGroupingField(std::string& fieldName, int fieldIndex) const;
  int GetGroupingFieldCount() const;
  bool GetSubsetField(std::string& fieldName, int fieldIndex) const;
  bool GetSubsetFieldValue(Variant& value, int fieldIndex) const;
  int GetSubsetFieldCount() const;
  bool GetCurrentStatsField(std::string& fieldName) const;
  bool GetCurrentStatsType(std::string& typeName) const;

  // Enumeration queries (EnumCount, EnumPercent, Histogram1).
  bool IsEnum() const;
  bool GetEnumValueCount(int& count, int comboIndex) const;
  bool GetEnumResult(Variant& result, int valueIndex, int comboIndex) const;
  bool GetEnumGroupingTotal(Variant& result, int valueIndex) const;
  int FindEnumIndex(const std::string& valueText) const;
  bool GetEnumValue(std::string& text, int valueIndex, int comboIndex, bool withOperator) const;
  bool GetEnumValue(Variant& value, int valueIndex, int comboIndex) const;

  // The process-wide error manager, for hosts.
  static void InitError(std::ofstream* stream);
  static bool IsErrorSet();
  static bool GetError(int& code, int& second, std::string& message, bool& flag);
  static void SetError(int code, int second, const std::string& message, bool flag);
  static void ClearError();
  // The integer or text detail of the current error ("" when none).
  static std::string GetErrorDetail();
  // Locations recorded since the last Set or ClearError, oldest first.
  static std::vector<int> GetErrorLocations();

 private:
  void SetState(StatsState value) { state = value; }
  bool ProcessStatsDefinitions();
  bool ProcessRecordRecursively(const StatsRecord* source, TreeNode* node, int depth);
  bool RunRecords(ProgressManager* progress, bool& cancelled);
  bool FinalizeRecursively(TreeNode* node);
  void NodeCountRecursively(TreeNode* node, int& count);
  int GetTreeDepth() const;
  bool GetTreeNodeField(Field& field, int level) const;
  // Partial results (stats_merge.cc).
  bool MergeNode(TreeNode& into, const TreeNode& later, int depth);
  bool LoadNode(TreeNode& node, BinaryReader& in, int depth);
  void SaveNode(const TreeNode& node, BinaryWriter& out) const;
  bool SameConfiguration(const Stats& other) const;
  // The tree fields and every definition's dump, in name order.
  std::string ConfigurationText() const;

  void ClearCurrentResultsPointer();
  const StatsDefn* GetStatsDefn(const std::string& name) const;
  const StatsDefn* GetCurrentStatsDefn() const;
  // The grouping's totals when `comboIndex` is empty.
  StatsResult* GetStatsResultObject(std::optional<int> comboIndex) const;
  EnumResult* GetEnumResultsObject(int comboIndex) const;
  EnumResult* GetEnumTotalsObject() const;

  // The cursor's preconditions: at a node (a statistic selected or not),
  // or at a statistic. Each reports the wrong state at `location`.
  bool CheckAtNode(int location) const;
  bool CheckAtResult(int location) const;
  bool WrongStateError(int location) const;
  bool InvalidIndexError(int location, int index, int bound) const;
  bool NullTreeNodeError(int location) const;

  StatsRecord* record;
  const std::map<std::string, StatsDefn>* definitions = nullptr;
  std::vector<Field> treeFields;
  TreeNode root;
  NodeResults prototypeResults;
  TreeNode* currentNode = nullptr;
  std::string currentStatsName;
  GroupingResults* currentGroupingResults = nullptr;
  StatsState state = NotConfigured;
  bool recordCaching = true;
  // Set for the whole of ProcessRecords, exceptions included.
  bool running = false;
  bool resetRefused = false;
  // False while a run is to leave its records unfinalized.
  bool finalizeRun = true;
  RunOutcome lastRunOutcome = RunOutcome::NoRun;
};

}  // namespace stattree

#endif  // STATTREE_ENGINE_STATS_H_
