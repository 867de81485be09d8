#include "stattree/statistics/stats_result.h"

#include <typeinfo>

#include "stattree/boundary/error_reporting.h"
#include "stattree/boundary/record_cache.h"
#include "stattree/boundary/record_error.h"
#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/scalar_results.h"

namespace stattree {

namespace {
constexpr int kInvalidTypeCode = 11355;
}  // namespace

StatsResult* StatsResult::New(StatsDefn::StatsType type, int column) {
  StatsResult* made = nullptr;
  Kind kind = Kind::Other;
  switch (type) {
    case StatsDefn::Count:
      made = new CountResult(column);
      kind = Kind::Count;
      break;
    case StatsDefn::CountValid:
      made = new CountValidResult(column);
      kind = Kind::CountValid;
      break;
    case StatsDefn::Min:
      made = new MinResult(column);
      kind = Kind::Min;
      break;
    case StatsDefn::Max:
      made = new MaxResult(column);
      kind = Kind::Max;
      break;
    case StatsDefn::Sum:
      made = new SumResult(column);
      kind = Kind::Sum;
      break;
    case StatsDefn::Average:
      made = new AverageResult(column);
      kind = Kind::Average;
      break;
    case StatsDefn::StdDev:
      made = new StdDevResult(column);
      kind = Kind::StdDev;
      break;
    case StatsDefn::Histogram1:
    case StatsDefn::EnumCount:
      made = new EnumResult(column);
      kind = Kind::Enum;
      break;
    case StatsDefn::EnumPercent:
      made = new EnumPercentResult(column);
      kind = Kind::EnumPercent;
      break;
    default:
      TheErrorManager().Set(kInvalidTypeCode, static_cast<int>(type));
      return nullptr;
  }
  made->kind = kind;
  return made;
}

bool StatsResult::DescribeReads(std::vector<int>& columns,
                                std::vector<std::pair<CriteriaSet*, int>>& sets) const {
  // Address comparisons: the library's own classes have one type_info
  // each, and a miss only means "not sure".
  const std::type_info& kind = typeid(*this);
  if (&kind == &typeid(CountResult)) return true;
  if (&kind == &typeid(CountValidResult) || &kind == &typeid(MinResult) ||
      &kind == &typeid(MaxResult) || &kind == &typeid(SumResult) ||
      &kind == &typeid(AverageResult) || &kind == &typeid(StdDevResult)) {
    columns.push_back(column);
    return true;
  }
  if (&kind == &typeid(EnumResult) || &kind == &typeid(EnumPercentResult)) {
    const auto& distribution = static_cast<const EnumResult&>(*this);
    if (distribution.GetCriteriaSet() == nullptr) return false;
    columns.push_back(column);
    sets.emplace_back(distribution.GetCriteriaSet(), distribution.GetEnumValueCount());
    return true;
  }
  return false;
}

const Variant* StatsResult::ReadFailed(const StatsRecord& record, int location) {
  ReportStatisticRecordError(location, record);
  return nullptr;
}

}  // namespace stattree
