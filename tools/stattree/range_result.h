// RangeResult: how one worker's range of the input went, as the worker
// sends it to the parent: the outcome (with the message the tool would
// print for it), the counts, the warnings' state, the node counter's
// journal and the engine's unfinalized results. Plain data; Pack and
// Unpack carry it over a pipe.
#ifndef STATTREE_TOOLS_RANGE_RESULT_H_
#define STATTREE_TOOLS_RANGE_RESULT_H_

#include <string>

namespace stattree {
namespace cli {

struct RangeResult {
  enum class Status : long long {
    Ok = 0,
    DataError = 1,  // `message`: the reader's "line N: ..."
    NodeLimit = 2,  // the range alone grows the tree past --max-nodes
    Failed = 3,     // `message`: the whole text after "error: <file>: "
    Cancelled = 4,
  };

  Status status = Status::Ok;
  std::string message;
  long long records = 0;
  long long skippedRows = 0;
  long long nodes = 1;      // as counted ahead of the engine, the root included
  std::string nodeJournal;  // NodeCounter::SaveJournal, with a node limit
  std::string warnings;
  std::string engine;

  std::string Pack() const;
  // False for bytes that Pack did not write.
  bool Unpack(const std::string& bytes);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_RANGE_RESULT_H_
