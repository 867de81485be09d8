// ErrorInfo: one row of an error table, laid out as the error manager
// expects it (a table is an array of rows ended by a row with code 0).
#ifndef STATTREE_BOUNDARY_ERROR_INFO_H_
#define STATTREE_BOUNDARY_ERROR_INFO_H_

namespace stattree {

struct ErrorInfo {
  int code;
  int second;
  bool flag;
  char source[72];
  char message[75];
};

// The library's own table, Stats::sErrorInfoTable: 39 rows and the
// terminating row.
inline constexpr int kErrorTableRows = 40;

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_ERROR_INFO_H_
