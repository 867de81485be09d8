// A one-value host record for the accumulator tests, with switchable read
// failures and error descriptions.
#ifndef STATTREE_STATISTICS_STATISTICS_TEST_UTIL_H_
#define STATTREE_STATISTICS_STATISTICS_TEST_UTIL_H_

#include <string>
#include <vector>

#include "stattree/boundary/stats_record.h"
#include "stattree/boundary/variant.h"
#include "stattree/engine/error_reporting.h"

namespace stattree {
namespace testing {

class OneValueRecord : public StatsRecord {
 public:
  enum class ErrorAnswer { Decline, AnswerUntouched };

  bool GetValue(Variant& out, int colNum) const override {
    columnsAsked.push_back(colNum);
    ++reads;
    if (failFromRead > 0 && reads >= failFromRead) return false;
    out = value;
    return true;
  }
  bool GetError(int& /*code*/, int& /*second*/, std::string& /*message*/,
                bool& /*flag*/) const override {
    return errorAnswer == ErrorAnswer::AnswerUntouched;
  }

  // Every read from the given one on (1 = the first) fails; 0 never.
  void FailFromRead(int read) {
    failFromRead = read;
    reads = 0;
  }

  Variant value;
  ErrorAnswer errorAnswer = ErrorAnswer::AnswerUntouched;
  mutable std::vector<int> columnsAsked;

 private:
  int failFromRead = 0;
  mutable int reads = 0;
};

struct HeldError {
  int code = -1;
  int second = -1;
  std::string message = "unset";
  bool flag = true;
  bool set = false;
};

inline HeldError GetHeldError() {
  HeldError held;
  held.set = TheErrorManager().Get(held.code, held.second, held.message, held.flag);
  return held;
}

inline const std::vector<int>& HeldLocations() { return TheErrorManager().GetLocations(); }

}  // namespace testing
}  // namespace stattree

#endif  // STATTREE_STATISTICS_STATISTICS_TEST_UTIL_H_
