// _stattree: the C++ half of the `stattree` Python package (stattree/
// __init__.py is the public half). It parses jobs with the tool's loader,
// turns a DataFrame's columns (prepared by the Python half as numpy
// arrays) into a FrameTable while holding the interpreter lock, then runs
// the engine without it and hands back the tool's JSON report, or what
// went wrong, for the Python half to raise.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <climits>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "python/src/frame_table.h"
#include "python/src/job_runner.h"
#include "python/src/report_dict.h"
#include "tools/stattree/cell_converter.h"
#include "tools/stattree/job_loader.h"
#include "tools/stattree/report_json.h"

namespace py = pybind11;

namespace stattree {
namespace python {
namespace {

// Messages quote the data's own bytes, which need not be UTF-8.
py::str Text(const std::string& bytes) {
  PyObject* text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "replace");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

py::list Texts(const std::vector<std::string>& lines) {
  py::list texts;
  for (const std::string& line : lines) texts.append(Text(line));
  return texts;
}

// A parsed job; resolved anew against each table.
struct PyJob {
  cli::Job job;
  std::string name;
};

// A finished run's report: its Python objects and its JSON text are made
// when asked for.
struct PyReport {
  cli::Report report;
};

// Every column a job reads, in the job's order, each once.
std::vector<std::string> UsedColumns(const cli::Job& job) {
  std::vector<std::string> names;
  auto add = [&names](const cli::ColumnRef& ref) {
    if (ref.path.empty()) return;  // a Count without a field reads nothing
    for (const std::string& n : names) {
      if (n == ref.name) return;
    }
    names.push_back(ref.name);
  };
  for (const cli::ColumnRef& ref : job.tree) add(ref);
  for (const cli::StatisticSpec& spec : job.statistics) {
    add(spec.field);
    for (const cli::ColumnRef& ref : spec.groupingFields) add(ref);
    for (const cli::SubsetCondition& c : spec.where) add(c.column);
  }
  return names;
}

// (job or None, errors, warnings), each message naming the job's file.
py::tuple JobAnswer(PyJob job, bool ok, std::vector<std::string> errors) {
  std::vector<std::string> warnings = job.job.warnings;
  for (std::string& e : errors) e.insert(0, job.name + ": ");
  for (std::string& w : warnings) w.insert(0, job.name + ": ");
  py::object parsed = ok ? py::cast(std::move(job)) : py::none();
  return py::make_tuple(parsed, Texts(errors), Texts(warnings));
}

py::tuple ParseJob(const std::string& text, const std::string& name) {
  PyJob job;
  job.name = name;
  std::vector<std::string> errors;
  const bool ok = cli::JobLoader::Parse(job.job, errors, text);
  return JobAnswer(std::move(job), ok, std::move(errors));
}

py::tuple LoadJob(const std::string& path) {
  PyJob job;
  job.name = path;
  std::vector<std::string> errors;
  const bool ok = cli::JobLoader::Load(job.job, errors, path);
  return JobAnswer(std::move(job), ok, std::move(errors));
}

// How one Python object becomes a value: the tool's cell table for text,
// numbers as themselves, the missing markers empty, anything else its
// str() text read as a cell.
class ObjectConverter {
 public:
  explicit ObjectConverter(py::tuple missing) : missing_(std::move(missing)) {}

  void Convert(Variant& value, PyObject* object) const {
    if (object == Py_None || IsMissingMarker(object)) {
      value.SetEmpty();
    } else if (PyBool_Check(object)) {
      value = object == Py_True ? "True" : "False";
    } else if (PyLong_Check(object)) {
      int overflow = 0;
      const long long number = PyLong_AsLongLongAndOverflow(object, &overflow);
      if (overflow == 0 && !(number == -1 && PyErr_Occurred())) {
        value = number;
      } else {
        PyErr_Clear();
        value = py::str(object).cast<std::string>();  // out of range: text, as in a CSV cell
      }
    } else if (PyFloat_Check(object)) {
      FrameColumn::ReadReal(value, PyFloat_AS_DOUBLE(object));
    } else if (PyUnicode_Check(object)) {
      Cell(value, Utf8(object));
    } else if (PyBytes_Check(object)) {
      Cell(value, std::string(PyBytes_AS_STRING(object),
                              static_cast<std::size_t>(PyBytes_GET_SIZE(object))));
    } else {
      const py::str text = py::str(object);
      Cell(value, Utf8(text.ptr()));
    }
  }

 private:
  bool IsMissingMarker(PyObject* object) const {
    for (const py::handle marker : missing_) {
      if (marker.ptr() == object) return true;
    }
    return false;
  }
  static std::string Utf8(PyObject* text) {
    Py_ssize_t size = 0;
    const char* data = PyUnicode_AsUTF8AndSize(text, &size);
    if (data == nullptr) throw py::error_already_set();
    return std::string(data, static_cast<std::size_t>(size));
  }
  static void Cell(Variant& value, const std::string& text) {
    cli::CellConverter::Convert(value, text, false);
  }

