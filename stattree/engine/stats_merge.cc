// Stats: partial results. Runs that leave their records unfinalized, the
// merging of engines over consecutive ranges of one record stream, and the
// binary form in which partial results cross processes and machines.
//
// A merged node, child or combination is found or made by the same code
// that places a record (TreeNode::CreateChild, GroupingResults' lookup),
// handed the stored values as a record: what a record of those values would
// have met is what the merge meets.
#include <cstdint>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

#include "stattree/boundary/binary_reader.h"
#include "stattree/boundary/binary_writer.h"
#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/value_record.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/engine/stats.h"

namespace stattree {
namespace {

// Codes, set with their own messages (the error table keeps its rows).
constexpr int kMismatchCode = 10580;
constexpr int kNotMergeableCode = 10582;
constexpr int kCorruptCode = 10585;
constexpr int kVersionCode = 10587;
constexpr int kForeignCode = 10588;

constexpr int kLocFinalizeState = 10571;
constexpr int kLocFinalizeNodes = 10574;
constexpr int kLocMergeState = 10576;
constexpr int kLocMergeLater = 10577;
constexpr int kLocMergeMismatch = 10579;
constexpr int kLocMergeErrorSet = 10581;
constexpr int kLocMergeNodes = 10583;
constexpr int kLocMergeMemory = 10584;
constexpr int kLocSaveState = 10586;
constexpr int kLocLoadState = 10589;
constexpr int kLocLoadErrorSet = 10590;
constexpr int kLocLoadInput = 10591;
constexpr int kLocLoadMerge = 10592;
constexpr int kLocLoadMemory = 10593;

constexpr int kSecondValue = 90000;

const char* MessageOf(int code) {
  switch (code) {
    case kMismatchCode:
      return "Stats engines to merge differ in definitions or tree fields";
    case kNotMergeableCode:
      return "Stats engine to merge is finalized, busy or the same engine";
    case kCorruptCode:
      return "Partial results are truncated or corrupted";
    case kVersionCode:
      return "Partial results are of another format version";
    case kForeignCode:
      return "Partial results were made with other definitions or tree fields";
    default:
      return "";
  }
}

bool MergeError(int code, int location) {
  TheErrorManager().Set(code, kSecondValue, MessageOf(code), true, false);
  return DumpLocation(location);
}

// Header: magic, version, payload length, payload checksum.
constexpr std::string_view kMagic = "STPR";
constexpr std::uint32_t kFormatVersion = 1;
constexpr std::size_t kHeaderSize = 4 + 4 + 8 + 8;

// Restores the run's finalizing whatever way the run ends.
class KeepUnfinalized {
 public:
  explicit KeepUnfinalized(bool& flag) : flag_(flag) { flag_ = false; }
  KeepUnfinalized(const KeepUnfinalized&) = delete;
  KeepUnfinalized& operator=(const KeepUnfinalized&) = delete;
  ~KeepUnfinalized() { flag_ = true; }

 private:
  bool& flag_;
};

}  // namespace

bool Stats::ProcessRecords(ProgressManager* progress, bool finalize) {
  // A nested call is refused by ProcessRecords; it must not touch the
  // outer run's setting.
  if (finalize || running) return ProcessRecords(progress);
  KeepUnfinalized scope(finalizeRun);
  return ProcessRecords(progress);
}

bool Stats::Finalize() {
  if (running || StateIsNot(DefinitionsProcessed)) return WrongStateError(kLocFinalizeState);
  SetState(Finalizing);
  if (!FinalizeRecursively(&root)) return DumpLocation(kLocFinalizeNodes);
  SetState(ProcessingDone);
  return true;
}

bool Stats::Merge(const Stats& later) {
  if (running || StateIsNot(DefinitionsProcessed)) return WrongStateError(kLocMergeState);
  if (&later == this || later.running || later.StateIsNot(DefinitionsProcessed)) {
    return MergeError(kNotMergeableCode, kLocMergeLater);
  }
  if (!SameConfiguration(later)) return MergeError(kMismatchCode, kLocMergeMismatch);
  // Kept from the record loop: a child lookup fails on an error left set.
  if (IsErrorSet()) return DumpLocation(kLocMergeErrorSet);
  try {
    if (!MergeNode(root, later.root, 0)) return DumpLocation(kLocMergeNodes);
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocMergeMemory);
  }
  return true;
}

bool Stats::SameConfiguration(const Stats& other) const {
  if (treeFields.size() != other.treeFields.size()) return false;
  for (std::size_t i = 0; i < treeFields.size(); ++i) {
    if (treeFields[i].name != other.treeFields[i].name ||
        treeFields[i].colNum != other.treeFields[i].colNum) {
      return false;
    }
  }
  if (definitions == other.definitions) return true;
  return ConfigurationText() == other.ConfigurationText();
}

std::string Stats::ConfigurationText() const {
  std::ostringstream text;
  for (const Field& field : treeFields) text << field.name << '\0' << field.colNum << '\n';
  if (definitions != nullptr) {
    for (const auto& entry : *definitions) {
      text << entry.first << '\0';
      // The dump is not const by interface; it changes nothing.
      const_cast<StatsDefn&>(entry.second).DumpObject(text, nullptr);
    }
  }
  return text.str();
}

