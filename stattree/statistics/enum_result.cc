#include "stattree/statistics/enum_result.h"

#include <charconv>
#include <climits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "stattree/boundary/error_reporting.h"
#include "stattree/criteria/criteria_set.h"

namespace stattree {

namespace {

constexpr int kCriteriaConfigCode = 11430;
constexpr int kInvalidIndexCode = 11440;

// EnumResult
constexpr int kLocProcessNoSet = 11420;
constexpr int kLocProcessErrorHeld = 11450;
constexpr int kLocProcessRead = 11451;
constexpr int kLocProcessBadIndex = 11460;
constexpr int kLocRecordIndex = 11470;
constexpr int kLocGetEnumResult = 11480;
constexpr int kLocValueTextNoSet = 11490;
constexpr int kLocValueText = 11500;
constexpr int kLocValueNoSet = 11502;
constexpr int kLocValue = 11504;
constexpr int kLocFindNoSet = 11510;
constexpr int kLocFindText = 11520;
constexpr int kLocConfigureNoSet = 11530;
// EnumPercentResult
constexpr int kLocPercentGetEnumResult = 11540;
constexpr int kLocPercentProcess = 11550;

constexpr const char* kResultLine = "            Result    :\r\n";
constexpr const char* kNoSetLine = "            Error: There is no CriteriaSet!!\r\n";
constexpr const char* kBinIndent = "                ";

}  // namespace

const std::string EnumResult::sNotAvailableText = "N/A";

// EnumResult

EnumResult& EnumResult::operator=(const EnumResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    criteriaSet = other.criteriaSet;
    ownSet = other.ownSet;
    counters = other.counters;
    notAvailableCount = other.notAvailableCount;
  }
  return *this;
}

StatsResult* EnumResult::Clone() { return CloneOf(*this); }

bool EnumResult::ProcessRecord(const StatsRecord& record) {
  if (criteriaSet == nullptr) return CriteriaConfigError(kLocProcessNoSet);
  // Virtual, so that the percent class learns whether the record matched.
  return CountBin(GetRecordEnumIndex(record), record);
}

bool EnumResult::CountBin(int index, const StatsRecord& record) {
  // Kept: any error held, even one left from an earlier operation, fails
  // the record.
  if (IsErrorSet()) return DumpLocation(kLocProcessErrorHeld);
  const int binCount = GetEnumValueCount();
  if (index != NoMatchIndex) {
    if (index < 0 || index >= binCount) {
      return InvalidIndexError(kLocProcessBadIndex, index, binCount);
    }
    counters[index] += 1.0F;
    return true;
  }
  Variant scratch;
  const Variant* value = ReadValue(scratch, record, kLocProcessRead);
  if (value == nullptr) return false;
  // A non-empty value that matched no bin is counted nowhere.
  if (value->IsEmpty()) AddOne(notAvailableCount);
  return true;
}

bool EnumResult::GetResult(Variant& value) {
  value = Variant(0);
  return true;
}

template <typename WriteBin>
void EnumResult::DumpBins(std::ostream& os, WriteBin&& writeBin) {
  if (criteriaSet == nullptr) {
    os << kNoSetLine;
    return;
  }
  os << kResultLine;
  const int binCount = GetEnumValueCount();
  for (int i = 0; i < binCount; ++i) writeBin(i);
}

void EnumResult::DumpObject(std::ostream& os) {
  DumpBins(os, [&](int i) {
    criteriaSet->DumpCriteriaValue(os, kBinIndent, i);
    // std::to_string: the host's stream may group digits.
    os << " : Count=" << std::to_string(static_cast<int>(counters[i])) << "\r\n";
  });
}

bool EnumResult::GetEnumResult(Variant& value, int index) {
  if (index == NotAvailableIndex) {
    value = Variant(notAvailableCount);
    return true;
  }
  if (index == NoMatchIndex) {
    value = Variant(0);
    return true;
  }
  const int binCount = GetEnumValueCount();
  if (index < 0 || index >= binCount) {
    return InvalidIndexError(kLocGetEnumResult, index, binCount);
  }
  value = Variant(static_cast<int>(counters[index]));
  return true;
}

int EnumResult::GetRecordEnumIndex(const StatsRecord& record) {
  int index = -1;
  // Unreachable through ProcessRecord, which checks first; guards a direct
  // call.
  if (criteriaSet == nullptr) {
    CriteriaConfigError(kLocRecordIndex);
    return index;
  }
  if (!criteriaSet->RecordMeetsCriteria(index, record)) {
    DumpLocation(kLocRecordIndex);
    return index;
  }
  return index == -1 ? NoMatchIndex : index;
}

bool EnumResult::ConfigureCriteriaSet(CriteriaSet* set) {
  if (set == nullptr) return CriteriaConfigError(kLocConfigureNoSet);
  criteriaSet = set;
  ownSet.reset();
  counters.insert(counters.end(), static_cast<size_t>(set->GetCriteriaCount()), 0.0F);
  return true;
}

