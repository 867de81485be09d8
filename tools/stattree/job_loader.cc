#include "tools/stattree/job_loader.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

namespace stattree {
namespace cli {
namespace {

using json = nlohmann::ordered_json;

// Bins are copied into every node and grouping combination: keep a job
// from asking for millions by a typo.
constexpr int kMaxBins = 1000;
// Enough names to find a typo in, few enough to read.
constexpr std::size_t kMaxListedColumns = 40;
// The deepest a valid job goes: /statistics/<name>/subset/where/<column>.
constexpr std::size_t kJobDepth = 5;
// Far past any valid job, so that the error names where it went wrong,
// and shallow enough that its pointer stays readable.
constexpr std::size_t kMaxDepth = 100;

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

std::string Where(const std::string& path) { return path.empty() ? "(top level)" : path; }

std::string Quote(const std::string& text) { return "\"" + text + "\""; }

// Walks the parsed document, collecting every problem it finds.
class JobParser {
 public:
  JobParser(Job& job, std::vector<std::string>& errors) : job_(job), errors_(errors) {}

  void ParseRoot(const json& root);

 private:
  void Error(const std::string& path, const std::string& message) {
    errors_.push_back(Where(path) + ": " + message);
  }
  void Warning(const std::string& path, const std::string& message) {
    job_.warnings.push_back(Where(path) + ": " + message);
  }
  void WrongType(const std::string& path, const std::string& expected, const json& found) {
    Error(path, "expected " + expected + ", found " + Describe(found));
  }
  // Reports keys of `object` outside `allowed`.
  void CheckKeys(const json& object, const std::string& path,
                 const std::vector<std::string>& allowed);
  bool ParseColumn(ColumnRef& column, const json& value, const std::string& path);
  bool ParseColumnList(std::vector<ColumnRef>& columns, const json& value, const std::string& path);
  // A number, or also a string / null where `allowText` / `allowNull`.
  bool ParseValue(Variant& out, const json& value, const std::string& path, bool allowText,
                  bool allowNull);
  void ParseStatistic(StatisticSpec& spec, const json& value);
  void ParseGrouping(StatisticSpec& spec, const json& value, const std::string& path);
  void ParseSubset(StatisticSpec& spec, const json& value, const std::string& path);
  bool ParseSpecName(std::string& name, const json& value, const std::string& path);
  void ParseValues(StatisticSpec& spec, const json& value, const std::string& path);
  void ParseHistogram(StatisticSpec& spec, const json& value, const std::string& path);
  void CheckNamesAgree();

