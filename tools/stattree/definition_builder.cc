#include "tools/stattree/definition_builder.h"

#include "tools/stattree/library_error.h"

namespace stattree {
namespace cli {
namespace {

Field ToField(const ColumnRef& ref) {
  Field field;
  field.name = ref.name;
  field.colNum = ref.column;
  return field;
}

bool BuildOne(StatsDefn& definition, std::vector<std::string>& errors, const StatisticSpec& spec) {
  Stats::ClearError();
  definition.Initialize(spec.name, ToField(spec.field), spec.type);
  auto refused = [&](const std::string& what) {
    errors.push_back(spec.path + "/" + what +
                     ": refused by the library: " + LibraryError::TakeText());
    return false;
  };
  if (spec.hasGrouping) {
    std::vector<Field> fields;
    for (const ColumnRef& ref : spec.groupingFields) fields.push_back(ToField(ref));
    if (!definition.CreateGroupingSpec(spec.groupingName, fields)) return refused("grouping");
  }
  if (spec.hasSubset) {
    std::vector<SubsetFieldValPair> pairs;
    for (const SubsetCondition& condition : spec.where) {
      SubsetFieldValPair pair;
      pair.field = ToField(condition.column);
      pair.value = condition.value;
      pairs.push_back(pair);
    }
    if (!definition.CreateSubsetSpec(spec.subsetName, pairs)) return refused("subset");
  }
  if (spec.hasValues && !definition.CreateEnumSpec(spec.values)) return refused("values");
  if (spec.histogram.present) {
    HistogramSpec histogram = spec.histogram;
    const bool built =
        histogram.byEdges
            ? definition.CreateHistogramSpec(histogram.edges, histogram.logic)
            : definition.CreateHistogramSpec(histogram.start, histogram.width, histogram.count);
    if (!built) return refused("histogram");
  }
  return true;
}

}  // namespace

bool DefinitionBuilder::Build(std::map<std::string, StatsDefn>& definitions,
                              std::vector<Field>& treeFields, std::string& recordCountName,
                              std::vector<std::string>& errors, const Job& job) {
  bool ok = true;
  for (const ColumnRef& ref : job.tree) treeFields.push_back(ToField(ref));
  recordCountName.clear();
  for (const StatisticSpec& spec : job.statistics) {
    if (!BuildOne(definitions[spec.name], errors, spec)) ok = false;
    if (recordCountName.empty() && !spec.hasSubset) recordCountName = spec.name;
  }
  if (!ok || !recordCountName.empty()) return ok;
  // Count reads no column, so column 0 serves any header.
  std::string name = "@records";
  while (definitions.count(name) != 0) name += "+";
  Field field;
  field.name = "@records";
  field.colNum = 0;
  definitions[name].Initialize(name, field, StatsDefn::Count);
  recordCountName = name;
  return true;
}

}  // namespace cli
}  // namespace stattree
