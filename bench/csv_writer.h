// WriteCsv: a Table as a CSV file with a header row, for the programs that
// read the benchmark's rows from a file (the peers and the command-line
// tool) rather than from memory.
//
// Texts and integers are written as they are; reals in their shortest form
// that reads back to the same double, always with a decimal point or an
// exponent so that every reader types the column as real; an empty integer
// is an empty cell. The workloads' texts hold no delimiter or quote, so no
// cell is quoted.
#ifndef STATTREE_BENCH_CSV_WRITER_H_
#define STATTREE_BENCH_CSV_WRITER_H_

#include <string>

#include "table.h"

namespace stattree_bench {

// False with `error` set when the file cannot be written.
bool WriteCsv(const Table& table, const std::string& path, std::string& error);

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_CSV_WRITER_H_
