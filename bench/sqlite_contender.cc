#include "sqlite_contender.h"

#include <sqlite3.h>

#include <cctype>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace stattree_bench {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Virtual machine steps between two looks at the clock.
constexpr int kStepsBetweenClockChecks = 10000;

// What a query gives, read while timed and turned into results afterwards.
struct QueryRow {
  std::string node;
  std::string group;  // the grouping value, for the grouping queries
  std::vector<double> numbers;
};

struct Query {
  std::string sql;
  int keyColumns = 0;     // level values that form the node path
  bool hasGroup = false;  // one more key column: the grouping value
  enum Kind { EverydayLevel, EverydayByYear, ProductSums } kind = EverydayLevel;
  std::vector<QueryRow> rows;
};

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Quoted(const char* text) { return std::string("'") + text + "'"; }

std::string KeyList(const std::vector<std::string>& keys) {
  std::string list;
  for (const std::string& key : keys) list += key + ", ";
  return list;
}

std::string GroupBy(const std::vector<std::string>& keys, const std::string& extra) {
  std::string list;
  for (const std::string& key : keys) list += (list.empty() ? "" : ", ") + key;
  if (!extra.empty()) list += (list.empty() ? "" : ", ") + extra;
  return list.empty() ? "" : " GROUP BY " + list;
}

// Everything of W1 except the grouping by Year, for the records of one
// level's nodes. Column order is what AddEverydayLevel reads.
std::string EverydayLevelSql(const std::vector<std::string>& keys) {
  std::string sql = "SELECT " + KeyList(keys) +
                    "COUNT(*), COUNT(amount), MIN(amount), MAX(amount), SUM(amount), "
                    "SUM(amount * amount)";
  for (const char* channel : everyday::kChannels) {
    sql += ", SUM(channel = " + Quoted(channel) + ")";
  }
  // Bins: below the low edge, kBinCount of [edge, edge + width), at or above
  // the last edge; the engine's edges are exact integers.
  int edge = everyday::kLowEdge;
  sql += ", SUM(amount < " + std::to_string(edge) + ")";
  for (int bin = 0; bin < everyday::kBinCount; ++bin, edge += everyday::kBinWidth) {
    sql += ", SUM(amount >= " + std::to_string(edge) + " AND amount < " +
           std::to_string(edge + everyday::kBinWidth) + ")";
  }
  sql += ", SUM(amount >= " + std::to_string(edge) + ")";
  sql += ", AVG(CASE WHEN channel = " + Quoted(everyday::kSubsetChannel) + " THEN amount END)";
  return sql + " FROM rows" + GroupBy(keys, "");
}

std::vector<Query> EverydayQueries() {
  const std::vector<std::vector<std::string>> levels = {{}, {"region"}, {"region", "product"}};
  std::vector<Query> queries;
  for (const auto& keys : levels) {
    Query level;
    level.sql = EverydayLevelSql(keys);
    level.keyColumns = static_cast<int>(keys.size());
    level.kind = Query::EverydayLevel;
    queries.push_back(level);
    Query byYear;
    byYear.sql = "SELECT " + KeyList(keys) + "year, SUM(amount) FROM rows" + GroupBy(keys, "year");
    byYear.keyColumns = static_cast<int>(keys.size());
    byYear.hasGroup = true;
    byYear.kind = Query::EverydayByYear;
    queries.push_back(byYear);
  }
  return queries;
}

std::vector<Query> HighCardinalityQueries() {
  const std::vector<std::vector<std::string>> levels = {{}, {"customer"}};
  std::vector<Query> queries;
  for (const auto& keys : levels) {
    Query query;
    query.sql =
        "SELECT " + KeyList(keys) + "product, SUM(amount) FROM rows" + GroupBy(keys, "product");
    query.keyColumns = static_cast<int>(keys.size());
    query.hasGroup = true;
    query.kind = Query::ProductSums;
    queries.push_back(query);
  }
  return queries;
}

void AddEverydayLevel(const QueryRow& row, ResultSet& results) {
  const std::vector<double>& n = row.numbers;
  std::size_t at = 0;
  const double count = n[at++];
  const double countValid = n[at++];
  const double min = n[at++];
  const double max = n[at++];
  const double sum = n[at++];
  const double sumOfSquares = n[at++];
  results.Set(row.node, names::kCount, count);
  results.Set(row.node, names::kCountValid, countValid);
  results.Set(row.node, names::kMin, min);
  results.Set(row.node, names::kMax, max);
  results.Set(row.node, names::kSum, std::isnan(sum) ? 0.0 : sum);
  results.Set(row.node, names::kAverage, countValid > 0 ? sum / countValid : kNaN);
  results.Set(row.node, names::kStdDev, SampleStdDev(countValid, sum, sumOfSquares));
  double matched = 0;
  for (std::size_t i = 0; i < everyday::kChannels.size(); ++i) matched += n[at + i];
  for (const char* channel : everyday::kChannels) {
    const double channelCount = n[at++];
    results.Set(row.node, ItemName(names::kChannelCount, channel), channelCount);
    results.Set(row.node, ItemName(names::kChannelPercent, channel),
                matched < 1 ? kNaN : channelCount * 100.0 / matched);
  }
  for (int bin = 0; bin < everyday::kHistogramBins; ++bin) {
    results.Set(row.node, ItemName(names::kAmountHistogram, std::to_string(bin)), n[at++]);
  }
  results.Set(row.node, names::kWebAverage, n[at++]);
}

// Non-zero interrupts the running statement with SQLITE_INTERRUPT.
int ProgressHandler(void* deadline) { return static_cast<Deadline*>(deadline)->Passed() ? 1 : 0; }

