#include "tools/stattree/job_loader.h"

#include <fstream>
#include <map>
#include <sstream>

#include "tools/stattree/document_builder.h"
#include "tools/stattree/job_parser.h"
#include "tools/stattree/job_text.h"

namespace stattree {
namespace cli {

bool JobLoader::Load(Job& job, std::vector<std::string>& errors, const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    errors.push_back("cannot open the job file");
    return false;
  }
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) {
    errors.push_back("cannot read the job file");
    return false;
  }
  return Parse(job, errors, text.str());
}

bool JobLoader::Parse(Job& job, std::vector<std::string>& errors, const std::string& text) {
  const std::size_t before = errors.size();
  JobDocument root;
  DocumentBuilder builder(root, errors);
  if (!JobDocument::sax_parse(text, &builder)) return false;
  JobParser(job, errors).ParseRoot(root);
  return errors.size() == before;
}

bool JobLoader::Resolve(Job& job, std::vector<std::string>& errors,
                        const std::vector<std::string>& header) {
  const std::size_t before = errors.size();
  std::map<std::string, std::vector<int>> columns;
  for (std::size_t i = 0; i < header.size(); ++i) {
    columns[header[i]].push_back(static_cast<int>(i));
  }
  auto resolve = [&](ColumnRef& ref) {
    const auto it = columns.find(ref.name);
    if (it == columns.end()) {
      errors.push_back(JobText::Where(ref.path) + ": unknown column " + JobText::Quote(ref.name) +
                       "; the header has " + JobText::QuotedList(header));
      return;
    }
    if (it->second.size() > 1) {
      errors.push_back(JobText::Where(ref.path) + ": the column name " + JobText::Quote(ref.name) +
                       " appears " + std::to_string(it->second.size()) +
                       " times in the header; rename the columns so that each name is unique");
      return;
    }
    ref.column = it->second.front();
  };
  for (ColumnRef& ref : job.tree) resolve(ref);
  for (StatisticSpec& spec : job.statistics) {
    if (spec.field.path.empty() && !header.empty()) {
      // A Count without a field: it never reads its column.
      spec.field.column = 0;
    } else {
      resolve(spec.field);
    }
    for (ColumnRef& ref : spec.groupingFields) resolve(ref);
    for (SubsetCondition& condition : spec.where) resolve(condition.column);
  }
  return errors.size() == before;
}

}  // namespace cli
}  // namespace stattree
