#include "table.h"

#include <utility>

namespace stattree_bench {

int Table::AddCodedColumn(const std::string& name, std::vector<stattree::Variant> dictionary) {
  Column column;
  column.name = name;
  column.kind = ColumnKind::Coded;
  column.dictionary = std::move(dictionary);
  columns.push_back(std::move(column));
  return GetColumnCount() - 1;
}

int Table::AddRealColumn(const std::string& name) {
  Column column;
  column.name = name;
  column.kind = ColumnKind::Real;
  columns.push_back(std::move(column));
  return GetColumnCount() - 1;
}

int Table::AddOptionalIntegerColumn(const std::string& name) {
  Column column;
  column.name = name;
  column.kind = ColumnKind::OptionalInteger;
  columns.push_back(std::move(column));
  return GetColumnCount() - 1;
}

void Table::Reserve(std::size_t rows) {
  for (Column& column : columns) {
    switch (column.kind) {
      case ColumnKind::Coded:
        column.codes.reserve(rows);
        break;
      case ColumnKind::Real:
        column.reals.reserve(rows);
        break;
      case ColumnKind::OptionalInteger:
        column.integers.reserve(rows);
        break;
    }
  }
}

std::size_t Table::GetRowBytes() const {
  std::size_t bytes = 0;
  for (const Column& column : columns) {
    bytes += column.codes.size() * sizeof(std::uint32_t) + column.reals.size() * sizeof(double) +
             column.integers.size() * sizeof(std::int32_t);
  }
  return bytes;
}

bool TableRecord::GetValue(stattree::Variant& value, int colNum) const {
  if (colNum < 0 || colNum >= table.GetColumnCount() || row >= table.GetRowCount()) return false;
  const Table::Column& column = table.GetColumn(colNum);
  switch (column.kind) {
    case Table::ColumnKind::Coded:
      value = column.dictionary[column.codes[row]];
      return true;
    case Table::ColumnKind::Real:
      value = stattree::Variant(column.reals[row]);
      return true;
    case Table::ColumnKind::OptionalInteger: {
      const std::int32_t integer = column.integers[row];
      if (integer == Table::kEmptyInteger) {
        value.SetEmpty();
      } else {
        value = stattree::Variant(integer);
      }
      return true;
    }
  }
  return false;
}

bool TableRecord::GetError(int& code, int& second, std::string& message, bool& flag) const {
  // The only failure is a column or row out of range; say so in the engine's
  // own terms.
  code = 0;
  second = 0;
  message = "Benchmark table: column or row out of range";
  flag = false;
  return true;
}

}  // namespace stattree_bench
