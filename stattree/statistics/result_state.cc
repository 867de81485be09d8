#include "stattree/statistics/result_state.h"

#include <climits>
#include <cstdint>
#include <typeinfo>
#include <utility>
#include <vector>

#include "stattree/statistics/enum_result.h"
#include "stattree/statistics/scalar_results.h"

namespace stattree {

namespace {

// Tags of the classes in the binary form; never renumbered.
enum Tag : std::uint8_t {
  kNoTag = 0,
  kCount = 1,
  kCountValid = 2,
  kMin = 3,
  kMax = 4,
  kSum = 5,
  kAverage = 6,
  kStdDev = 7,
  kEnum = 8,
  kEnumPercent = 9,
};

// A single-precision counter stops growing here, record by record.
constexpr float kCounterLimit = 16777216.0F;

Tag TagOf(const StatsResult& result) {
  static const std::pair<const std::type_info*, Tag> kTags[] = {
      {&typeid(CountResult), kCount},
      {&typeid(CountValidResult), kCountValid},
      {&typeid(MinResult), kMin},
      {&typeid(MaxResult), kMax},
      {&typeid(SumResult), kSum},
      {&typeid(AverageResult), kAverage},
      {&typeid(StdDevResult), kStdDev},
      {&typeid(EnumResult), kEnum},
      {&typeid(EnumPercentResult), kEnumPercent},
  };
  const std::type_info& type = typeid(result);
  // By address first: the library makes its accumulators, so this is the
  // usual answer, without the name comparisons of type_info's ==.
  for (const auto& [info, tag] : kTags) {
    if (&type == info) return tag;
  }
  for (const auto& [info, tag] : kTags) {
    if (type == *info) return tag;
  }
  return kNoTag;
}

// The record counts stop at INT_MAX, as they do record by record.
void AddCount(int& count, int more) {
  count = (more > 0 && count > INT_MAX - more) ? INT_MAX : count + more;
}

bool ReadCount(BinaryReader& in, int& count) {
  std::int32_t value = 0;
  if (!in.I32(value)) return false;
  if (value < 0) return in.Fail();
  count = value;
  return true;
}

}  // namespace

bool ResultState::SameKind(const StatsResult& into, const StatsResult& later) {
  const Tag tag = TagOf(into);
  if (tag == kNoTag || tag != TagOf(later)) return false;
  if (tag == kEnum || tag == kEnumPercent) {
    return static_cast<const EnumResult&>(into).counters.size() ==
           static_cast<const EnumResult&>(later).counters.size();
  }
  return true;
}

bool ResultState::Merge(StatsResult& into, const StatsResult& later) {
  if (!SameKind(into, later)) return false;
  switch (TagOf(into)) {
    case kCount:
      AddCount(static_cast<CountResult&>(into).count, static_cast<const CountResult&>(later).count);
      return true;
    case kCountValid:
      AddCount(static_cast<CountValidResult&>(into).count,
               static_cast<const CountValidResult&>(later).count);
      return true;
    case kMin: {
      auto& a = static_cast<MinResult&>(into);
      const auto& b = static_cast<const MinResult&>(later);
      if (MinResult::Beats(b.extreme, a.extreme)) a.extreme = b.extreme;
      return true;
    }
    case kMax: {
      auto& a = static_cast<MaxResult&>(into);
      const auto& b = static_cast<const MaxResult&>(later);
      if (MaxResult::Beats(b.extreme, a.extreme)) a.extreme = b.extreme;
      return true;
    }
    case kSum:
      static_cast<SumResult&>(into).sum += static_cast<const SumResult&>(later).sum;
      return true;
    case kAverage: {
      auto& a = static_cast<AverageResult&>(into);
      const auto& b = static_cast<const AverageResult&>(later);
      a.sum += b.sum;
      AddCount(a.count, b.count);
      return true;
    }
    case kStdDev: {
      auto& a = static_cast<StdDevResult&>(into);
      const auto& b = static_cast<const StdDevResult&>(later);
      a.sum += b.sum;
      a.sumOfSquares += b.sumOfSquares;
      AddCount(a.count, b.count);
      return true;
    }
    case kEnum:
    case kEnumPercent: {
      auto& a = static_cast<EnumResult&>(into);
      const auto& b = static_cast<const EnumResult&>(later);
      for (std::size_t i = 0; i < a.counters.size(); ++i) {
        // Both are whole counts up to the limit, so the sum is exact below it.
        const float sum = a.counters[i] + b.counters[i];
        a.counters[i] = sum < kCounterLimit ? sum : kCounterLimit;
      }
      AddCount(a.notAvailableCount, b.notAvailableCount);
      if (TagOf(into) == kEnumPercent) {
        AddCount(static_cast<EnumPercentResult&>(a).total,
                 static_cast<const EnumPercentResult&>(b).total);
      }
      return true;
    }
    case kNoTag:
      break;
  }
  return false;
}

bool ResultState::Save(const StatsResult& result, BinaryWriter& out) {
  const Tag tag = TagOf(result);
  out.U8(tag);
  switch (tag) {
    case kCount:
      out.I32(static_cast<const CountResult&>(result).count);
      return true;
    case kCountValid:
      out.I32(static_cast<const CountValidResult&>(result).count);
      return true;
    case kMin:
      out.Value(static_cast<const MinResult&>(result).extreme);
      return true;
    case kMax:
      out.Value(static_cast<const MaxResult&>(result).extreme);
      return true;
    case kSum:
      out.Value(static_cast<const SumResult&>(result).sum);
      return true;
    case kAverage: {
      const auto& average = static_cast<const AverageResult&>(result);
      out.Value(average.sum);
      out.I32(average.count);
      return true;
    }
    case kStdDev: {
      const auto& deviation = static_cast<const StdDevResult&>(result);
      out.Value(deviation.sum);
      out.Value(deviation.sumOfSquares);
      out.I32(deviation.count);
      return true;
    }
    case kEnum:
    case kEnumPercent: {
      const auto& counts = static_cast<const EnumResult&>(result);
      out.Count(counts.counters.size());
      for (const float counter : counts.counters) out.F32(counter);
      out.I32(counts.notAvailableCount);
      if (tag == kEnumPercent) out.I32(static_cast<const EnumPercentResult&>(result).total);
      return true;
    }
    case kNoTag:
      break;
  }
  return false;
}

bool ResultState::Load(StatsResult& into, BinaryReader& in) {
  const Tag tag = TagOf(into);
  std::uint8_t stored = 0;
  if (!in.U8(stored)) return false;
  if (tag == kNoTag || stored != tag) return in.Fail();
  switch (tag) {
    case kCount:
      return ReadCount(in, static_cast<CountResult&>(into).count);
    case kCountValid:
      return ReadCount(in, static_cast<CountValidResult&>(into).count);
    case kMin:
      return in.Value(static_cast<MinResult&>(into).extreme);
    case kMax:
      return in.Value(static_cast<MaxResult&>(into).extreme);
    case kSum:
      return in.Value(static_cast<SumResult&>(into).sum);
    case kAverage: {
      auto& average = static_cast<AverageResult&>(into);
      Variant sum;
      int count = 0;
      if (!in.Value(sum) || !ReadCount(in, count)) return false;
      average.sum = sum;
      average.count = count;
      return true;
    }
    case kStdDev: {
      auto& deviation = static_cast<StdDevResult&>(into);
      Variant sum;
      Variant squares;
      int count = 0;
      if (!in.Value(sum) || !in.Value(squares) || !ReadCount(in, count)) return false;
      deviation.sum = sum;
      deviation.sumOfSquares = squares;
      deviation.count = count;
      return true;
    }
    case kEnum:
    case kEnumPercent: {
      auto& counts = static_cast<EnumResult&>(into);
      std::size_t size = 0;
      if (!in.Count(size, 4) || size != counts.counters.size()) return in.Fail();
      std::vector<float> counters(size);
      for (float& counter : counters) {
        // Whole counts only: an unfinalized counter never holds a fraction.
        if (!in.F32(counter) || !(counter >= 0.0F && counter <= kCounterLimit) ||
            static_cast<float>(static_cast<std::int32_t>(counter)) != counter) {
          return in.Fail();
        }
      }
      int notAvailable = 0;
      int total = 0;
      if (!ReadCount(in, notAvailable)) return false;
      if (tag == kEnumPercent && !ReadCount(in, total)) return false;
      counts.counters = std::move(counters);
      counts.notAvailableCount = notAvailable;
      if (tag == kEnumPercent) static_cast<EnumPercentResult&>(into).total = total;
      return true;
    }
    case kNoTag:
      break;
  }
  return in.Fail();
}

}  // namespace stattree
