// CellConverter: turns the text of a CSV cell into the Variant the engine
// reads.
//
// Rules (also printed by --help):
//   - an empty cell is an empty value;
//   - a cell in canonical integer notation is an integer: an optional
//     minus sign, then 0 or digits not starting with 0, within 64 bits;
//   - a cell in canonical real notation is a real: the integer part as
//     above, then a decimal point with at least one digit, and/or an
//     exponent (e or E, optional sign, digits), finite;
//   - anything else is text: leading zeros (postcodes, identifiers), a
//     plus sign, spaces, ".5", "5.", "1,000", "NaN" and numbers too large
//     for their type all stay text, exactly as written.
// A forced-text column keeps every non-empty cell as text.
//
// Stateless; safe to call from any thread.
#ifndef STATTREE_TOOLS_CELL_CONVERTER_H_
#define STATTREE_TOOLS_CELL_CONVERTER_H_

#include <cstddef>
#include <string>

#include "stattree/boundary/variant.h"

namespace stattree {
namespace cli {

class CellConverter {
 public:
  static void Convert(Variant& value, const std::string& cell, bool forceText);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_CELL_CONVERTER_H_
