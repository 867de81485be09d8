// DefinitionBuilder: turns a resolved Job into the engine's statistic
// definitions and tree fields through StatsDefn and its spec builders.
//
// Every builder's answer is checked; a refusal becomes an error naming the
// statistic's JSON pointer and the library's error. The node record count
// is read from a statistic without a subset (its grouping totals see every
// record of the node); when the job has none, a hidden Count is added
// under a name no statistic uses.
#ifndef STATTREE_TOOLS_DEFINITION_BUILDER_H_
#define STATTREE_TOOLS_DEFINITION_BUILDER_H_

#include <map>
#include <string>
#include <vector>

#include "stattree/stattree.h"
#include "tools/stattree/job.h"

namespace stattree {
namespace cli {

class DefinitionBuilder {
 public:
  // `recordCountName` receives the statistic to read node record counts
  // from.
  static bool Build(std::map<std::string, StatsDefn>& definitions, std::vector<Field>& treeFields,
                    std::string& recordCountName, std::vector<std::string>& errors, const Job& job);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_DEFINITION_BUILDER_H_
