// NamedList: values in byte-wise order of their names, in one array.
//
// A node holds its subsets, and each subset its groupings, under their
// names: a handful of entries, set up once from the definitions and then
// walked for every record. One contiguous array walks faster than a tree of
// separately allocated nodes and takes less memory per node of the results
// tree.
//
// Addresses of the values stay valid until the next Add, Clear or
// assignment. Add leaves the list as it was when it throws.
//
// Thread-safety: none; one caller thread.
#ifndef STATTREE_RESULTS_NAMED_LIST_H_
#define STATTREE_RESULTS_NAMED_LIST_H_

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace stattree {

template <typename T>
class NamedList {
 public:
  using Entry = std::pair<std::string, T>;
  using iterator = typename std::vector<Entry>::iterator;
  using const_iterator = typename std::vector<Entry>::const_iterator;

  // The value named `name`, or null.
  T* Find(const std::string& name) {
    const auto at = Position(name);
    return at != entries.end() && at->first == name ? &at->second : nullptr;
  }
  const T* Find(const std::string& name) const { return const_cast<NamedList*>(this)->Find(name); }

  // Adds `value` under `name`, which the list does not hold yet.
  void Add(const std::string& name, const T& value) {
    const auto at = static_cast<std::size_t>(Position(name) - entries.begin());
    // Built aside, then swapped in: the values are copied, and a copy that
    // throws midway must not leave the list half shifted.
    std::vector<Entry> grown;
    grown.reserve(entries.size() + 1);
    grown.insert(grown.end(), entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(at));
    grown.emplace_back(name, value);
    grown.insert(grown.end(), entries.begin() + static_cast<std::ptrdiff_t>(at), entries.end());
    entries.swap(grown);
  }

  void Clear() { entries.clear(); }
  std::size_t size() const { return entries.size(); }
  iterator begin() { return entries.begin(); }
  iterator end() { return entries.end(); }
  const_iterator begin() const { return entries.begin(); }
  const_iterator end() const { return entries.end(); }

 private:
  // Where `name` is or would go; std::string's < orders bytes unsigned, as
  // a std::map of the names would.
  iterator Position(const std::string& name) {
    return std::lower_bound(
        entries.begin(), entries.end(), name,
        [](const Entry& entry, const std::string& key) { return entry.first < key; });
  }

  std::vector<Entry> entries;
};

}  // namespace stattree

#endif  // STATTREE_RESULTS_NAMED_LIST_H_
