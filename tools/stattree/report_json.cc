#include "tools/stattree/report_json.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace stattree {
namespace cli {
namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const Variant& value) {
  switch (value.GetKind()) {
    case Variant::Kind::Integer:
      return value.GetInteger();
    case Variant::Kind::Real:
      return std::isfinite(value.GetReal()) ? Json(value.GetReal()) : Json(nullptr);
    case Variant::Kind::Text:
      return value.GetText();
    case Variant::Kind::Invalid:
      // Its own form: a script must tell "could not compute" from "nothing
      // to compute" (null), and no text result is an object.
      return {{"invalid", true}};
    case Variant::Kind::Empty:
      break;
  }
  return nullptr;
}

Json ToJson(const CombinationReport& combination, const StatisticReport& statistic) {
  Json json;
  json["group"] = combination.values;
  json["records"] = combination.records;
  if (statistic.distribution) {
    Json bins = Json::array();
    for (const Variant& bin : combination.bins) bins.push_back(ToJson(bin));
    json["distribution"] = bins;
    json["not_available"] = combination.hasNotAvailable ? Json(combination.notAvailable) : Json();
  } else {
    json["result"] = ToJson(combination.result);
  }
  return json;
}

Json ToJson(const StatisticReport& statistic) {
  Json json;
  json["type"] = statistic.type;
  json["field"] = statistic.field;
  if (statistic.groupingName.empty()) {
    json["grouping"] = nullptr;
  } else {
    json["grouping"] = {{"name", statistic.groupingName}, {"fields", statistic.groupingFields}};
  }
  if (statistic.subsetName.empty()) {
    json["subset"] = nullptr;
  } else {
    Json where = Json::object();
    for (const auto& [column, value] : statistic.subset) where[column] = ToJson(value);
    json["subset"] = {{"name", statistic.subsetName}, {"where", where}};
  }
  if (statistic.distribution) json["bins"] = statistic.binLabels;
  Json combinations = Json::array();
  for (const CombinationReport& c : statistic.combinations) {
    combinations.push_back(ToJson(c, statistic));
  }
  json["combinations"] = combinations;
  json["total"] = ToJson(statistic.total, statistic);
  return json;
}

Json ToJson(const NodeReport& node, bool isRoot) {
  Json json;
  json["field"] = isRoot ? Json() : Json(node.field);
  json["value"] = isRoot ? Json() : Json(node.value);
  json["records"] = node.records;
  Json statistics = Json::object();
  for (const StatisticReport& statistic : node.statistics) {
    statistics[statistic.name] = ToJson(statistic);
  }
  json["statistics"] = statistics;
  Json children = Json::array();
  for (const NodeReport& child : node.children) children.push_back(ToJson(child, false));
  json["children"] = children;
  return json;
}

}  // namespace

void JsonReportWriter::Write(std::ostream& out, const Report& report) {
  Json json;
  json["data"] = report.dataName;
  json["job"] = report.jobName;
  json["records"] = report.records;
  json["skipped_rows"] = report.skippedRows;
  json["tree"] = report.treeFields;
  Json warnings = Json::array();
  for (const ReportWarning& w : report.warnings) {
    warnings.push_back({{"kind", w.kind},
                        {"statistic", w.statistic.empty() ? Json() : Json(w.statistic)},
                        {"column", w.column},
                        {"message", w.message}});
  }
  json["warnings"] = warnings;
  json["root"] = ToJson(report.root, true);
  // Replace, not throw, on bytes that are not UTF-8: CSV text is arbitrary.
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace cli
}  // namespace stattree
