#include "tools/stattree/job_parser.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <utility>

#include "tools/stattree/job_text.h"
#include "tools/stattree/join.h"

namespace stattree {
namespace cli {
namespace {

using json = JobParser::json;

// Bins are copied into every node and grouping combination: keep a job
// from asking for millions by a typo.
constexpr int kMaxBins = 1000;
// What a subset's "where" holds, in its messages.
constexpr const char* kWhereMeaning = "an object from column name to the value it must hold";

std::string Describe(const json& value) {
  switch (value.type()) {
    case json::value_t::null:
      return "null";
    case json::value_t::boolean:
      return value.get<bool>() ? "true" : "false";
    case json::value_t::string:
      return "a string";
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float:
      return "a number";
    case json::value_t::object:
      return "an object";
    case json::value_t::array:
      return "an array";
    default:
      return "an unsupported value";
  }
}

// The library's type names, in the order of their values.
std::vector<std::string> TypeNames() {
  std::vector<std::string> names;
  for (int type = StatsDefn::Count; type < StatsDefn::InvalidType; ++type) {
    names.emplace_back();
    StatsDefn::GetTypeString(names.back(), static_cast<StatsDefn::StatsType>(type));
  }
  return names;
}

// "EnumCount and EnumPercent do": the types whose definitions answer
// `predicate` with true.
std::string TypesThat(bool (StatsDefn::*predicate)()) {
  const std::vector<std::string> all = TypeNames();
  std::vector<std::string> names;
  for (std::size_t type = 0; type < all.size(); ++type) {
    StatsDefn probe("", Field(), static_cast<StatsDefn::StatsType>(type));
    if ((probe.*predicate)()) names.push_back(all[type]);
  }
  return Join(names, " and ") + (names.size() == 1 ? " does" : " do");
}

}  // namespace

void JobParser::Error(const std::string& path, const std::string& message) {
  errors_.push_back(JobText::Where(path) + ": " + message);
}

void JobParser::Warning(const std::string& path, const std::string& message) {
  job_.warnings.push_back(JobText::Where(path) + ": " + message);
}

void JobParser::WrongType(const std::string& path, const std::string& expected, const json& found) {
  Error(path, "expected " + expected + ", found " + Describe(found));
}

void JobParser::CheckKeys(const json& object, const std::string& path,
                          const std::vector<std::string>& allowed) {
  for (const auto& item : object.items()) {
    if (std::find(allowed.begin(), allowed.end(), item.key()) == allowed.end()) {
      Error(path + "/" + JobText::PointerToken(item.key()),
            "unknown key " + JobText::Quote(item.key()) + "; expected one of " +
                JobText::QuotedList(allowed));
    }
  }
}

bool JobParser::ParseColumn(ColumnRef& column, const json& value, const std::string& path) {
  column.path = path;
  if (!value.is_string()) {
    WrongType(path, "a column name (a string)", value);
    return false;
  }
  column.name = value.get<std::string>();
  return true;
}

bool JobParser::ParseColumnList(std::vector<ColumnRef>& columns, const json& value,
                                const std::string& path) {
  if (!value.is_array()) {
    WrongType(path, "an array of column names", value);
    return false;
  }
  bool ok = true;
  for (std::size_t i = 0; i < value.size(); ++i) {
    ColumnRef column;
    if (ParseColumn(column, value[i], path + "/" + std::to_string(i))) {
      columns.push_back(column);
    } else {
      ok = false;
    }
  }
  return ok;
}

bool JobParser::ParseValue(Variant& out, const json& value, const std::string& path, bool allowText,
                           bool allowNull) {
  switch (value.type()) {
    case json::value_t::number_integer:
      out = Variant(static_cast<long long>(value.get<std::int64_t>()));
      return true;
    case json::value_t::number_unsigned: {
      const auto number = value.get<std::uint64_t>();
      if (number > static_cast<std::uint64_t>(std::numeric_limits<long long>::max())) {
        Error(path, "the number is too large (at most 9223372036854775807)");
        return false;
      }
      out = Variant(static_cast<long long>(number));
      return true;
    }
    case json::value_t::number_float:
      out = Variant(value.get<double>());
      return true;
    case json::value_t::string:
      if (allowText) {
        out = Variant(value.get<std::string>());
        return true;
      }
      break;
    case json::value_t::null:
      if (allowNull) {
        out.SetEmpty();
        return true;
      }
      break;
    default:
      break;
  }
  std::string expected = "a number";
  if (allowText && allowNull) {
    expected = "a string, a number or null (an empty cell)";
  } else if (allowText) {
    expected = "a string or a number";
  }
  WrongType(path, expected, value);
  return false;
}

void JobParser::ParseRoot(const json& root) {
  if (!root.is_object()) {
    WrongType("", "an object with \"tree\" and \"statistics\"", root);
    return;
  }
  CheckKeys(root, "", {"tree", "statistics", "description"});
  if (root.contains("tree")) ParseColumnList(job_.tree, root["tree"], "/tree");
  if (root.contains("description") && !root["description"].is_string()) {
    WrongType("/description", "a string", root["description"]);
  }
  if (!root.contains("statistics")) {
    Error("", "missing \"statistics\": an object from statistic name to its definition");
    return;
  }
  const json& statistics = root["statistics"];
  if (!statistics.is_object()) {
    WrongType("/statistics", "an object from statistic name to its definition", statistics);
    return;
  }
  // In the order of the file: the report lists statistics as written.
  for (const auto& item : statistics.items()) {
    StatisticSpec spec;
    spec.name = item.key();
    spec.path = "/statistics/" + JobText::PointerToken(item.key());
    ParseStatistic(spec, item.value());
    job_.statistics.push_back(std::move(spec));
  }
  CheckNamesAgree();
}

void JobParser::ParseStatistic(StatisticSpec& spec, const json& value) {
  const std::string& path = spec.path;
  if (!value.is_object()) {
    WrongType(path, "an object with \"type\" and \"field\"", value);
    return;
  }
  CheckKeys(value, path,
            {"type", "field", "grouping", "subset", "values", "histogram", "description"});
  if (value.contains("description") && !value["description"].is_string()) {
    WrongType(path + "/description", "a string", value["description"]);
  }
  if (!value.contains("type")) {
    Error(path, "missing \"type\"; expected one of " + JobText::QuotedList(TypeNames()));
  } else if (!value["type"].is_string()) {
    WrongType(path + "/type", "a type name (a string)", value["type"]);
  } else {
    const std::string text = value["type"].get<std::string>();
    spec.type = StatsDefn::GetTypeFromString(text);
    if (spec.type == StatsDefn::InvalidType) {
      Error(path + "/type", "unknown type " + JobText::Quote(text) + "; expected one of " +
                                JobText::QuotedList(TypeNames()) + " (names are case-sensitive)");
    }
  }
  if (value.contains("field")) {
    ParseColumn(spec.field, value["field"], path + "/field");
  } else if (spec.type != StatsDefn::Count) {
    Error(path, "missing \"field\": the column the statistic reads");
  }
  if (value.contains("grouping")) {
    ParseNamedSpec(spec.hasGrouping, spec.groupingName, spec, value["grouping"], path + "/grouping",
                   "fields", "the columns to group by", &JobParser::ParseGroupingFields);
  }
  if (value.contains("subset")) {
    ParseNamedSpec(spec.hasSubset, spec.subsetName, spec, value["subset"], path + "/subset",
                   "where", kWhereMeaning, &JobParser::ParseSubsetWhere);
  }

  // The distribution specs: read where the type uses them, warned of and
  // dropped elsewhere.
  struct Distribution {
    const char* key;
    bool (StatsDefn::*usedBy)();
    const char* unused;
    const char* needed;
    void (JobParser::*parse)(StatisticSpec& spec, const json& value, const std::string& path);
  };
  static const Distribution kDistributions[] = {
      {"values", &StatsDefn::IsEnum, "does not count enumeration values",
       "the list of values to count", &JobParser::ParseValues},
      {"histogram", &StatsDefn::IsHistogram, "does not use histogram bins",
       "{\"start\", \"width\", \"count\"} or {\"edges\": [...], \"logic\"}",
       &JobParser::ParseHistogram},
  };
  StatsDefn probe(spec.name, Field(), spec.type);
  const bool typed = spec.type != StatsDefn::InvalidType;
  const std::string typeText = typed ? spec.TypeName() : "this statistic";
  for (const Distribution& d : kDistributions) {
    const bool uses = (probe.*d.usedBy)();
    const std::string keyPath = path + "/" + d.key;
    if (value.contains(d.key)) {
      if (uses) {
        (this->*d.parse)(spec, value[d.key], keyPath);
      } else if (typed) {
        Warning(keyPath,
                typeText + " " + d.unused + " (only " + TypesThat(d.usedBy) + "); ignored");
      }
    } else if (uses) {
      Error(path, typeText + " needs " + JobText::Quote(d.key) + ": " + d.needed);
    }
  }
}

void JobParser::ParseNamedSpec(bool& has, std::string& name, StatisticSpec& spec, const json& value,
                               const std::string& path, const std::string& listKey,
                               const std::string& listMeaning, ListParser parseList) {
  if (!value.is_object()) {
    WrongType(path, "an object with " + JobText::Quote(listKey) + " and an optional \"name\"",
              value);
    return;
  }
  CheckKeys(value, path, {"name", listKey});
  std::vector<std::string> nameParts;
  bool ok = true;
  if (!value.contains(listKey)) {
    Error(path, "missing " + JobText::Quote(listKey) + ": " + listMeaning);
    ok = false;
  } else if (!(this->*parseList)(spec, nameParts, value[listKey], path + "/" + listKey)) {
    ok = false;
  }
  std::string given;
  if (value.contains("name")) {
    const json& text = value["name"];
    if (!text.is_string() || text.get<std::string>().empty()) {
      WrongType(path + "/name", "a non-empty string", text);
      return;
    }
    given = text.get<std::string>();
  }
  if (!ok) return;
  has = true;
  name = given.empty() ? Join(nameParts, ",", true) : given;
}

bool JobParser::ParseGroupingFields(StatisticSpec& spec, std::vector<std::string>& nameParts,
                                    const json& list, const std::string& listPath) {
  if (!ParseColumnList(spec.groupingFields, list, listPath)) return false;
  if (spec.groupingFields.empty()) {
    Error(listPath, "expected at least one column name");
    return false;
  }
  for (const ColumnRef& field : spec.groupingFields) nameParts.push_back(field.name);
  return true;
}

bool JobParser::ParseSubsetWhere(StatisticSpec& spec, std::vector<std::string>& nameParts,
                                 const json& list, const std::string& listPath) {
  if (!list.is_object()) {
    WrongType(listPath, kWhereMeaning, list);
    return false;
  }
  if (list.empty()) {
    Error(listPath, "expected at least one column");
    return false;
  }
  bool ok = true;
  for (const auto& item : list.items()) {
    const std::string itemPath = listPath + "/" + JobText::PointerToken(item.key());
    SubsetCondition condition;
    condition.column.name = item.key();
    condition.column.path = itemPath;
    if (ParseValue(condition.value, item.value(), itemPath, true, true)) {
      nameParts.push_back(condition.column.name + "=" + condition.value.ToString());
      spec.where.push_back(condition);
    } else {
      ok = false;
    }
  }
  return ok;
}

void JobParser::ParseValues(StatisticSpec& spec, const json& value, const std::string& path) {
  if (!value.is_array()) {
    WrongType(path, "an array of values (strings or numbers)", value);
    return;
  }
  if (value.empty()) {
    Error(path, "expected at least one value");
    return;
  }
  std::vector<std::string> texts;
  std::set<std::string> seen;
  texts.reserve(value.size());
  bool ok = true;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const std::string itemPath = path + "/" + std::to_string(i);
    Variant v;
    if (!ParseValue(v, value[i], itemPath, true, false)) {
      ok = false;
      continue;
    }
    std::string text = v.ToString();
    if (!seen.insert(text).second) {
      Error(itemPath, "the value " + JobText::Quote(text) + " is listed twice");
      ok = false;
      continue;
    }
    texts.push_back(std::move(text));
  }
  if (!ok) return;
  spec.hasValues = true;
  spec.values = std::move(texts);
}

void JobParser::ParseHistogram(StatisticSpec& spec, const json& value, const std::string& path) {
  if (!value.is_object()) {
    WrongType(path, "an object: {\"start\", \"width\", \"count\"} or {\"edges\", \"logic\"}",
              value);
    return;
  }
  HistogramSpec histogram;
  bool ok = true;
  if (value.contains("edges")) {
    CheckKeys(value, path, {"edges", "logic"});
    histogram.byEdges = true;
    const json& edges = value["edges"];
    if (!edges.is_array()) {
      WrongType(path + "/edges", "an array of numbers in ascending order", edges);
      ok = false;
    } else if (edges.empty() || edges.size() > static_cast<std::size_t>(kMaxBins)) {
      Error(path + "/edges", "expected 1 to " + std::to_string(kMaxBins) + " edges, found " +
                                 std::to_string(edges.size()));
      ok = false;
    } else {
      for (std::size_t i = 0; i < edges.size(); ++i) {
        const std::string itemPath = path + "/edges/" + std::to_string(i);
        Variant edge;
        if (!ParseValue(edge, edges[i], itemPath, false, false)) {
          ok = false;
          continue;
        }
        if (!histogram.edges.empty() && !(histogram.edges.back() < edge)) {
          Error(itemPath, "edges must be in strictly ascending order, but " + edge.ToString() +
                              " follows " + histogram.edges.back().ToString());
          ok = false;
        }
        histogram.edges.push_back(edge);
      }
    }
    if (value.contains("logic")) {
      const json& logic = value["logic"];
      if (logic == "LowerEdgeInclusive") {
        histogram.logic = LowerEdgeInclusive;
      } else if (logic == "UpperEdgeInclusive") {
        histogram.logic = UpperEdgeInclusive;
      } else {
        Error(path + "/logic",
              "expected \"LowerEdgeInclusive\" or \"UpperEdgeInclusive\", found " +
                  (logic.is_string() ? JobText::Quote(logic.get<std::string>()) : Describe(logic)));
        ok = false;
      }
    }
  } else {
    CheckKeys(value, path, {"start", "width", "count", "edges", "logic"});
    for (const char* key : {"start", "width", "count"}) {
      if (!value.contains(key)) {
        Error(path, std::string("missing \"") + key +
                        "\": equal-width bins need \"start\", \"width\" and \"count\" (or give "
                        "\"edges\")");
        ok = false;
      }
    }
    if (value.contains("logic")) {
      Error(path + "/logic", "\"logic\" applies to \"edges\" only");
      ok = false;
    }
    if (value.contains("start") &&
        !ParseValue(histogram.start, value["start"], path + "/start", false, false)) {
      ok = false;
    }
    if (value.contains("width")) {
      if (!ParseValue(histogram.width, value["width"], path + "/width", false, false)) {
        ok = false;
      } else if (!(histogram.width.ToDouble() > 0)) {
        Error(path + "/width", "expected a number above 0, found " + histogram.width.ToString());
        ok = false;
      }
    }
    if (value.contains("count")) {
      const json& count = value["count"];
      if (!count.is_number_integer() || count.get<long long>() < 1 ||
          count.get<long long>() > kMaxBins) {
        Error(path + "/count", "expected a whole number from 1 to " + std::to_string(kMaxBins) +
                                   ", found " +
                                   (count.is_number() ? count.dump() : Describe(count)));
        ok = false;
      } else {
        histogram.count = count.get<int>();
      }
    }
  }
  if (!ok) return;
  histogram.present = true;
  spec.histogram = histogram;
}

// The engine keeps one result container per subset name and, inside it,
// per grouping name, built from the first definition that uses the name:
// a name that means two different things would silently merge them.
void JobParser::CheckNamesAgree() {
  std::map<std::string, const StatisticSpec*> groupings;
  std::map<std::string, const StatisticSpec*> subsets;
  auto columns = [](const std::vector<ColumnRef>& refs) {
    std::vector<std::string> names;
    names.reserve(refs.size());
    for (const ColumnRef& ref : refs) names.push_back(ref.name);
    return names;
  };
  auto conditions = [](const std::vector<SubsetCondition>& where) {
    std::vector<std::string> texts;
    texts.reserve(where.size());
    for (const SubsetCondition& c : where) {
      texts.push_back(c.column.name + "=" + c.value.ToString() +
                      (c.value.IsEmpty() ? "(empty)" : ""));
    }
    return texts;
  };
  for (const StatisticSpec& spec : job_.statistics) {
    if (spec.hasGrouping) {
      auto [it, added] = groupings.emplace(spec.groupingName, &spec);
      if (!added && columns(it->second->groupingFields) != columns(spec.groupingFields)) {
        Error(spec.path + "/grouping", "the grouping name " + JobText::Quote(spec.groupingName) +
                                           " is used by " + JobText::Quote(it->second->name) +
                                           " with other fields; give this grouping another name");
      }
    }
    if (spec.hasSubset) {
      auto [it, added] = subsets.emplace(spec.subsetName, &spec);
      if (!added && conditions(it->second->where) != conditions(spec.where)) {
        Error(spec.path + "/subset", "the subset name " + JobText::Quote(spec.subsetName) +
                                         " is used by " + JobText::Quote(it->second->name) +
                                         " with other conditions; give this subset another name");
      }
    }
  }
}

}  // namespace cli
}  // namespace stattree
