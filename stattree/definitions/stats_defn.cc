#include "stattree/definitions/stats_defn.h"

#include <cstring>
#include <memory>
#include <utility>

#include "stattree/boundary/error_reporting.h"
#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"

namespace stattree {

namespace {

// Error rows of the definition's own routines.
constexpr int kSpecAlreadyCreatedCode = 11900;
constexpr int kInvalidSpecCode = 11910;
constexpr int kInvalidIndexCode = 11920;
constexpr int kInvalidColumnCode = 11930;

// Guard locations of the indexed accessors.
constexpr int kLocGetGroupingField = 11760;
constexpr int kLocGetGroupingFieldName = 11770;
constexpr int kLocGetSubsetField = 11780;
constexpr int kLocGetSubsetFieldName = 11790;
constexpr int kLocGetSubsetFieldValue = 11800;

// Indexed by StatsType; the longest name plus its zero fits in 12 bytes.
constexpr const char* kTypeNames[] = {"Count",     "CountValid", "Min",    "Max",
                                      "Sum",       "Average",    "StdDev", "Histogram1",
                                      "EnumCount", "EnumPercent"};
constexpr unsigned kTypeNameCount = sizeof(kTypeNames) / sizeof(kTypeNames[0]);

}  // namespace

StatsDefn::StatsDefn() = default;

StatsDefn::StatsDefn(const std::string& name, const Field& field, StatsType type) {
  Initialize(name, field, type);
}

StatsDefn::StatsDefn(const StatsDefn& other) { CopyDataMembers(other); }

void StatsDefn::operator=(const StatsDefn& other) {
  if (&other == this) return;
  DeleteDataMembers();
  CopyDataMembers(other);
}

StatsDefn::~StatsDefn() { DeleteDataMembers(); }

void StatsDefn::Initialize(const std::string& name, Field field, StatsType type) {
  // Copied first: `name` may be this definition's own name.
  std::string newName = name;
  // Nothing else can reach the criteria objects once the pointers are re-aimed,
  // so they are released rather than abandoned.
  DeleteDataMembers();
  initialized = true;
  this->name = std::move(newName);
  this->field = std::move(field);
  this->type = type;
}

void StatsDefn::Reset() { DeleteDataMembers(); }

void StatsDefn::DeleteDataMembers() {
  initialized = false;
  name.clear();
  field.colNum = -1;
  field.name.clear();
  type = InvalidType;
  groupingName.clear();
  subsetName.clear();
  if (HasGroupingSpec()) {
    delete groupingCriteria;
    groupingCriteria = &alwaysPass;
    groupingFields.clear();
  }
  if (HasSubsetSpec()) {
    delete subsetCriteria;
    subsetCriteria = &alwaysPass;
    subsetFields.clear();
  }
  enumCriteriaSet.reset();
}

void StatsDefn::CopyDataMembers(const StatsDefn& other) {
  // Everything that can fail to allocate is built before anything is
  // stored, so a failed copy leaves this definition empty, not half-owned.
  std::unique_ptr<Criteria> grouping;
  std::unique_ptr<Criteria> subset;
  std::unique_ptr<CriteriaSet> set;
  if (other.HasGroupingSpec()) grouping.reset(other.groupingCriteria->Clone());
  if (other.HasSubsetSpec()) subset.reset(other.subsetCriteria->Clone());
  if (other.enumCriteriaSet != nullptr) {
    set = std::make_unique<CriteriaSet>();
    *set = *other.enumCriteriaSet;
  }
  std::vector<Field> groupingFieldsCopy;
  std::vector<SubsetFieldValPair> subsetFieldsCopy;
  if (grouping) groupingFieldsCopy = other.groupingFields;
  if (subset) subsetFieldsCopy = other.subsetFields;

  initialized = other.initialized;
  name = other.name;
  field.name = other.field.name;
  field.colNum = other.field.colNum;
  type = other.type;
  groupingName = other.groupingName;
  subsetName = other.subsetName;
  groupingFields = std::move(groupingFieldsCopy);
  groupingCriteria = grouping ? grouping.release() : &alwaysPass;
  subsetFields = std::move(subsetFieldsCopy);
  subsetCriteria = subset ? subset.release() : &alwaysPass;
  enumCriteriaSet = std::move(set);
}

void StatsDefn::GetField(Field& out) const {
  out.colNum = field.colNum;
  out.name = field.name;
}

bool StatsDefn::GetFieldName(std::string& out) const {
  out = field.name;
  return true;
}

bool StatsDefn::IsEnum() { return type == EnumCount || type == EnumPercent; }

bool StatsDefn::IsHistogram() { return type == Histogram1; }

int StatsDefn::GetGroupingFieldCount() { return static_cast<int>(groupingFields.size()); }

int StatsDefn::GetSubsetFieldCount() { return static_cast<int>(subsetFields.size()); }

bool StatsDefn::CheckIndex(int location, int index, int count) const {
  if (index < 0 || index >= count) return InvalidIndexError(location, index, count);
  return true;
}

bool StatsDefn::GetGroupingField(Field& out, int index) const {
  if (!CheckIndex(kLocGetGroupingField, index, static_cast<int>(groupingFields.size()))) {
    return false;
  }
  const Field& source = groupingFields[index];
  out.colNum = source.colNum;
  out.name = source.name;
  return true;
}

bool StatsDefn::GetGroupingFieldName(std::string& out, int index) const {
  if (!CheckIndex(kLocGetGroupingFieldName, index, static_cast<int>(groupingFields.size()))) {
    return false;
  }
  out = groupingFields[index].name;
  return true;
}

bool StatsDefn::GetSubsetField(Field& out, int index) const {
  if (!CheckIndex(kLocGetSubsetField, index, static_cast<int>(subsetFields.size()))) {
    return false;
  }
  const Field& source = subsetFields[index].field;
  out.colNum = source.colNum;
  out.name = source.name;
  return true;
}

bool StatsDefn::GetSubsetFieldName(std::string& out, int index) const {
  if (!CheckIndex(kLocGetSubsetFieldName, index, static_cast<int>(subsetFields.size()))) {
    return false;
  }
  out = subsetFields[index].field.name;
  return true;
}

bool StatsDefn::GetSubsetFieldValue(Variant& out, int index) const {
  if (!CheckIndex(kLocGetSubsetFieldValue, index, static_cast<int>(subsetFields.size()))) {
    return false;
  }
  out = subsetFields[index].value;
  return true;
}

void StatsDefn::GetTypeString(std::string& out, StatsType type) {
  char buffer[12];
  GetTypeString(buffer, type);
  out = buffer;
}

void StatsDefn::GetTypeString(char* out, StatsType type) {
  // Unsigned so that negative values fall outside the table too.
  const auto index = static_cast<unsigned>(type);
  const char* text = index < kTypeNameCount ? kTypeNames[index] : "";
  std::memcpy(out, text, std::strlen(text) + 1);
}

StatsDefn::StatsType StatsDefn::GetTypeFromString(const std::string& text) {
  for (unsigned i = 0; i < kTypeNameCount; ++i) {
    if (text == kTypeNames[i]) return static_cast<StatsType>(i);
  }
  return InvalidType;
}

bool StatsDefn::SpecAlreadyCreatedError(int location) const {
  SetErrorCode(kSpecAlreadyCreatedCode);
  return DumpLocation(location);
}

bool StatsDefn::InvalidSpecError(int location) const {
  SetErrorCode(kInvalidSpecCode);
  return DumpLocation(location);
}

bool StatsDefn::InvalidIndexError(int location, int index, int count) const {
  return IndexError(kInvalidIndexCode, location, index, count);
}

bool StatsDefn::InvalidColumnError(int location, int colNum) const {
  TheErrorManager().Set(kInvalidColumnCode, colNum);
  return DumpLocation(location);
}

}  // namespace stattree