  py::tuple missing_;
};

std::vector<Variant> ConvertObjects(const py::array& array, const ObjectConverter& converter) {
  if (array.dtype().kind() != 'O' || array.ndim() != 1) {
    throw py::type_error("expected a one-dimensional object array");
  }
  const py::array contiguous = py::array::ensure(array, py::array::c_style);
  auto* const* objects = static_cast<PyObject* const*>(contiguous.data());
  std::vector<Variant> values(static_cast<std::size_t>(contiguous.size()));
  for (std::size_t i = 0; i < values.size(); ++i) converter.Convert(values[i], objects[i]);
  return values;
}

template <typename T>
const T* Buffer(const py::array& array, std::size_t rows, const char* what) {
  if (array.ndim() != 1 || static_cast<std::size_t>(array.size()) != rows ||
      !py::isinstance<py::array_t<T>>(array) || (array.flags() & py::array::c_style) == 0) {
    throw py::type_error(std::string("expected a contiguous one-dimensional array of ") + what +
                         " with one item per row");
  }
  return static_cast<const T*>(array.data());
}

// Polls Python's signal handlers now and then, with the interpreter lock
// taken back for the moment, so that Ctrl-C cancels a long run.
class InterruptCheck : public ProgressManager {
 public:
  bool IsCanceled() override {
    if (interrupted_) return true;
    if (++calls_ % kEvery != 0) return false;
    const py::gil_scoped_acquire gil;
    if (PyErr_CheckSignals() != 0) {
      PyErr_Fetch(&type_, &value_, &traceback_);
      interrupted_ = true;
    }
    return interrupted_;
  }
  // With the interpreter lock held: raises what the handler raised.
  void Rethrow() {
    if (!interrupted_) return;
    PyErr_Restore(type_, value_, traceback_);
    type_ = value_ = traceback_ = nullptr;
    throw py::error_already_set();
  }

 private:
  static constexpr unsigned kEvery = 1U << 16;
  unsigned calls_ = 0;
  bool interrupted_ = false;
  PyObject* type_ = nullptr;
  PyObject* value_ = nullptr;
  PyObject* traceback_ = nullptr;
};

// ("ok", _Report) | ("bad", [message...]) | ("engine", {...}).
py::tuple Answer(RunOutcome& outcome, InterruptCheck& interrupt) {
  interrupt.Rethrow();
  switch (outcome.status) {
    case RunOutcome::Status::Ok:
      return py::make_tuple("ok", PyReport{std::move(outcome.report)});
    case RunOutcome::Status::BadInput:
      return py::make_tuple("bad", Texts(outcome.errors));
    case RunOutcome::Status::Cancelled:
      throw std::runtime_error("the run was cancelled");  // only an interrupt cancels
    case RunOutcome::Status::EngineFailed:
      break;
  }
  const EngineFailure& e = outcome.engine;
  py::dict failure;
  failure["context"] = e.context;
  failure["code"] = e.code;
  failure["second"] = e.second;
  failure["message"] = Text(e.message);
  failure["flag"] = e.flag;
  failure["detail"] = Text(e.detail);
  failure["locations"] = e.locations;
  return py::make_tuple("engine", failure);
}

// `columns`: per name, None (not read by the job), ("integers", int64
// array, mask), ("reals", float64 array, mask), ("codes", integer array,
// object array of categories) or ("objects", object array); masks are
// bool arrays or None.
JobRunner::Options RunOptions(const PyJob& job, const std::string& dataName, long long maxNodes,
                              ProgressManager* progress) {
  JobRunner::Options options;
  options.dataName = dataName;
  options.jobName = job.name;
  options.maxNodes = maxNodes;
  options.progress = progress;
  return options;
}

// Fills `table` from the columns; `keep` holds every borrowed buffer.
void BuildTable(FrameTable& table, std::vector<py::object>& keep,
                const std::vector<std::string>& names, const py::list& columns, std::size_t rows,
                const py::tuple& missing) {
  if (names.size() != columns.size()) throw py::value_error("one column per name expected");
  table.names = names;
  table.rows = rows;
  table.columns.resize(names.size());
  const ObjectConverter converter(missing);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const py::object spec = columns[i];
    if (spec.is_none()) continue;
    const py::tuple parts = spec.cast<py::tuple>();
    const std::string kind = parts[0].cast<std::string>();
    FrameColumn& column = table.columns[i];
    keep.push_back(spec);
    if (kind == "integers" || kind == "reals") {
      const py::array data = parts[1].cast<py::array>();
      if (kind == "integers") {
        column.kind = FrameColumn::Kind::Integers;
        column.integers = Buffer<std::int64_t>(data, rows, "int64");
      } else {
        column.kind = FrameColumn::Kind::Reals;
        column.reals = Buffer<double>(data, rows, "float64");
      }
      if (!parts[2].is_none())
        column.missing = Buffer<bool>(parts[2].cast<py::array>(), rows, "bool");
    } else if (kind == "codes") {
      const py::array codes = parts[1].cast<py::array>();
      column.kind = FrameColumn::Kind::Codes;
      column.codeBytes = static_cast<int>(codes.itemsize());
      switch (column.codeBytes) {
        case 1:
          column.codes = Buffer<std::int8_t>(codes, rows, "category codes");
          break;
        case 2:
          column.codes = Buffer<std::int16_t>(codes, rows, "category codes");
          break;
        case 4:
          column.codes = Buffer<std::int32_t>(codes, rows, "category codes");
          break;
        default:
          column.codes = Buffer<std::int64_t>(codes, rows, "category codes");
          break;
      }
      column.dictionary = ConvertObjects(parts[2].cast<py::array>(), converter);
    } else if (kind == "objects") {
      column.kind = FrameColumn::Kind::Values;
      column.values = ConvertObjects(parts[1].cast<py::array>(), converter);
      if (column.values.size() != rows) throw py::value_error("one object per row expected");
    } else {
      throw py::value_error("unknown column kind " + kind);
    }
  }
}

py::tuple RunFrame(const PyJob& job, const std::vector<std::string>& names, const py::list& columns,
                   std::size_t rows, const py::tuple& missing, const std::string& dataName,
                   long long maxNodes, bool partial) {
  FrameTable table;
  // Keeps every borrowed buffer alive until the run is over.
  std::vector<py::object> keep;
  BuildTable(table, keep, names, columns, rows, missing);
  InterruptCheck interrupt;
  JobRunner::Options options = RunOptions(job, dataName, maxNodes, &interrupt);
  RunOutcome outcome;
  {
    const py::gil_scoped_release release;
    outcome = partial ? JobRunner::PartialFrame(job.job, table, options)
                      : JobRunner::RunFrame(job.job, table, options);
  }
  if (partial && outcome.status == RunOutcome::Status::Ok) {
    interrupt.Rethrow();
    return py::make_tuple("ok", py::bytes(outcome.partial));
  }
  return Answer(outcome, interrupt);
}

py::tuple MergePartials(const PyJob& job, const std::vector<std::string>& partials,
                        const std::string& dataName, long long maxNodes, bool partial) {
  InterruptCheck interrupt;
  JobRunner::Options options = RunOptions(job, dataName, maxNodes, nullptr);
  options.partial = partial;
  RunOutcome outcome;
  {
    const py::gil_scoped_release release;
    outcome = JobRunner::MergePartials(job.job, partials, options);
  }
  if (partial && outcome.status == RunOutcome::Status::Ok) {
    return py::make_tuple("ok", py::bytes(outcome.partial));
  }
  return Answer(outcome, interrupt);
}

py::tuple RunCsv(const PyJob& job, const std::string& path, const std::string& delimiter,
                 const std::vector<std::string>& textColumns, bool skipBadRows,
                 long long maxNodes) {
  InterruptCheck interrupt;
  const JobRunner::Options options = RunOptions(job, path, maxNodes, &interrupt);
  JobRunner::CsvOptions csvOptions;
  csvOptions.delimiter = delimiter.empty() ? ',' : delimiter[0];
  csvOptions.textColumns = textColumns;
  csvOptions.skipBadRows = skipBadRows;
  RunOutcome outcome;
  {
    const py::gil_scoped_release release;
    outcome = JobRunner::RunCsv(job.job, path, options, csvOptions);
  }
  return Answer(outcome, interrupt);
}

}  // namespace
}  // namespace python
}  // namespace stattree

