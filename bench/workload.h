// The standard workloads: their columns, their deterministic row
// generators and the statistics each one asks for.
//
// W1 "everyday": Region (8 texts), Product (50 texts), Year (5 integers),
// Channel (4 texts), Amount (real), Quantity (integer, 2% empty); tree
// fields [Region, Product]; Count, CountValid, Min, Max, Sum, Average and
// StdDev of Amount, EnumCount and EnumPercent of Channel, a 10-bin
// histogram of Amount, Sum of Amount by Year, Average of Amount on the
// subset Channel = Web.
//
// W2 "high cardinality": Customer (D texts), Product (50 texts), Amount;
// tree field [Customer]; Sum of Amount by Product.
//
// The three contenders (engine, SQLite, the hand-written floor) report
// their numbers under the same item names (see ResultSet), defined here.
#ifndef STATTREE_BENCH_WORKLOAD_H_
#define STATTREE_BENCH_WORKLOAD_H_

#include <array>
#include <cstddef>
#include <string>

#include "table.h"

namespace stattree_bench {

enum class WorkloadKind { Everyday, HighCardinality };

struct WorkloadSpec {
  WorkloadKind kind = WorkloadKind::Everyday;
  std::size_t records = 0;
  int distinctCustomers = 0;  // high cardinality only

  // "W1" or "W2 D=1000".
  std::string Label() const;
};

namespace everyday {
constexpr int kRegion = 0;
constexpr int kProduct = 1;
constexpr int kYear = 2;
constexpr int kChannel = 3;
constexpr int kAmount = 4;
constexpr int kQuantity = 5;

constexpr int kRegionCount = 8;
constexpr int kProductCount = 50;
constexpr int kFirstYear = 2019;
constexpr int kYearCount = 5;
constexpr std::array<const char*, 4> kChannels = {"Web", "Store", "Phone", "Mail"};
constexpr const char* kSubsetChannel = "Web";

// Histogram of Amount: kBinCount bins of kBinWidth from kLowEdge, plus one
// open bin below and one above: kBinCount + 2 counters.
constexpr int kLowEdge = 0;
constexpr int kBinWidth = 100;
constexpr int kBinCount = 10;
constexpr int kHistogramBins = kBinCount + 2;
}  // namespace everyday

namespace highcard {
constexpr int kCustomer = 0;
constexpr int kProduct = 1;
constexpr int kAmount = 2;
constexpr int kProductCount = 50;
}  // namespace highcard

// Definition names, also the item names of the results.
namespace names {
constexpr const char* kCount = "Count";
constexpr const char* kCountValid = "CountValid";
constexpr const char* kMin = "Min";
constexpr const char* kMax = "Max";
constexpr const char* kSum = "Sum";
constexpr const char* kAverage = "Average";
constexpr const char* kStdDev = "StdDev";
constexpr const char* kChannelCount = "ChannelCount";
constexpr const char* kChannelPercent = "ChannelPercent";
constexpr const char* kAmountHistogram = "AmountHistogram";
constexpr const char* kSumByYear = "SumByYear";
constexpr const char* kWebAverage = "WebAverage";
constexpr const char* kSumByProduct = "SumByProduct";
}  // namespace names

// "SumByYear[2021]", "AmountHistogram[3]".
std::string ItemName(const char* statistic, const std::string& value);

// Rows in a fixed pseudo-random order from a fixed seed: the same workload
// gives the same rows on every machine and every run.
Table GenerateRows(const WorkloadSpec& spec);

// The sample standard deviation from a count, a sum and a sum of squares,
// computed the way the engine does (0 for one value, NaN for none).
double SampleStdDev(double count, double sum, double sumOfSquares);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_WORKLOAD_H_
