// Table: the benchmark's rows, held in memory column by column, and
// TableRecord, the StatsRecord through which the engine reads them.
//
// Rows are compact so that 10^7 of them fit easily: a column of repeated
// values (texts, years) keeps one 32-bit code per row and a dictionary of
// ready-made Variants, a real column keeps doubles, an optional integer
// column keeps 32-bit integers with one reserved value for "empty". The
// record hands out copies of the dictionary's Variants, so reading a value
// never parses or formats anything.
//
// A Table is filled once by a generator and then only read.
#ifndef STATTREE_BENCH_TABLE_H_
#define STATTREE_BENCH_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "stattree/stattree.h"

namespace stattree_bench {

class Table {
 public:
  enum class ColumnKind { Coded, Real, OptionalInteger };

  static constexpr std::int32_t kEmptyInteger = std::numeric_limits<std::int32_t>::min();

  struct Column {
    std::string name;
    ColumnKind kind = ColumnKind::Real;
    std::vector<stattree::Variant> dictionary;  // Coded: the distinct values
    std::vector<std::uint32_t> codes;           // Coded: index into dictionary
    std::vector<double> reals;                  // Real
    std::vector<std::int32_t> integers;         // OptionalInteger
  };

  // Each returns the new column's number.
  int AddCodedColumn(const std::string& name, std::vector<stattree::Variant> dictionary);
  int AddRealColumn(const std::string& name);
  int AddOptionalIntegerColumn(const std::string& name);

  void Reserve(std::size_t rows);
  // The generator appends one value per column, then calls EndRow.
  void EndRow() { ++rowCount; }

  int GetColumnCount() const { return static_cast<int>(columns.size()); }
  std::size_t GetRowCount() const { return rowCount; }
  const Column& GetColumn(int colNum) const { return columns[static_cast<std::size_t>(colNum)]; }
  Column& GetColumn(int colNum) { return columns[static_cast<std::size_t>(colNum)]; }
  // Bytes held by the row data (dictionaries excluded).
  std::size_t GetRowBytes() const;

 private:
  std::vector<Column> columns;
  std::size_t rowCount = 0;
};

// The engine's view of one row of a Table. The host moves it with SetRow.
class TableRecord : public stattree::StatsRecord {
 public:
  explicit TableRecord(const Table& table) : table(table) {}

  void SetRow(std::size_t index) { row = index; }

  bool GetValue(stattree::Variant& value, int colNum) const override;
  bool GetError(int& code, int& second, std::string& message, bool& flag) const override;

 private:
  const Table& table;
  std::size_t row = 0;
};

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_TABLE_H_