PYBIND11_MODULE(_stattree, m) {
  using stattree::python::PyJob;
  using stattree::python::PyReport;
  m.doc() = "The engine side of the stattree package; use `stattree` instead.";
  py::class_<PyJob>(m, "_Job")
      .def_property_readonly("name", [](const PyJob& j) { return j.name; })
      .def_property_readonly("columns",
                             [](const PyJob& j) { return stattree::python::UsedColumns(j.job); })
      .def_property_readonly("tree", [](const PyJob& j) {
        std::vector<std::string> names;
        for (const auto& ref : j.job.tree) names.push_back(ref.name);
        return names;
      });
  py::class_<PyReport>(m, "_Report")
      .def("document", [](const PyReport& r) { return stattree::python::ReportDict(r.report); })
      .def("json", [](const PyReport& r) {
        std::ostringstream text;
        stattree::cli::JsonReportWriter::Write(text, r.report);
        return text.str();
      });
  m.def("parse_job", &stattree::python::ParseJob, py::arg("text"), py::arg("name"));
  m.def("load_job", &stattree::python::LoadJob, py::arg("path"));
  m.def("run_frame", &stattree::python::RunFrame, py::arg("job"), py::arg("names"),
        py::arg("columns"), py::arg("rows"), py::arg("missing"), py::arg("data_name"),
        py::arg("max_nodes"), py::arg("partial") = false);
  m.def("merge_partials", &stattree::python::MergePartials, py::arg("job"), py::arg("partials"),
        py::arg("data_name"), py::arg("max_nodes"), py::arg("partial") = false);
  m.def("run_csv", &stattree::python::RunCsv, py::arg("job"), py::arg("path"), py::arg("delimiter"),
        py::arg("text_columns"), py::arg("skip_bad_rows"), py::arg("max_nodes"));
}