  Job& job_;
  std::vector<std::string>& errors_;
};

void JobParser::CheckKeys(const json& object, const std::string& path,
                          const std::vector<std::string>& allowed) {
  for (const auto& item : object.items()) {
    if (std::find(allowed.begin(), allowed.end(), item.key()) == allowed.end()) {
      Error(path + "/" + JobLoader::PointerToken(item.key()), "unknown key " + Quote(item.key()) +
                                                                  "; expected one of " +
                                                                  JobLoader::QuotedList(allowed));
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
    spec.path = "/statistics/" + JobLoader::PointerToken(item.key());
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
    Error(path,
          "missing \"type\"; expected one of " + JobLoader::QuotedList(JobLoader::TypeNames()));
  } else if (!value["type"].is_string()) {
    WrongType(path + "/type", "a type name (a string)", value["type"]);
  } else {
    spec.type = value["type"].get<std::string>();
    const auto& names = JobLoader::TypeNames();
    if (std::find(names.begin(), names.end(), spec.type) == names.end()) {
      Error(path + "/type", "unknown type " + Quote(spec.type) + "; expected one of " +
                                JobLoader::QuotedList(names) + " (names are case-sensitive)");
      spec.type.clear();
    }
  }
  if (value.contains("field")) {
    ParseColumn(spec.field, value["field"], path + "/field");
  } else if (spec.type != "Count") {
    Error(path, "missing \"field\": the column the statistic reads");
  }
  if (value.contains("grouping")) ParseGrouping(spec, value["grouping"], path + "/grouping");
  if (value.contains("subset")) ParseSubset(spec, value["subset"], path + "/subset");

  const bool usesValues = JobLoader::UsesValues(spec.type);
  const bool usesHistogram = JobLoader::UsesHistogram(spec.type);
  const std::string typeText = spec.type.empty() ? "this statistic" : spec.type;
  if (value.contains("values")) {
    if (usesValues) {
      ParseValues(spec, value["values"], path + "/values");
    } else if (!spec.type.empty()) {
      Warning(path + "/values", typeText +
                                    " does not count enumeration values (only EnumCount and "
                                    "EnumPercent do); ignored");
    }
  } else if (usesValues) {
    Error(path, typeText + " needs \"values\": the list of values to count");
  }
  if (value.contains("histogram")) {
    if (usesHistogram) {
      ParseHistogram(spec, value["histogram"], path + "/histogram");
    } else if (!spec.type.empty()) {
      Warning(path + "/histogram",
              typeText + " does not use histogram bins (only Histogram1 does); ignored");
    }
  } else if (usesHistogram) {
    Error(path,
          "Histogram1 needs \"histogram\": {\"start\", \"width\", \"count\"} or "
          "{\"edges\": [...], \"logic\"}");
  }
}

void JobParser::ParseGrouping(StatisticSpec& spec, const json& value, const std::string& path) {
  if (!value.is_object()) {
    WrongType(path, "an object with \"fields\" and an optional \"name\"", value);
    return;
  }
  CheckKeys(value, path, {"name", "fields"});
  bool ok = true;
  if (!value.contains("fields")) {
    Error(path, "missing \"fields\": the columns to group by");
    ok = false;
  } else if (ParseColumnList(spec.groupingFields, value["fields"], path + "/fields")) {
    if (spec.groupingFields.empty()) {
      Error(path + "/fields", "expected at least one column name");
      ok = false;
    }
  } else {
    ok = false;
  }
  std::string name;
  if (!ParseSpecName(name, value, path)) {
    ok = false;
  } else if (name.empty()) {
    for (const ColumnRef& field : spec.groupingFields) {
      name += (name.empty() ? "" : ",") + field.name;
    }
  }
  if (!ok) return;
  spec.hasGrouping = true;
  spec.groupingName = name;
}

// The optional "name" of a grouping or a subset; "" when absent.
bool JobParser::ParseSpecName(std::string& name, const json& value, const std::string& path) {
  if (!value.contains("name")) return true;
  if (!value["name"].is_string() || value["name"].get<std::string>().empty()) {
    WrongType(path + "/name", "a non-empty string", value["name"]);
    return false;
  }
  name = value["name"].get<std::string>();
  return true;
}

void JobParser::ParseSubset(StatisticSpec& spec, const json& value, const std::string& path) {
  if (!value.is_object()) {
    WrongType(path, "an object with \"where\" and an optional \"name\"", value);
    return;
  }
  CheckKeys(value, path, {"name", "where"});
  bool ok = true;
  if (!value.contains("where")) {
    Error(path, "missing \"where\": an object from column name to the value it must hold");
    ok = false;
  } else if (!value["where"].is_object()) {
    WrongType(path + "/where", "an object from column name to the value it must hold",
              value["where"]);
    ok = false;
  } else if (value["where"].empty()) {
    Error(path + "/where", "expected at least one column");
    ok = false;
  } else {
    for (const auto& item : value["where"].items()) {
      const std::string itemPath = path + "/where/" + JobLoader::PointerToken(item.key());
      SubsetCondition condition;
      condition.column.name = item.key();
      condition.column.path = itemPath;
      if (ParseValue(condition.value, item.value(), itemPath, true, true)) {
        spec.where.push_back(condition);
      } else {
        ok = false;
      }
    }
  }
  std::string name;
  if (!ParseSpecName(name, value, path)) {
    ok = false;
  } else if (name.empty()) {
    for (const SubsetCondition& condition : spec.where) {
      name += (name.empty() ? "" : ",") + condition.column.name + "=" + condition.value.ToString();
    }
  }
  if (!ok) return;
  spec.hasSubset = true;
  spec.subsetName = name;
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
      Error(itemPath, "the value " + Quote(text) + " is listed twice");
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
                  (logic.is_string() ? Quote(logic.get<std::string>()) : Describe(logic)));
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
        Error(spec.path + "/grouping", "the grouping name " + Quote(spec.groupingName) +
                                           " is used by " + Quote(it->second->name) +
                                           " with other fields; give this grouping another name");
      }
    }
    if (spec.hasSubset) {
      auto [it, added] = subsets.emplace(spec.subsetName, &spec);
      if (!added && conditions(it->second->where) != conditions(spec.where)) {
        Error(spec.path + "/subset", "the subset name " + Quote(spec.subsetName) + " is used by " +
                                         Quote(it->second->name) +
                                         " with other conditions; give this subset another name");
      }
    }
  }
}

// Builds the document for JobParser while the text is parsed: refuses
// nesting past kMaxDepth before anything that deep exists (copying a value
// recurses once per level), and reports keys that occur twice in one
// object, keeping the last value at the first place.
// Members and elements are gathered in plain vectors and each container is
// placed in its parent when it closes: ordered_json's own insertion searches
// the object for the key, and growing its vector copies every member.
class DocumentBuilder {
 public:
  DocumentBuilder(json& root, std::vector<std::string>& errors) : root_(root), errors_(errors) {}