bool Stats::MergeNode(TreeNode& into, const TreeNode& later, int depth) {
  if (!into.GetNodeResults().MergeFrom(later.GetNodeResults())) {
    return MergeError(kMismatchCode, kLocMergeNodes);
  }
  if (depth >= GetTreeDepth() || later.GetCreatedChildCount() == 0) return true;
  Field field;
  if (!GetTreeNodeField(field, depth + 1)) return false;
  ValueRecord values;
  for (std::size_t i = 0; i < later.GetCreatedChildCount(); ++i) {
    const TreeNode& from = later.GetCreatedChild(i);
    CriteriaTerm term;
    // A child left without criteria by a failed run takes no record.
    if (!from.GetValueTerm(term)) continue;
    values.Clear();
    values.Add(field.colNum, term.value);
    TreeNode* child = nullptr;
    bool created = false;
    if (!into.CreateChild(child, created, &values)) return false;
    if (created) {
      child->SetField(field);
      if (!child->CreateCriteria(field.colNum, values)) return false;
      if (!child->EmptyNode()) child->InitializeResults(prototypeResults);
    }
    if (!MergeNode(*child, from, depth + 1)) return false;
  }
  return true;
}

bool Stats::SaveResults(std::string& out) const {
  if (running || StateIsNot(DefinitionsProcessed)) return WrongStateError(kLocSaveState);
  std::string bytes;
  BinaryWriter writer(bytes);
  writer.Raw(kMagic);
  writer.U32(kFormatVersion);
  writer.U64(0);
  writer.U64(0);
  writer.U64(BinaryWriter::Checksum(ConfigurationText()));
  SaveNode(root, writer);
  const std::string_view payload = std::string_view(bytes).substr(kHeaderSize);
  writer.PatchU64(8, payload.size());
  writer.PatchU64(16, BinaryWriter::Checksum(payload));
  out.swap(bytes);
  return true;
}

void Stats::SaveNode(const TreeNode& node, BinaryWriter& out) const {
  node.GetNodeResults().SaveResults(out);
  std::size_t count = 0;
  CriteriaTerm term;
  for (std::size_t i = 0; i < node.GetCreatedChildCount(); ++i) {
    if (node.GetCreatedChild(i).GetValueTerm(term)) ++count;
  }
  out.Count(count);
  for (std::size_t i = 0; i < node.GetCreatedChildCount(); ++i) {
    const TreeNode& child = node.GetCreatedChild(i);
    if (!child.GetValueTerm(term)) continue;
    out.Value(term.value);
    SaveNode(child, out);
  }
}

bool Stats::MergeResults(const std::string& in) {
  if (running || StateIsNot(DefinitionsProcessed)) return WrongStateError(kLocLoadState);
  if (IsErrorSet()) return DumpLocation(kLocLoadErrorSet);
  BinaryReader header(in);
  std::string_view magic;
  std::uint32_t version = 0;
  std::uint64_t length = 0;
  std::uint64_t checksum = 0;
  if (!header.Bytes(magic, kMagic.size()) || magic != kMagic || !header.U32(version)) {
    return MergeError(kCorruptCode, kLocLoadInput);
  }
  if (version != kFormatVersion) return MergeError(kVersionCode, kLocLoadInput);
  if (!header.U64(length) || !header.U64(checksum) || length != header.Remaining()) {
    return MergeError(kCorruptCode, kLocLoadInput);
  }
  const std::string_view payload = std::string_view(in).substr(kHeaderSize);
  if (BinaryWriter::Checksum(payload) != checksum) return MergeError(kCorruptCode, kLocLoadInput);
  BinaryReader reader(payload);
  std::uint64_t digest = 0;
  if (!reader.U64(digest)) return MergeError(kCorruptCode, kLocLoadInput);
  if (digest != BinaryWriter::Checksum(ConfigurationText()))
    return MergeError(kForeignCode, kLocLoadInput);
  try {
    // Read completely into a tree of its own first: bad input changes nothing.
    TreeNode loaded;
    loaded.CreateCriteriaForAllRecords();
    loaded.SetField(treeFields.front());
    loaded.InitializeResults(prototypeResults);
    if (!LoadNode(loaded, reader, 0) || !reader.AtEnd()) {
      return MergeError(kCorruptCode, kLocLoadInput);
    }
    if (!MergeNode(root, loaded, 0)) return DumpLocation(kLocLoadMerge);
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocLoadMemory);
  }
  return true;
}

bool Stats::LoadNode(TreeNode& node, BinaryReader& in, int depth) {
  if (!node.GetNodeResults().LoadResults(in)) return false;
  // A child takes at least its value's tag and its own child count.
  std::size_t count = 0;
  if (!in.Count(count, 5)) return false;
  if (count == 0) return true;
  Field field;
  if (depth >= GetTreeDepth() || !GetTreeNodeField(field, depth + 1)) return in.Fail();
  ValueRecord values;
  Variant value;
  for (std::size_t i = 0; i < count; ++i) {
    if (!in.Value(value)) return false;
    values.Clear();
    values.Add(field.colNum, value);
    TreeNode* child = nullptr;
    bool created = false;
    // Two children of one value are never saved.
    if (!node.CreateChild(child, created, &values) || !created) return in.Fail();
    child->SetField(field);
    if (!child->CreateCriteria(field.colNum, values)) return in.Fail();
    if (!child->EmptyNode()) child->InitializeResults(prototypeResults);
    if (!LoadNode(*child, in, depth + 1)) return false;
  }
  return true;
}

}  // namespace stattree
