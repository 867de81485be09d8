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
  switch (type) {
    case StatsDefn::Count:
      return new CountResult(column);
    case StatsDefn::CountValid:
      return new CountValidResult(column);
    case StatsDefn::Min:
      return new MinResult(column);
    case StatsDefn::Max:
      return new MaxResult(column);
    case StatsDefn::Sum:
      return new SumResult(column);
    case StatsDefn::Average:
      return new AverageResult(column);
    case StatsDefn::StdDev:
      return new StdDevResult(column);
    case StatsDefn::Histogram1:
    case StatsDefn::EnumCount:
      return new EnumResult(column);
    case StatsDefn::EnumPercent:
      return new EnumPercentResult(column);
    default:
      TheErrorManager().Set(kInvalidTypeCode, static_cast<int>(type));
      return nullptr;
  }
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