  // The interface json::sax_parse calls; false stops parsing.
  bool null() { return Add(json(nullptr)); }
  bool boolean(bool value) { return Add(json(value)); }
  bool number_integer(json::number_integer_t value) { return Add(json(value)); }
  bool number_unsigned(json::number_unsigned_t value) { return Add(json(value)); }
  bool number_float(json::number_float_t value, const std::string&) { return Add(json(value)); }
  bool string(std::string& value) { return Add(json(std::move(value))); }
  bool binary(json::binary_t& value) { return Add(json::binary(std::move(value))); }
  bool start_object(std::size_t) { return Open(true); }
  bool start_array(std::size_t) { return Open(false); }
  bool key(std::string& key) {
    Frame& frame = frames_.back();
    const auto [it, added] = frame.memberIndex.emplace(key, frame.members.size());
    if (!added) {
      errors_.push_back(Where(Path(frames_.size() - 1)) + ": the key " + Quote(key) +
                        " appears twice");
    }
    frame.slot = it->second;
    frame.key = std::move(key);
    return true;
  }
  bool end_object() { return Close(); }
  bool end_array() { return Close(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& e) {
    std::string message = e.what();
    // Drop the library's "[json.exception.parse_error.101] " tag.
    const std::size_t tagEnd = message.find("] ");
    if (message.rfind("[json.exception.", 0) == 0 && tagEnd != std::string::npos) {
      message.erase(0, tagEnd + 2);
    }
    errors_.push_back("invalid JSON: " + message);
    return false;
  }

 private:
  struct Frame {
    bool isObject = false;
    std::vector<std::pair<std::string, json>> members;
    std::map<std::string, std::size_t> memberIndex;
    std::string key;       // of the member being read
    std::size_t slot = 0;  // where it goes in `members`
    json::array_t elements;
  };

  bool Open(bool isObject) {
    if (frames_.size() == kMaxDepth) {
      errors_.push_back(Where(Path(frames_.size())) + ": arrays and objects nest more than " +
                        std::to_string(kMaxDepth) + " levels deep (a job needs at most " +
                        std::to_string(kJobDepth) + ")");
      return false;
    }
    frames_.emplace_back();
    frames_.back().isObject = isObject;
    return true;
  }

  bool Close() {
    Frame frame = std::move(frames_.back());
    frames_.pop_back();
    if (!frame.isObject) return Add(json(std::move(frame.elements)));
    json object(json::value_t::object);
    auto& members = object.get_ref<json::object_t&>();
    members.reserve(frame.members.size());
    // Appended as they are: the keys are known to be distinct.
    for (auto& member : frame.members) {
      members.emplace_back(std::move(member.first), std::move(member.second));
    }
    return Add(std::move(object));
  }

  bool Add(json&& value) {
    if (frames_.empty()) {
      root_ = std::move(value);
      return true;
    }
    Frame& frame = frames_.back();
    if (!frame.isObject) {
      frame.elements.push_back(std::move(value));
      return true;
    }
    if (frame.slot < frame.members.size()) {
      frame.members[frame.slot].second = std::move(value);
    } else {
      frame.members.emplace_back(std::move(frame.key), std::move(value));
    }
    return true;
  }

  // Pointer of the value being read in frames_[depth - 1].
  std::string Path(std::size_t depth) const {
    std::string path;
    for (std::size_t i = 0; i < depth; ++i) {
      const Frame& frame = frames_[i];
      path += "/" + (frame.isObject ? JobLoader::PointerToken(frame.key)
                                    : std::to_string(frame.elements.size()));
    }
    return path;
  }

  json& root_;
  std::vector<std::string>& errors_;
  std::vector<Frame> frames_;
};

}  // namespace

const std::vector<std::string>& JobLoader::TypeNames() {
  static const std::vector<std::string> names = {"Count",     "CountValid", "Min",    "Max",
                                                 "Sum",       "Average",    "StdDev", "Histogram1",
                                                 "EnumCount", "EnumPercent"};
  return names;
}

bool JobLoader::UsesValues(const std::string& type) {
  return type == "EnumCount" || type == "EnumPercent";
}

bool JobLoader::UsesHistogram(const std::string& type) { return type == "Histogram1"; }

std::string JobLoader::QuotedList(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i == kMaxListedColumns) {
      text += ", ... (" + std::to_string(names.size() - i) + " more)";
      break;
    }
    text += (i == 0 ? "" : ", ") + Quote(names[i]);
  }
  return text;
}

std::string JobLoader::PointerToken(const std::string& token) {
  std::string escaped;
  for (char c : token) {
    if (c == '~') {
      escaped += "~0";
    } else if (c == '/') {
      escaped += "~1";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

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
  json root;
  DocumentBuilder builder(root, errors);
  if (!json::sax_parse(text, &builder)) return false;
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
      errors.push_back(Where(ref.path) + ": unknown column " + Quote(ref.name) +
                       "; the header has " + QuotedList(header));
      return;
    }
    if (it->second.size() > 1) {
      errors.push_back(Where(ref.path) + ": the column name " + Quote(ref.name) + " appears " +
                       std::to_string(it->second.size()) +
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
