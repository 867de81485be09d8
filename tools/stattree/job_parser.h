// JobParser: turns a job file's parsed JSON document into a Job (see
// JobLoader for the format), collecting every problem it finds.
//
// Errors go to the borrowed `errors`, warnings (a spec that the statistic's
// type does not use) to Job::warnings, each as "<JSON pointer>: <message>".
// One parser per document; not thread-safe.
#ifndef STATTREE_TOOLS_JOB_PARSER_H_
#define STATTREE_TOOLS_JOB_PARSER_H_

#include <string>
#include <vector>

#include "tools/stattree/document_builder.h"
#include "tools/stattree/job.h"

namespace stattree {
namespace cli {

class JobParser {
 public:
  using json = JobDocument;

  JobParser(Job& job, std::vector<std::string>& errors) : job_(job), errors_(errors) {}

  void ParseRoot(const json& root);

 private:
  void Error(const std::string& path, const std::string& message);
  void Warning(const std::string& path, const std::string& message);
  void WrongType(const std::string& path, const std::string& expected, const json& found);
  // Reports keys of `object` outside `allowed`.
  void CheckKeys(const json& object, const std::string& path,
                 const std::vector<std::string>& allowed);
  bool ParseColumn(ColumnRef& column, const json& value, const std::string& path);
  bool ParseColumnList(std::vector<ColumnRef>& columns, const json& value, const std::string& path);
  // A number, or also a string / null where `allowText` / `allowNull`.
  bool ParseValue(Variant& out, const json& value, const std::string& path, bool allowText,
                  bool allowNull);
  void ParseStatistic(StatisticSpec& spec, const json& value);
  // A grouping or a subset: an object with an optional "name" and the list
  // under `listKey`, read by the member `parseList`, which also gives the
  // texts that name it when "name" is absent. Sets `has` and `name`
  // only when all of it is right.
  using ListParser = bool (JobParser::*)(StatisticSpec& spec, std::vector<std::string>& nameParts,
                                         const json& list, const std::string& listPath);
  void ParseNamedSpec(bool& has, std::string& name, StatisticSpec& spec, const json& value,
                      const std::string& path, const std::string& listKey,
                      const std::string& listMeaning, ListParser parseList);
  bool ParseGroupingFields(StatisticSpec& spec, std::vector<std::string>& nameParts,
                           const json& list, const std::string& listPath);
  bool ParseSubsetWhere(StatisticSpec& spec, std::vector<std::string>& nameParts, const json& list,
                        const std::string& listPath);
  void ParseValues(StatisticSpec& spec, const json& value, const std::string& path);
  void ParseHistogram(StatisticSpec& spec, const json& value, const std::string& path);
  void CheckNamesAgree();

  Job& job_;
  std::vector<std::string>& errors_;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_JOB_PARSER_H_
