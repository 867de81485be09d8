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
  // `errorTable` is borrowed and must outlive the manager; it ends with a row
  // whose code is 0.
  ErrorManager(const ErrorInfo* errorTable, const char* managerName);
  ErrorManager(const ErrorManager& other) = default;
  ErrorManager& operator=(const ErrorManager& other) = default;
  virtual ~ErrorManager() = default;

  // Makes the table row of `errorCode` the current error. A code without a row
  // is set all the same, with second value 0, an empty message and flag
  // false.
  bool Set(int errorCode);
  bool Set(int errorCode, int errorDetail);
  bool Set(int errorCode, const std::string& errorDetail);
  // Sets the current error from the values as passed, without a look-up.
  // `extra` is accepted for interface compatibility and has no effect.
  bool Set(int errorCode, int errorSecond, const std::string& errorMessage, bool errorFlag,
           bool extra);

  bool DumpCode(int location);
  bool IsErrorSet() const { return isSet; }
  // Copies the current error out; false (outputs untouched) when none.
  bool Get(int& outCode, int& outSecond, std::string& outMessage, bool& outFlag) const;
  void Clear();
  // From now on each Set and DumpCode writes one line to `logStream`; null
  // detaches. The stream is borrowed.
  void Init(std::ofstream* logStream);

  // The integer or text detail of the current error ("" when none).
  const std::string& GetDetail() const { return detail; }
  const std::vector<int>& GetLocations() const { return locations; }
  const char* GetName() const { return name.c_str(); }

 private:
  const ErrorInfo* FindRow(int errorCode) const;
  bool SetFromRow(int errorCode, std::string errorDetail);
  void WriteError() const;

  const ErrorInfo* table;
  std::string name;
  std::ofstream* stream = nullptr;
  bool isSet = false;
  int code = 0;
  int second = 0;
  bool flag = false;
  std::string message;
  std::string detail;
  std::vector<int> locations;
};

}  // namespace stattree

#endif  // STATTREE_BOUNDARY_ERROR_MANAGER_H_
