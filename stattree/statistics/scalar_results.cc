#include "stattree/statistics/scalar_results.h"

#include <climits>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

namespace stattree {

namespace {

constexpr const char* kResultLabel = "            Result    : ";

}  // namespace

// CountResult

CountResult& CountResult::operator=(const CountResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    count = other.count;
  }
  return *this;
}

StatsResult* CountResult::Clone() { return CloneOf(*this); }

bool CountResult::ProcessRecord(const StatsRecord& /*record*/) { return Take(); }

bool CountResult::GetResult(Variant& value) {
  value = Variant(count);
  return true;
}

// std::to_string: the host's stream may group digits.
void CountResult::DumpObject(std::ostream& os) { os << kResultLabel << std::to_string(count); }

// CountValidResult

CountValidResult& CountValidResult::operator=(const CountValidResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    count = other.count;
  }
  return *this;
}

StatsResult* CountValidResult::Clone() { return CloneOf(*this); }

bool CountValidResult::ProcessRecord(const StatsRecord& record) {
  Variant scratch;
  return Take(ReadColumn(record, column, scratch), record);
}

bool CountValidResult::GetResult(Variant& value) {
  value = Variant(count);
  return true;
}

void CountValidResult::DumpObject(std::ostream& os) { os << kResultLabel << std::to_string(count); }

// MinResult, MaxResult

template <StatsDefn::StatsType kType>
ExtremeResult<kType>& ExtremeResult<kType>::operator=(const ExtremeResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    extreme = other.extreme;
  }
  return *this;
}

template <StatsDefn::StatsType kType>
StatsResult* ExtremeResult<kType>::Clone() {
  return CloneOf(*this);
}

template <StatsDefn::StatsType kType>
bool ExtremeResult<kType>::ProcessRecord(const StatsRecord& record) {
  Variant scratch;
  return Take(ReadColumn(record, column, scratch), record);
}

template <StatsDefn::StatsType kType>
bool ExtremeResult<kType>::GetResult(Variant& value) {
  value = extreme;
  return true;
}

template <StatsDefn::StatsType kType>
void ExtremeResult<kType>::DumpObject(std::ostream& os) {
  os << kResultLabel << std::string(extreme);
}

template class ExtremeResult<StatsDefn::Min>;
template class ExtremeResult<StatsDefn::Max>;

// SumResult

SumResult& SumResult::operator=(const SumResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    sum = other.sum;
  }
  return *this;
}

StatsResult* SumResult::Clone() { return CloneOf(*this); }

bool SumResult::ProcessRecord(const StatsRecord& record) {
  Variant scratch;
  return Take(ReadColumn(record, column, scratch), record);
}

bool SumResult::GetResult(Variant& value) {
  value = sum;
  return true;
}

void SumResult::DumpObject(std::ostream& os) { os << kResultLabel << std::string(sum); }

// AverageResult

AverageResult& AverageResult::operator=(const AverageResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    sum = other.sum;
    count = other.count;
    average = other.average;
  }
  return *this;
}

StatsResult* AverageResult::Clone() { return CloneOf(*this); }

bool AverageResult::ProcessRecord(const StatsRecord& record) {
  Variant scratch;
  return Take(ReadColumn(record, column, scratch), record);
}

void AverageResult::Finalize() {
  if (count > 0) average = sum / Variant(count);
}

bool AverageResult::GetResult(Variant& value) {
  value = average;
  return true;
}

void AverageResult::DumpObject(std::ostream& os) { os << kResultLabel << std::string(average); }

// StdDevResult

StdDevResult& StdDevResult::operator=(const StdDevResult& other) {
  if (this != &other) {
    StatsResult::operator=(other);
    sum = other.sum;
    sumOfSquares = other.sumOfSquares;
    count = other.count;
    result = other.result;
  }
  return *this;
}

StatsResult* StdDevResult::Clone() { return CloneOf(*this); }

bool StdDevResult::ProcessRecord(const StatsRecord& record) {
  Variant scratch;
  return Take(ReadColumn(record, column, scratch), record);
}

void StdDevResult::Finalize() {
  if (count <= 0) return;
  if (count == 1) {
    result = Variant(0.0);
    return;
  }
  const double s = static_cast<double>(sum);
  const double q = static_cast<double>(sumOfSquares);
  const double n = static_cast<double>(count);
  // N*Q >= S*S holds mathematically; cancellation in doubles can break it,
  // and a NaN sum fails the test too.
  double deviation = 0.0;
  if (s * s <= n * q) deviation = std::sqrt((n * q - s * s) / ((n - 1.0) * n));
  result = Variant(deviation);
}

bool StdDevResult::GetResult(Variant& value) {
  value = result;
  return true;
}

void StdDevResult::DumpObject(std::ostream& os) { os << kResultLabel << std::string(result); }

}  // namespace stattree
