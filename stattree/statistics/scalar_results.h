// The seven scalar accumulators: Count, CountValid, Min, Max, Sum, Average
// and StdDev.
//
// Each reads its column of every record it is fed (Count reads nothing) and
// leaves the arithmetic and ordering of values to Variant. The validity
// rules differ on purpose and are kept:
//   - CountValid, Average and StdDev take only values that are valid and
//     not empty;
//   - Sum adds every valid value, an empty one included;
//   - Min and Max make no test at all: the first value read replaces the
//     default-constructed start value only because Variant orders every
//     value below and above an empty one.
// Count, CountValid, Min, Max and Sum give their running value at any time;
// Average and StdDev give theirs after Finalize (before it, and after a
// Finalize that saw no value, the default-constructed Variant).
//
// The record counts stop at INT_MAX rather than wrap.
//
// Each class owns only its own fields; assignment copies the column and
// every accumulated field, and assigning an object to itself does nothing.
// Thread-safety: none.
#ifndef STATTREE_STATISTICS_SCALAR_RESULTS_H_
#define STATTREE_STATISTICS_SCALAR_RESULTS_H_

#include <ostream>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/definitions/stats_defn.h"
#include "stattree/statistics/stats_result.h"

namespace stattree {

// Every record, whatever its value.
class CountResult : public StatsResult {
 public:
  explicit CountResult(int column) : StatsResult(column) {}
  CountResult& operator=(const CountResult& other);

  // ProcessRecord without the call: Count reads nothing.
  bool Take() {
    AddOne(count);
    return true;
  }

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  // An integer Variant of the count.
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return StatsDefn::Count; }
  bool IsCountType() override { return true; }
  void DumpObject(std::ostream& os) override;

 private:
  friend class ResultState;
  int count = 0;
};

// Records whose value is valid and not empty. Read failures at 11360.
class CountValidResult : public StatsResult {
 public:
  explicit CountValidResult(int column) : StatsResult(column) {}
  CountValidResult& operator=(const CountValidResult& other);

  // ProcessRecord once the column is read: `value` null for a failed read.
  bool Take(const Variant* value, const StatsRecord& record) {
    if (value == nullptr) return Failed(record, kLocRead);
    if (IsUsable(*value)) AddOne(count);
    return true;
  }

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return StatsDefn::CountValid; }
  bool IsCountType() override { return true; }
  void DumpObject(std::ostream& os) override;

 private:
  static constexpr int kLocRead = 11360;  // a failed read
  friend class ResultState;
  int count = 0;
};

// The extreme value: the least by Variant::operator< (Min; read failures
// at 11380) or the greatest by Variant::operator> (Max; at 11390). Only
// the comparison differs between the two.
template <StatsDefn::StatsType kType>
class ExtremeResult : public StatsResult {
 public:
  explicit ExtremeResult(int column) : StatsResult(column) {}
  ExtremeResult& operator=(const ExtremeResult& other);

  bool Take(const Variant* value, const StatsRecord& record) {
    if (value == nullptr) {
      return Failed(record, kType == StatsDefn::Min ? kLocMinRead : kLocMaxRead);
    }
    if (Beats(*value, extreme)) extreme = *value;
    return true;
  }

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return kType; }
  void DumpObject(std::ostream& os) override;

  // Whether `value` replaces `extreme`; a tie keeps the earlier value. No
  // validity test: the ordering alone lets the first value replace the
  // empty start value.
  static bool Beats(const Variant& value, const Variant& extreme) {
    return kType == StatsDefn::Min ? value < extreme : value > extreme;
  }

 private:
  static constexpr int kLocMinRead = 11380;  // a failed read
  static constexpr int kLocMaxRead = 11390;
  friend class ResultState;
  Variant extreme;
};

using MinResult = ExtremeResult<StatsDefn::Min>;
using MaxResult = ExtremeResult<StatsDefn::Max>;
extern template class ExtremeResult<StatsDefn::Min>;
extern template class ExtremeResult<StatsDefn::Max>;

// The Variant sum of every valid value, from integer 0. Read failures at
// 11370.
class SumResult : public StatsResult {
 public:
  explicit SumResult(int column) : StatsResult(column) {}
  SumResult& operator=(const SumResult& other);

  // Kept: only validity is tested, so an empty value is added too (unlike
  // Average and StdDev).
  bool Take(const Variant* value, const StatsRecord& record) {
    if (value == nullptr) return Failed(record, kLocRead);
    if (value->IsValid()) sum += *value;
    return true;
  }

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return StatsDefn::Sum; }
  void DumpObject(std::ostream& os) override;

 private:
  static constexpr int kLocRead = 11370;  // a failed read
  friend class ResultState;
  Variant sum = Variant(0);
};

// sum / count by Variant division, set by Finalize when at least one value
// was taken. Read failures at 11400.
class AverageResult : public StatsResult {
 public:
  explicit AverageResult(int column) : StatsResult(column) {}
  AverageResult& operator=(const AverageResult& other);

  bool Take(const Variant* value, const StatsRecord& record) {
    if (value == nullptr) return Failed(record, kLocRead);
    if (IsUsable(*value)) {
      sum += *value;
      AddOne(count);
    }
    return true;
  }

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  void Finalize() override;
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return StatsDefn::Average; }
  void DumpObject(std::ostream& os) override;

 private:
  static constexpr int kLocRead = 11400;  // a failed read
  friend class ResultState;
  Variant sum = Variant(0);
  int count = 0;
  Variant average;
};

// The sample standard deviation (divisor n - 1), computed in doubles by
// Finalize: 0.0 for a single value; 0.0 also when rounding makes the
// variance negative, and when a sum is no number (non-numeric text), since
// its double is NaN and the variance test then fails. Read failures at
// 11410.
class StdDevResult : public StatsResult {
 public:
  explicit StdDevResult(int column) : StatsResult(column) {}
  StdDevResult& operator=(const StdDevResult& other);

  bool Take(const Variant* value, const StatsRecord& record) {
    if (value == nullptr) return Failed(record, kLocRead);
    if (IsUsable(*value)) {
      sum += *value;
      AddOne(count);
      sumOfSquares += *value * *value;
    }
    return true;
  }

  StatsResult* Clone() override;
  bool ProcessRecord(const StatsRecord& record) override;
  void Finalize() override;
  bool GetResult(Variant& value) override;
  StatsDefn::StatsType GetType() override { return StatsDefn::StdDev; }
  void DumpObject(std::ostream& os) override;

 private:
  static constexpr int kLocRead = 11410;  // a failed read
  friend class ResultState;
  Variant sum = Variant(0);
  Variant sumOfSquares = Variant(0);
  int count = 0;
  Variant result;
};

}  // namespace stattree

#endif  // STATTREE_STATISTICS_SCALAR_RESULTS_H_
