// The SQLite contender: the same numbers computed by SQL over an in-memory
// database that holds the same rows.
//
// Load inserts the rows once (untimed). Run executes, per tree level, the
// GROUP BY queries that give that level's numbers and reads their rows;
// only that is timed. The queries aggregate conditionally (one scan gives
// the scalar statistics, the enumeration counts, the histogram bins and the
// subset average of a level; a second one the grouping by Year), which is
// how one would write them by hand to keep SQLite's scans few.
#ifndef STATTREE_BENCH_SQLITE_CONTENDER_H_
#define STATTREE_BENCH_SQLITE_CONTENDER_H_

#include <string>

#include "measure.h"
#include "result_set.h"
#include "table.h"
#include "workload.h"

struct sqlite3;

namespace stattree_bench {

class SqliteContender {
 public:
  SqliteContender() = default;
  SqliteContender(const SqliteContender&) = delete;
  SqliteContender& operator=(const SqliteContender&) = delete;
  ~SqliteContender();

  // Creates the database and inserts every row of `table`.
  bool Load(const Table& table, std::string& error);
  // Times the workload's queries; gives up once `capSeconds` have passed.
  // The numbers go to `results` (untimed) only when every query finished.
  Outcome Run(const WorkloadSpec& spec, double capSeconds, ResultSet& results);

  static const char* Version();

 private:
  bool Execute(const std::string& sql, std::string& error);

  sqlite3* db = nullptr;
};

}  // namespace stattree_bench

#endif  // STATTREE_BENCH_SQLITE_CONTENDER_H_
