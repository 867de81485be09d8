#include "python/src/report_dict.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace py = pybind11;

namespace stattree {
namespace python {
namespace {

// A text as the JSON form carries it. The writer replaces bytes that are
// not UTF-8; such a text, which CSV data may hold, goes through the
// writer's own replacement so that both forms agree byte for byte.
py::object Text(const std::string& bytes) {
  PyObject* text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), nullptr);
  if (text != nullptr) return py::reinterpret_steal<py::str>(text);
  PyErr_Clear();
  const std::string quoted = nlohmann::ordered_json(bytes).dump(
      -1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  return py::module_::import("json").attr("loads")(py::bytes(quoted));
}

py::list Texts(const std::vector<std::string>& texts) {
  py::list list;
  for (const std::string& text : texts) list.append(Text(text));
  return list;
}

py::object Value(const Variant& value) {
  switch (value.GetKind()) {
    case Variant::Kind::Integer:
      return py::int_(value.GetInteger());
    case Variant::Kind::Real:
      return std::isfinite(value.GetReal()) ? py::object(py::float_(value.GetReal())) : py::none();
    case Variant::Kind::Text:
      return Text(value.GetText());
    case Variant::Kind::Invalid: {
      py::dict invalid;
      invalid["invalid"] = true;
      return std::move(invalid);
    }
    case Variant::Kind::Empty:
      break;
  }
  return py::none();
}

py::dict Combination(const cli::CombinationReport& combination,
                     const cli::StatisticReport& statistic) {
  py::dict dict;
  dict["group"] = Texts(combination.values);
  dict["records"] = combination.records;
  if (statistic.distribution) {
    py::list bins;
    for (const Variant& bin : combination.bins) bins.append(Value(bin));
    dict["distribution"] = bins;
    dict["not_available"] =
        combination.hasNotAvailable ? py::object(py::int_(combination.notAvailable)) : py::none();
  } else {
    dict["result"] = Value(combination.result);
  }
  return dict;
}

py::dict Statistic(const cli::StatisticReport& statistic) {
  py::dict dict;
  dict["type"] = Text(statistic.type);
  dict["field"] = Text(statistic.field);
  if (statistic.groupingName.empty()) {
    dict["grouping"] = py::none();
  } else {
    py::dict grouping;
    grouping["name"] = Text(statistic.groupingName);
    grouping["fields"] = Texts(statistic.groupingFields);
    dict["grouping"] = grouping;
  }
  if (statistic.subsetName.empty()) {
    dict["subset"] = py::none();
  } else {
    py::dict where;
    for (const auto& [column, value] : statistic.subset) where[Text(column)] = Value(value);
    py::dict subset;
    subset["name"] = Text(statistic.subsetName);
    subset["where"] = where;
    dict["subset"] = subset;
  }
  if (statistic.distribution) dict["bins"] = Texts(statistic.binLabels);
  py::list combinations;
  for (const cli::CombinationReport& c : statistic.combinations) {
    combinations.append(Combination(c, statistic));
  }
  dict["combinations"] = combinations;
  dict["total"] = Combination(statistic.total, statistic);
  return dict;
}

py::dict Node(const cli::NodeReport& node, bool isRoot) {
  py::dict dict;
  dict["field"] = isRoot ? py::none() : Text(node.field);
  dict["value"] = isRoot ? py::none() : Text(node.value);
  dict["records"] = node.records;
  py::dict statistics;
  for (const cli::StatisticReport& statistic : node.statistics) {
    statistics[Text(statistic.name)] = Statistic(statistic);
  }
  dict["statistics"] = statistics;
  py::list children;
  for (const cli::NodeReport& child : node.children) children.append(Node(child, false));
  dict["children"] = children;
  return dict;
}

}  // namespace

py::dict ReportDict(const cli::Report& report) {
  py::dict dict;
  dict["data"] = Text(report.dataName);
  dict["job"] = Text(report.jobName);
  dict["records"] = report.records;
  dict["skipped_rows"] = report.skippedRows;
  dict["tree"] = Texts(report.treeFields);
  py::list warnings;
  for (const cli::ReportWarning& w : report.warnings) {
    py::dict warning;
    warning["kind"] = Text(w.kind);
    warning["statistic"] = w.statistic.empty() ? py::none() : Text(w.statistic);
    warning["column"] = Text(w.column);
    warning["message"] = Text(w.message);
    warnings.append(warning);
  }
  dict["warnings"] = warnings;
  dict["root"] = Node(report.root, true);
  return dict;
}

}  // namespace python
}  // namespace stattree
