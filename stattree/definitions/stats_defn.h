// StatsDefn: one statistic a host wants computed.
//
// A definition names the statistic, the field it reads, its type, and up to
// three optional specs built after construction: a grouping spec (break the
// results down by the combined values of some fields), a subset spec (take
// only records whose fields hold given values) and one enumeration or
// histogram spec (the values or bins a distribution statistic counts).
//
// Ownership: the definition owns its grouping and subset criteria and its
// criteria set. "No grouping/subset spec" is a pointer to the definition's
// own embedded AlwaysPassCriteria, never null; "no distribution spec" is a
// null criteria set. Copies clone every spec object, never share it. The
// pointers handed out by the accessors stay owned by the definition and
// live until Reset, assignment or destruction.
//
// Failures are reported through TheErrorManager() (code, then the caller's
// location) and answered with false.
//
// The indexed accessors refuse an index outside
// 0..count-1 (error 11920 with "index,count" at the accessor's location)
// instead of reading out of bounds; Initialize releases the criteria objects it
// abandons; a failed grouping or subset builder releases its half-built
// criteria.
//
// Thread-safety: none; a definition is built and read on one thread.
#ifndef STATTREE_DEFINITIONS_STATS_DEFN_H_
#define STATTREE_DEFINITIONS_STATS_DEFN_H_

#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "stattree/boundary/field.h"
#include "stattree/boundary/variant.h"
#include "stattree/criteria/always_pass_criteria.h"
#include "stattree/criteria/criteria_term.h"
#include "stattree/export.h"

namespace stattree {

class Criteria;
class CriteriaSet;

class STATTREE_EXPORT StatsDefn {
 public:
  // Stored as int; any value can be cast in and is kept as given. Values
  // outside Count..EnumPercent have no type string.
  enum StatsType : int {
    Count = 0,
    CountValid = 1,
    Min = 2,
    Max = 3,
    Sum = 4,
    Average = 5,
    StdDev = 6,
    Histogram1 = 7,
    EnumCount = 8,
    EnumPercent = 9,
    InvalidType = 10,
  };

  // Empty: type InvalidType, column -1, no specs.
  StatsDefn();
  StatsDefn(const std::string& name, const Field& field, StatsType type);
  StatsDefn(const StatsDefn& other);
  // Releases this definition's specs, then deep-copies `other`'s.
  // Assigning a definition to itself does nothing. Returns nothing.
  void operator=(const StatsDefn& other);  // NOLINT(misc-unconventional-assign-operator)
  virtual ~StatsDefn();

  // Sets name, field and type (type stored unchecked) and drops every spec.
  void Initialize(const std::string& name, Field field, StatsType type);
  // Back to empty; releases every spec object.
  void Reset();

  const std::string& GetName() const { return name; }
  void GetField(Field& out) const;
  int GetFieldColNum() const { return field.colNum; }
  bool GetFieldName(std::string& out) const;
  StatsType GetType() { return type; }
  // EnumCount or EnumPercent (not Histogram1).
  bool IsEnum();
  bool IsHistogram();

  const std::string& GetGroupingName() const { return groupingName; }
  const std::string& GetSubsetName() const { return subsetName; }
  // Never null: the own always-pass criteria when there is no such spec.
  Criteria* GetGroupingCriteria() const { return groupingCriteria; }
  Criteria* GetSubsetCriteria() const { return subsetCriteria; }
  // Null when there is no enumeration or histogram spec.
  CriteriaSet* GetEnumCriteriaSet() const { return enumCriteriaSet.get(); }

  int GetGroupingFieldCount();
  int GetSubsetFieldCount();
  // Indexed accessors: false with error 11920 for an index outside
  // 0..count-1.
  bool GetGroupingField(Field& out, int index) const;
  bool GetGroupingFieldName(std::string& out, int index) const;
  bool GetSubsetField(Field& out, int index) const;
  bool GetSubsetFieldName(std::string& out, int index) const;
  bool GetSubsetFieldValue(Variant& out, int index) const;

  // "Count" .. "EnumPercent"; "" for any other value.
  static void GetTypeString(std::string& out, StatsType type);
  // `out` must hold at least 12 bytes.
  static void GetTypeString(char* out, StatsType type);
  // Exact, case-sensitive match; InvalidType for anything else.
  static StatsType GetTypeFromString(const std::string& text);

  // Spec builders. Each spec can be built once (grouping, subset, and one
  // of enumeration or histogram); the enumeration and histogram builders
  // test the field's column as it stands, so Initialize first. On failure
  // the definition is left as it was and false is returned.
  bool CreateGroupingSpec(const std::string& name, const std::vector<Field>& fields);
  bool CreateSubsetSpec(const std::string& name, const std::vector<SubsetFieldValPair>& pairs);
  // An empty list is refused; an empty set is accepted (a spec without
  // values).
  bool CreateEnumSpec(const std::vector<std::string>& values);
  bool CreateEnumSpec(const std::set<std::string>& values);
  // Bins between the given edges; `edges` is not changed.
  bool CreateHistogramSpec(std::vector<Variant>& edges, HistogramBinLogic logic);
  // binCount bins of width binWidth from lowEdge, plus one open bin below
  // and one above.
  bool CreateHistogramSpec(Variant lowEdge, Variant binWidth, int binCount);

  // Readable description, one "\r\n"-ended line per item, each starting
  // with `prefix` (null means ""). Not const, by interface.
  void DumpObject(std::ostream& os, const char* prefix);

 private:
  void CopyDataMembers(const StatsDefn& other);
  void DeleteDataMembers();
  bool HasGroupingSpec() const { return groupingCriteria != &alwaysPass; }
  bool HasSubsetSpec() const { return subsetCriteria != &alwaysPass; }
  // Shared guard of the indexed accessors.
  bool CheckIndex(int location, int index, int count) const;

  bool SpecAlreadyCreatedError(int location) const;
  bool InvalidSpecError(int location) const;
  bool InvalidIndexError(int location, int index, int count) const;
  bool InvalidColumnError(int location, int colNum) const;

  bool initialized = false;
  std::string name;
  Field field;
  StatsType type = InvalidType;
  std::string groupingName;
  std::vector<Field> groupingFields;
  Criteria* groupingCriteria = &alwaysPass;  // owned unless &alwaysPass
  std::string subsetName;
  std::vector<SubsetFieldValPair> subsetFields;
  Criteria* subsetCriteria = &alwaysPass;  // owned unless &alwaysPass
  std::unique_ptr<CriteriaSet> enumCriteriaSet;
  AlwaysPassCriteria alwaysPass;
};

}  // namespace stattree

#endif  // STATTREE_DEFINITIONS_STATS_DEFN_H_
