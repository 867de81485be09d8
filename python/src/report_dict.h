// ReportDict: the tool's report as the Python objects that json.loads makes
// of its JSON form (JsonReportWriter), built directly: the same keys in the
// same order, the same values, without writing and parsing the text.
#ifndef STATTREE_PYTHON_REPORT_DICT_H_
#define STATTREE_PYTHON_REPORT_DICT_H_

#include <pybind11/pybind11.h>

#include "tools/stattree/report.h"

namespace stattree {
namespace python {

// Needs the interpreter lock.
pybind11::dict ReportDict(const cli::Report& report);

}  // namespace python
}  // namespace stattree

#endif  // STATTREE_PYTHON_REPORT_DICT_H_
