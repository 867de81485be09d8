// The builders of a definition's grouping, subset and distribution specs.
#include <memory>
#include <new>
#include <utility>

#include "stattree/boundary/error_reporting.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/criteria/multiple_criteria.h"
#include "stattree/definitions/stats_defn.h"

namespace stattree {

namespace {

constexpr int kLocGroupingAlreadyThere = 11600;
constexpr int kLocGroupingNoFields = 11610;
constexpr int kLocGroupingNoColumn = 11615;
constexpr int kLocGroupingOutOfMemory = 11617;

constexpr int kLocSubsetAlreadyThere = 11620;
constexpr int kLocSubsetNoPairs = 11630;
constexpr int kLocSubsetNoColumn = 11635;
constexpr int kLocSubsetOutOfMemory = 11637;

constexpr int kLocEnumListAlreadyThere = 11640;
constexpr int kLocEnumListNoValues = 11650;
constexpr int kLocEnumListRefused = 11660;
constexpr int kLocEnumListOutOfMemory = 11665;

constexpr int kLocEnumSetAlreadyThere = 11670;
constexpr int kLocEnumSetRefused = 11690;
constexpr int kLocEnumSetOutOfMemory = 11695;

constexpr int kLocHistogramEdgesAlreadyThere = 11700;
constexpr int kLocHistogramEdgesNone = 11710;
constexpr int kLocHistogramEdgesRefused = 11720;
constexpr int kLocHistogramEdgesOutOfMemory = 11725;

constexpr int kLocHistogramRangeAlreadyThere = 11730;
constexpr int kLocHistogramRangeNoBins = 11740;
constexpr int kLocHistogramRangeRefused = 11750;
constexpr int kLocHistogramRangeOutOfMemory = 11755;

CriteriaTerm EqualTerm(int column) {
  CriteriaTerm term;
  term.column = column;
  term.op = Equal;
  return term;
}

}  // namespace

bool StatsDefn::CreateGroupingSpec(const std::string& name, const std::vector<Field>& fields) {
  if (HasGroupingSpec()) return SpecAlreadyCreatedError(kLocGroupingAlreadyThere);
  if (fields.empty()) return InvalidSpecError(kLocGroupingNoFields);
  try {
    auto criteria = std::make_unique<MultipleCriteria>();
    for (const Field& groupingField : fields) {
      if (groupingField.colNum == -1) return InvalidColumnError(kLocGroupingNoColumn, -1);
      // The values stay empty: each combination takes them from its first
      // record.
      criteria->AddNewCriteria(EqualTerm(groupingField.colNum));
    }
    // Copied before anything is stored so that a failed copy stores nothing.
    std::string newName = name;
    std::vector<Field> newFields = fields;
    groupingName = std::move(newName);
    groupingFields = std::move(newFields);
    groupingCriteria = criteria.release();
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocGroupingOutOfMemory);
  }
}

bool StatsDefn::CreateSubsetSpec(const std::string& name,
                                 const std::vector<SubsetFieldValPair>& pairs) {
  if (HasSubsetSpec()) return SpecAlreadyCreatedError(kLocSubsetAlreadyThere);
  if (pairs.empty()) return InvalidSpecError(kLocSubsetNoPairs);
  try {
    auto criteria = std::make_unique<MultipleCriteria>();
    for (const SubsetFieldValPair& pair : pairs) {
      if (pair.field.colNum == -1) return InvalidColumnError(kLocSubsetNoColumn, -1);
      CriteriaTerm term = EqualTerm(pair.field.colNum);
      term.value = pair.value;
      criteria->AddNewCriteria(term);
    }
    std::string newName = name;
    std::vector<SubsetFieldValPair> newPairs = pairs;
    subsetName = std::move(newName);
    subsetFields = std::move(newPairs);
    subsetCriteria = criteria.release();
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocSubsetOutOfMemory);
  }
}

bool StatsDefn::CreateEnumSpec(const std::vector<std::string>& values) {
  if (enumCriteriaSet != nullptr) return SpecAlreadyCreatedError(kLocEnumListAlreadyThere);
  if (values.empty()) return InvalidSpecError(kLocEnumListNoValues);
  try {
    auto set = std::make_unique<CriteriaSet>();
    if (!set->CreateEnum(values, field.colNum)) return DumpLocation(kLocEnumListRefused);
    enumCriteriaSet = std::move(set);
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocEnumListOutOfMemory);
  }
}

bool StatsDefn::CreateEnumSpec(const std::set<std::string>& values) {
  if (enumCriteriaSet != nullptr) return SpecAlreadyCreatedError(kLocEnumSetAlreadyThere);
  // Kept: unlike the list form, an empty set is accepted and gives a spec
  // without values.
  try {
    auto set = std::make_unique<CriteriaSet>();
    if (!set->CreateEnum(values, field.colNum)) return DumpLocation(kLocEnumSetRefused);
    enumCriteriaSet = std::move(set);
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocEnumSetOutOfMemory);
  }
}

bool StatsDefn::CreateHistogramSpec(std::vector<Variant>& edges, HistogramBinLogic logic) {
  if (enumCriteriaSet != nullptr) return SpecAlreadyCreatedError(kLocHistogramEdgesAlreadyThere);
  if (edges.empty()) return InvalidSpecError(kLocHistogramEdgesNone);
  try {
    auto set = std::make_unique<CriteriaSet>();
    if (!set->CreateHistogram(edges, logic, field.colNum)) {
      return DumpLocation(kLocHistogramEdgesRefused);
    }
    enumCriteriaSet = std::move(set);
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocHistogramEdgesOutOfMemory);
  }
}

// The values are taken by value as the exported signature has them.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool StatsDefn::CreateHistogramSpec(Variant lowEdge, Variant binWidth, int binCount) {
  if (enumCriteriaSet != nullptr) return SpecAlreadyCreatedError(kLocHistogramRangeAlreadyThere);
  if (binCount < 1) return InvalidSpecError(kLocHistogramRangeNoBins);
  try {
    auto set = std::make_unique<CriteriaSet>();
    if (!set->CreateHistogram(lowEdge, binWidth, binCount, field.colNum)) {
      return DumpLocation(kLocHistogramRangeRefused);
    }
    enumCriteriaSet = std::move(set);
    return true;
  } catch (const std::bad_alloc&) {
    return OutOfMemoryError(kLocHistogramRangeOutOfMemory);
  }
}

}  // namespace stattree
