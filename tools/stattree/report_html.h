// HtmlReportWriter: the report as one self-contained HTML page to open from
// disk and share.
//
// Inline CSS and SVG and a few lines of script; nothing is fetched. Each
// node is a collapsible section (<details class="node">) with its field,
// value and record count; each statistic shows its value, a table of
// grouping combinations with the total (sortable by a click on a column
// head), or, for EnumCount, EnumPercent and Histogram1, one figure of
// class "chart" with labelled SVG bars (the N/A bar of the counting types
// included; one set of bars per combination and the total). Warnings come
// first. Numbers read as in the text report. The page's script records any
// script error into the root element's data-errors attribute and sets
// data-ready once it ran, for tests in a browser. Stateless.
#ifndef STATTREE_TOOLS_REPORT_HTML_H_
#define STATTREE_TOOLS_REPORT_HTML_H_

#include <ostream>
#include <string>

#include "tools/stattree/report.h"

namespace stattree {
namespace cli {

class HtmlReportWriter {
 public:
  static void Write(std::ostream& out, const Report& report);

  // Exposed for tests.
  static std::string Escape(const std::string& text);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_REPORT_HTML_H_
