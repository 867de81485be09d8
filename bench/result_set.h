// ResultSet: the numbers one contender computed, in a form the three can
// be compared in.
//
// Each number is keyed by its tree node (the path of level values from the
// root, joined by '/': "" is the root, "North/P07" a product under a
// region) and its item (a definition name, with the grouping value,
// enumeration value or bin in brackets: "SumByYear[2021]"). A missing
// result (an average over no record) is stored as NaN.
#ifndef STATTREE_BENCH_RESULT_SET_H_
#define STATTREE_BENCH_RESULT_SET_H_

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace stattree_bench {

class ResultSet {
 public:
  void Set(const std::string& node, const std::string& item, double value);
  std::size_t GetSize() const { return values.size(); }
  void Clear() { values.clear(); }

  // Compares every number of `this` with `other` in both directions.
  // Counts must be equal, percentages (single precision in the engine)
  // agree to 1e-5, other reals to 1e-9 relative (sums taken in different
  // orders). Returns true when they agree; otherwise fills `report` with
  // the first differences.
  bool Agrees(const ResultSet& other, const std::string& thisName, const std::string& otherName,
              std::string& report) const;

 private:
  static std::string Key(const std::string& node, const std::string& item);

  std::unordered_map<std::string, double> values;
};

// Joins level values into a node path.
std::string NodePath(const std::vector<std::string>& levelValues);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_RESULT_SET_H_
