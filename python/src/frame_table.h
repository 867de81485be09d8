// FrameTable: a DataFrame's columns as the engine's host reads them, with
// no Python object left in them, so that the engine can run without the
// interpreter lock.
//
// Each column is absent (not handed over: the job does not read it), or one
// of: a buffer of 64-bit integers, a buffer of doubles
// (NaN reads as empty), a buffer of codes into a dictionary of ready-made
// values (categoricals; code -1 reads as empty), or a vector of values
// converted once from Python objects. Buffers are borrowed from numpy
// arrays that the caller keeps alive (and unchanged) while the table is
// read; an optional mask marks missing cells (pandas' nullable types).
//
// Reading never allocates for numbers; text values are copied. Plain data;
// thread-safety: none.
#ifndef STATTREE_PYTHON_FRAME_TABLE_H_
#define STATTREE_PYTHON_FRAME_TABLE_H_

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "stattree/boundary/variant.h"

namespace stattree {
namespace python {

struct FrameColumn {
  enum class Kind { Absent, Integers, Reals, Codes, Values };

  Kind kind = Kind::Absent;
  const std::int64_t* integers = nullptr;
  const double* reals = nullptr;
  // Codes of any width, widened on reading.
  const void* codes = nullptr;
  int codeBytes = 0;
  std::vector<Variant> dictionary;
  std::vector<Variant> values;
  // True marks a missing cell; null when none is.
  const bool* missing = nullptr;

  // False for an absent column.
  bool Read(Variant& value, std::size_t row) const {
    if (missing != nullptr && missing[row]) {
      value.SetEmpty();
      return true;
    }
    switch (kind) {
      case Kind::Absent:
        return false;
      case Kind::Integers:
        value = static_cast<long long>(integers[row]);
        return true;
      case Kind::Reals:
        ReadReal(value, reals[row]);
        return true;
      case Kind::Codes: {
        const long long code = Code(row);
        if (code < 0 || static_cast<std::size_t>(code) >= dictionary.size()) {
          value.SetEmpty();
        } else {
          value = dictionary[static_cast<std::size_t>(code)];
        }
        return true;
      }
      case Kind::Values:
        value = values[row];
        return true;
    }
    return false;
  }

  // NaN is pandas' missing value; infinities are what a CSV file written
  // by pandas holds for them: the texts "inf" and "-inf".
  static void ReadReal(Variant& value, double real) {
    if (std::isnan(real)) {
      value.SetEmpty();
    } else if (std::isinf(real)) {
      value = real > 0 ? "inf" : "-inf";
    } else {
      value = real;
    }
  }

 private:
  long long Code(std::size_t row) const {
    switch (codeBytes) {
      case 1:
        return static_cast<const std::int8_t*>(codes)[row];
      case 2:
        return static_cast<const std::int16_t*>(codes)[row];
      case 4:
        return static_cast<const std::int32_t*>(codes)[row];
      default:
        return static_cast<const std::int64_t*>(codes)[row];
    }
  }
};

struct FrameTable {
  std::vector<std::string> names;
  std::vector<FrameColumn> columns;
  std::size_t rows = 0;
};

}  // namespace python
}  // namespace stattree

#endif  // STATTREE_PYTHON_FRAME_TABLE_H_