void EnumResult::UseOwnCriteriaSet(std::shared_ptr<CriteriaSet> copy) {
  criteriaSet = copy.get();
  ownSet = std::move(copy);
}

int EnumResult::GetEnumValueCount() const { return static_cast<int>(counters.size()); }

bool EnumResult::GetEnumValue(std::string& text, int index, bool withOperator) const {
  if (criteriaSet == nullptr) return CriteriaConfigError(kLocValueTextNoSet);
  if (index == NoMatchIndex) {
    text.clear();
    return true;
  }
  // Kept: the not-available text is set, then the index is asked of the set
  // like a bin, which refuses it; the caller gets false with "N/A" in hand.
  if (index == NotAvailableIndex) text = sNotAvailableText;
  if (!criteriaSet->GetCriteriaValueText(text, index, 0, withOperator)) {
    return DumpLocation(kLocValueText);
  }
  return true;
}

bool EnumResult::GetEnumValue(Variant& value, int index) const {
  if (criteriaSet == nullptr) return CriteriaConfigError(kLocValueNoSet);
  if (index == NotAvailableIndex) {
    value = Variant(sNotAvailableText);
    return true;
  }
  if (index == NoMatchIndex) {
    value = Variant(std::string());
    return true;
  }
  if (!criteriaSet->GetCriteriaValue(value, index, 0)) return DumpLocation(kLocValue);
  return true;
}

int EnumResult::FindEnumIndex(const std::string& text) const {
  if (criteriaSet == nullptr) {
    CriteriaConfigError(kLocFindNoSet);
    return -1;
  }
  if (text == sNotAvailableText) return NotAvailableIndex;
  const int binCount = criteriaSet->GetCriteriaCount();
  for (int i = 0; i < binCount; ++i) {
    std::string binText;
    // A bin without text is reported and compared as it stands.
    if (!criteriaSet->GetCriteriaValueText(binText, i, 0, false)) DumpLocation(kLocFindText);
    if (text == binText) return i;
  }
  return NoMatchIndex;
}

bool EnumResult::CriteriaConfigError(int location) {
  SetErrorCode(kCriteriaConfigCode);
  return DumpLocation(location);
}

bool EnumResult::InvalidIndexError(int location, int index, int count) {
  return IndexError(kInvalidIndexCode, location, index, count);
}

// EnumPercentResult

EnumPercentResult& EnumPercentResult::operator=(const EnumPercentResult& other) {
  if (this != &other) {
    EnumResult::operator=(other);
    total = other.total;
  }
  return *this;
}

StatsResult* EnumPercentResult::Clone() { return CloneOf(*this); }

bool EnumPercentResult::ProcessRecord(const StatsRecord& record) {
  if (criteriaSet == nullptr) {
    CriteriaConfigError(kLocProcessNoSet);
    return DumpLocation(kLocPercentProcess);
  }
  return CountMatched(GetRecordEnumIndex(record), record);
}

bool EnumPercentResult::CountMatched(int index, const StatsRecord& record) {
  if (!CountBin(index, record)) return DumpLocation(kLocPercentProcess);
  // Records of no bin, empty or not, stay outside the base.
  if (matched) AddOne(total);
  return true;
}

void EnumPercentResult::Finalize() {
  if (total < 1 || criteriaSet == nullptr) return;
  int binCount = criteriaSet->GetCriteriaCount();
  if (binCount > GetEnumValueCount()) binCount = GetEnumValueCount();
  for (int i = 0; i < binCount; ++i) {
    counters[i] = static_cast<float>(counters[i] * 100.0 / total);
  }
}

void EnumPercentResult::DumpObject(std::ostream& os) {
  DumpBins(os, [&](int i) {
    criteriaSet->DumpCriteria(os, kBinIndent, i);
    // As "%0.2f" in the C locale whatever the host's locale. Wide enough
    // for any float (at most 39 integer digits).
    char percent[64];
    const auto [end, ec] =
        std::to_chars(percent, percent + sizeof percent, static_cast<double>(counters[i]),
                      std::chars_format::fixed, 2);
    (void)ec;  // cannot fail: the buffer fits any float
    os << " : Percent = " << std::string_view(percent, static_cast<size_t>(end - percent))
       << "%\r\n";
  });
}

bool EnumPercentResult::GetEnumResult(Variant& value, int index) {
  if (index == NoMatchIndex) {
    value = Variant(0);
    return true;
  }
  const int binCount = GetEnumValueCount();
  if (index < 0 || index >= binCount) {
    return InvalidIndexError(kLocPercentGetEnumResult, index, binCount);
  }
  if (total < 1) {
    value.SetEmpty();
  } else {
    value = Variant(static_cast<double>(counters[index]));
  }
  return true;
}

int EnumPercentResult::GetRecordEnumIndex(const StatsRecord& record) {
  const int index = EnumResult::GetRecordEnumIndex(record);
  matched = index != NoMatchIndex;
  return index;
}

}  // namespace stattree
