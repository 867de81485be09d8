#include "stattree/results/node_results.h"

#include "stattree/boundary/binary_reader.h"
#include "stattree/boundary/binary_writer.h"
#include "stattree/boundary/error_reporting.h"
#include "stattree/definitions/stats_defn.h"

namespace stattree {

namespace {

constexpr int kNoSubsetCriteriaCode = 11030;
constexpr int kLocNewSubsetDefn = 11040;
constexpr int kLocKnownSubsetDefn = 11050;
constexpr int kLocSubsetRecord = 11060;

}  // namespace

NodeResults::NodeResults() = default;

NodeResults::NodeResults(const NodeResults& other) { CopyDataMembers(other); }

NodeResults& NodeResults::operator=(const NodeResults& other) {
  if (this != &other) CopyDataMembers(other);
  return *this;
}

NodeResults::~NodeResults() = default;

void NodeResults::CopyDataMembers(const NodeResults& other) { subsets = other.subsets; }

bool NodeResults::AddNewStatsDefn(const StatsDefn& defn) {
  const std::string& name = defn.GetSubsetName();
  if (SubsetResults* known = subsets.Find(name)) {
    // The subset keeps the criteria of the definition that brought it.
    if (!known->AddNewStatsDefn(defn)) return DumpLocation(kLocKnownSubsetDefn);
    return true;
  }
  SubsetResults subset;
  Criteria* subsetCriteria = defn.GetSubsetCriteria();
  if (subsetCriteria == nullptr) return SetErrorCode(kNoSubsetCriteriaCode);
  subset.ConfigureCriteria(subsetCriteria);
  if (!subset.AddNewStatsDefn(defn)) return DumpLocation(kLocNewSubsetDefn);
  subsets.Add(name, subset);
  return true;
}

bool NodeResults::ProcessRecord(const StatsRecord& record) {
  for (auto& entry : subsets) {
    if (!entry.second.ProcessRecord(record)) return DumpLocation(kLocSubsetRecord);
  }
  return true;
}

void NodeResults::Finalize() {
  for (auto& entry : subsets) entry.second.Finalize();
}

void NodeResults::DetachFromDefinitions(DefinitionCopies& copies) {
  for (auto& entry : subsets) entry.second.DetachFromDefinitions(copies);
}

void NodeResults::ClearResults() { subsets.Clear(); }

SubsetResults* NodeResults::GetSubsetResults(const std::string& name) const {
  // The owner hands out its results for the engine's cursor to read.
  return const_cast<SubsetResults*>(subsets.Find(name));
}

void NodeResults::DumpObject(std::ostream& os, const std::map<std::string, StatsDefn>& defns) {
  for (auto& entry : subsets) {
    os << "    Subset: " << (entry.first.empty() ? "all records" : entry.first) << "\r\n";
    entry.second.DumpObject(os, defns);
  }
}

// ---------------------------------------------------------------------------
// Partial results

bool NodeResults::MergeFrom(const NodeResults& later) {
  if (subsets.size() != later.subsets.size()) return false;
  auto other = later.subsets.begin();
  for (auto& entry : subsets) {
    if (entry.first != other->first || !entry.second.MergeFrom(other->second)) return false;
    ++other;
  }
  return true;
}

void NodeResults::SaveResults(BinaryWriter& out) const {
  out.Count(subsets.size());
  for (const auto& entry : subsets) entry.second.SaveResults(out);
}

bool NodeResults::LoadResults(BinaryReader& in) {
  std::size_t count = 0;
  if (!in.Count(count, 1) || count != subsets.size()) return in.Fail();
  for (auto& entry : subsets) {
    if (!entry.second.LoadResults(in)) return false;
  }
  return true;
}

}  // namespace stattree