std::string ColumnText(sqlite3_stmt* statement, int col) {
  const unsigned char* text = sqlite3_column_text(statement, col);
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

}  // namespace

SqliteContender::~SqliteContender() {
  if (db != nullptr) sqlite3_close(db);
}

const char* SqliteContender::Version() { return sqlite3_libversion(); }

bool SqliteContender::Execute(const std::string& sql, std::string& error) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return true;
  error = "SQLite: " + std::string(message != nullptr ? message : "error") + " in: " + sql;
  sqlite3_free(message);
  return false;
}

bool SqliteContender::Load(const Table& table, std::string& error) {
  if (sqlite3_open(":memory:", &db) != SQLITE_OK) {
    error = "SQLite: cannot open an in-memory database";
    return false;
  }
  // Sorts for GROUP BY stay in memory, as the database does.
  if (!Execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; "
               "PRAGMA temp_store = MEMORY; PRAGMA cache_size = -4000000;",
               error)) {
    return false;
  }
  std::string create = "CREATE TABLE rows (";
  std::string insert = "INSERT INTO rows VALUES (";
  for (int col = 0; col < table.GetColumnCount(); ++col) {
    const Table::Column& column = table.GetColumn(col);
    const char* type = "REAL";
    if (column.kind == Table::ColumnKind::OptionalInteger) type = "INTEGER";
    if (column.kind == Table::ColumnKind::Coded) {
      type = column.dictionary.empty() || column.dictionary[0].IsText() ? "TEXT" : "INTEGER";
    }
    create += (col > 0 ? ", " : "") + Lower(column.name) + " " + type;
    insert += col > 0 ? ", ?" : "?";
  }
  if (!Execute(create + ")", error) || !Execute("BEGIN", error)) return false;

  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, (insert + ")").c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    error = std::string("SQLite: ") + sqlite3_errmsg(db);
    return false;
  }
  bool ok = true;
  for (std::size_t row = 0; ok && row < table.GetRowCount(); ++row) {
    for (int col = 0; col < table.GetColumnCount(); ++col) {
      const Table::Column& column = table.GetColumn(col);
      const int slot = col + 1;
      switch (column.kind) {
        case Table::ColumnKind::Coded: {
          const stattree::Variant& value = column.dictionary[column.codes[row]];
          if (value.IsText()) {
            const std::string& text = value.GetText();
            sqlite3_bind_text(statement, slot, text.data(), static_cast<int>(text.size()),
                              SQLITE_STATIC);
          } else {
            sqlite3_bind_int64(statement, slot, value.GetInteger());
          }
          break;
        }
        case Table::ColumnKind::Real:
          sqlite3_bind_double(statement, slot, column.reals[row]);
          break;
        case Table::ColumnKind::OptionalInteger:
          if (column.integers[row] == Table::kEmptyInteger) {
            sqlite3_bind_null(statement, slot);
          } else {
            sqlite3_bind_int(statement, slot, column.integers[row]);
          }
          break;
      }
    }
    ok = sqlite3_step(statement) == SQLITE_DONE;
    sqlite3_reset(statement);
  }
  if (!ok) error = std::string("SQLite: insert failed: ") + sqlite3_errmsg(db);
  sqlite3_finalize(statement);
  return ok && Execute("COMMIT", error);
}

Outcome SqliteContender::Run(const WorkloadSpec& spec, double capSeconds, ResultSet& results) {
  std::vector<Query> queries =
      spec.kind == WorkloadKind::Everyday ? EverydayQueries() : HighCardinalityQueries();
  Outcome outcome;
  Deadline deadline(capSeconds);
  sqlite3_progress_handler(db, kStepsBetweenClockChecks, ProgressHandler, &deadline);
  const Stopwatch watch;
  for (Query& query : queries) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, query.sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
      outcome.message = std::string("SQLite: ") + sqlite3_errmsg(db);
      break;
    }
    const int columns = sqlite3_column_count(statement);
    const int keys = query.keyColumns + (query.hasGroup ? 1 : 0);
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
      QueryRow row;
      for (int col = 0; col < query.keyColumns; ++col) {
        if (col > 0) row.node += '/';
        row.node += ColumnText(statement, col);
      }
      if (query.hasGroup) {
        row.group = ColumnText(statement, keys - 1);
      }
      row.numbers.reserve(static_cast<std::size_t>(columns - keys));
      for (int col = keys; col < columns; ++col) {
        row.numbers.push_back(sqlite3_column_type(statement, col) == SQLITE_NULL
                                  ? kNaN
                                  : sqlite3_column_double(statement, col));
      }
      query.rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    if (rc == SQLITE_INTERRUPT) {
      outcome.status = Outcome::OverCap;
      break;
    }
    if (rc != SQLITE_DONE) {
      outcome.message = std::string("SQLite: ") + sqlite3_errmsg(db);
      break;
    }
  }
  outcome.seconds = watch.Seconds();
  sqlite3_progress_handler(db, 0, nullptr, nullptr);
  if (outcome.status == Outcome::OverCap || !outcome.message.empty()) return outcome;
  outcome.status = Outcome::Done;

  for (const Query& query : queries) {
    for (const QueryRow& row : query.rows) {
      switch (query.kind) {
        case Query::EverydayLevel:
          AddEverydayLevel(row, results);
          break;
        case Query::EverydayByYear:
          results.Set(row.node, ItemName(names::kSumByYear, row.group), row.numbers[0]);
          break;
        case Query::ProductSums:
          results.Set(row.node, ItemName(names::kSumByProduct, row.group), row.numbers[0]);
          break;
      }
    }
  }
  return outcome;
}

}  // namespace stattree_bench
