// ErrorManager: the current error of a process, set by the site that
// detects a failure and extended with location codes by every caller it
// passes through.
//
// One manager built from Stats::sErrorInfoTable serves the whole library
// (see error_reporting.h). Set and DumpCode always return false so
// that a failing operation can return their result directly.
//
// An error stays set until Clear. The location list holds the codes given
// to DumpCode since the last Set or Clear, oldest first; a location given
// while no error is set is kept but does not make IsErrorSet true.
//
// Recording an error allocates nothing as long as its detail and message
// fit a short string (the out-of-memory row does): the location list is
// reserved at construction, so an allocation failure can be reported while
// memory stays exhausted. A location that finds the list full and no
// memory is dropped.
//
// Thread-safety: none; callers serialise every use.
#ifndef STATTREE_BOUNDARY_ERROR_MANAGER_H_
#define STATTREE_BOUNDARY_ERROR_MANAGER_H_

#include <fstream>
#include <string>
#include <vector>

#include "stattree/boundary/error_info.h"

namespace stattree {

class ErrorManager {
 public:
  // `table` is borrowed and must outlive the manager; it ends with a row
  // whose code is 0.
  ErrorManager(const ErrorInfo* table, const char* name);
  ErrorManager(const ErrorManager& other) = default;
  ErrorManager& operator=(const ErrorManager& other) = default;
  virtual ~ErrorManager() = default;

  // Makes the table row of `code` the current error. A code without a row
  // is set all the same, with second value 0, an empty message and flag
  // false.
  bool Set(int code);
  bool Set(int code, int detail);
  bool Set(int code, const std::string& detail);
  // Sets the current error from the values as passed, without a look-up.
  // `extra` is accepted for interface compatibility and has no effect.
  bool Set(int code, int second, const std::string& message, bool flag, bool extra);

  bool DumpCode(int location);
  bool IsErrorSet() const { return isSet_; }
  // Copies the current error out; false (outputs untouched) when none.
  bool Get(int& code, int& second, std::string& message, bool& flag) const;
  void Clear();
  // From now on each Set and DumpCode writes one line to `stream`; null
  // detaches. The stream is borrowed.
  void Init(std::ofstream* stream);

  // The integer or text detail of the current error ("" when none).
  const std::string& GetDetail() const { return detail_; }
  const std::vector<int>& GetLocations() const { return locations_; }
  const char* GetName() const { return name_.c_str(); }

 private:
  const ErrorInfo* FindRow(int code) const;
  bool SetFromRow(int code, std::string detail);
  void WriteError() const;

  const ErrorInfo* table_;
  std::string name_;
  std::ofstream* stream_ = nullptr;
  bool isSet_ = false;
  int code_ = 0;
  int second_ = 0;
  bool flag_ = false;
  std::string message_;
  std::string detail_;
  std::vector<int> locations_;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_ERROR_MANAGER_H_
