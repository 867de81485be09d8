#include "tools/stattree/report_html.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "tools/stattree/join.h"
#include "tools/stattree/report_text.h"

namespace stattree {
namespace cli {
namespace {

constexpr const char* kStyle = R"(
:root{--ink:#1d2733;--muted:#5b6877;--line:#d9dee4;--bar:#3a78c2;--na:#b0b7c0;--warn:#fff4d6}
*{box-sizing:border-box}
body{margin:0 auto;max-width:72rem;padding:1rem;font:15px/1.45 system-ui,-apple-system,
"Segoe UI",Roboto,sans-serif;color:var(--ink);background:#fff}
h1{font-size:1.4rem;margin:0 0 .25rem}
h3{font-size:.95rem;margin:0 0 .4rem;font-weight:600}
.meta{color:var(--muted);margin:0 0 1rem;overflow-wrap:anywhere}
.warnings{background:var(--warn);border:1px solid #e8c96a;border-radius:6px;padding:.5rem 1rem;
margin-bottom:1rem}
.warnings h2{font-size:1rem;margin:.25rem 0}
.warnings li{overflow-wrap:anywhere}
details.node{border-left:3px solid var(--line);padding-left:.75rem;margin:.5rem 0}
details.node>summary{cursor:pointer;font-weight:600;padding:.25rem 0}
summary .records{color:var(--muted);font-weight:400}
.stats{display:grid;grid-template-columns:repeat(auto-fill,minmax(19rem,1fr));gap:.75rem;
align-items:start;margin:.5rem 0 1rem}
.stat{border:1px solid var(--line);border-radius:6px;padding:.6rem .75rem;margin:0;min-width:0}
.value{font-size:1.3rem;font-variant-numeric:tabular-nums;margin:0;overflow-wrap:anywhere}
.scroll{overflow-x:auto}
table{border-collapse:collapse;width:100%;font-variant-numeric:tabular-nums}
th,td{padding:.15rem .4rem;border-bottom:1px solid var(--line);text-align:left;
white-space:nowrap}
td.n,th.n{text-align:right}
thead th{cursor:pointer;user-select:none}
thead th[aria-sort=ascending]::after{content:" \25B2"}
thead th[aria-sort=descending]::after{content:" \25BC"}
tfoot th{border-top:2px solid var(--ink)}
figure.chart svg{width:100%;max-width:480px;height:auto;display:block}
@media (min-width:44rem){figure.chart{grid-column:span 2}}
figure.chart figcaption{color:var(--muted);font-size:.85rem;margin-top:.4rem}
svg text{font:13px system-ui,sans-serif;fill:var(--ink)}
svg rect.bar{fill:var(--bar)}
svg rect.na{fill:var(--na)}
)";

// Records script errors for tests, before anything else runs.
constexpr const char* kErrorHook =
    "window.onerror=function(m){var e=document.documentElement;"
    "e.setAttribute('data-errors',(e.getAttribute('data-errors')||'')+m+'\\n');};";

// Sorts a table's body by the clicked column: numbers by value, then text,
// empty cells last; a second click reverses.
constexpr const char* kSortScript = R"(
document.querySelectorAll('table.sortable thead th').forEach(function(th){
th.addEventListener('click',function(){
var table=th.closest('table'),body=table.tBodies[0],i=th.cellIndex;
var dir=th.getAttribute('aria-sort')==='ascending'?-1:1;
Array.prototype.forEach.call(th.parentNode.cells,function(c){c.removeAttribute('aria-sort');});
th.setAttribute('aria-sort',dir>0?'ascending':'descending');
function key(r){var c=r.cells[i];
return c.hasAttribute('data-sort')?c.getAttribute('data-sort'):c.textContent;}
var rows=Array.prototype.slice.call(body.rows);
rows.sort(function(a,b){var x=key(a),y=key(b);if(x===''||y==='')return x===y?0:x===''?1:-1;
var p=Number(x),q=Number(y);if(!isNaN(p)&&!isNaN(q))return dir*(p-q);
if(!isNaN(p)!==!isNaN(q))return isNaN(p)?dir:-dir;return dir*(x<y?-1:x>y?1:0);});
rows.forEach(function(r){body.appendChild(r);});});});
document.documentElement.setAttribute('data-ready','1');
)";

constexpr int kChartWidth = 480;
constexpr int kLabelWidth = 150;
constexpr int kValueWidth = 80;
constexpr int kRowHeight = 22;
constexpr std::size_t kMaxLabelChars = 22;

std::string Escaped(const std::string& text) { return HtmlReportWriter::Escape(text); }

// A number's own text for sorting; empty for anything else.
std::string SortKey(const Variant& value) { return value.IsNumber() ? value.ToString() : ""; }

// Cut to `limit` code points with an ellipsis; the full text goes in a title.
std::string Shorten(const std::string& text, std::size_t limit) {
  std::size_t points = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
    if (++points > limit) return text.substr(0, i) + "\u2026";
  }
  return text;
}

class Page {
 public:
  explicit Page(std::ostream& out) : out_(out) {}

  void Write(const Report& report) {
    out_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         << "<title>stattree report: " << Escaped(report.dataName) << "</title>\n"
         << "<script>" << kErrorHook << "</script>\n<style>" << kStyle << "</style>\n</head>\n"
         << "<body>\n<h1>stattree report</h1>\n<p class=\"meta\">data: <b>"
         << Escaped(report.dataName) << "</b>, " << TextReportWriter::FormatRecords(report.records);
    if (report.skippedRows > 0) {
      out_ << " (" << TextReportWriter::FormatCount(report.skippedRows)
           << (report.skippedRows == 1 ? " bad row skipped)" : " bad rows skipped)");
    }
    out_ << " &middot; job: " << Escaped(report.jobName);
    if (!report.treeFields.empty()) {
      std::vector<std::string> fields;
      for (const std::string& field : report.treeFields) fields.push_back(Escaped(field));
      out_ << " &middot; tree: " << Join(fields, " &gt; ");
    }
    out_ << "</p>\n";
    if (!report.warnings.empty()) {
      out_ << "<section class=\"warnings\"><h2>Warnings</h2>\n<ul>\n";
      for (const ReportWarning& w : report.warnings) {
        out_ << "<li>" << Escaped(w.message) << "</li>\n";
      }
      out_ << "</ul></section>\n";
    }
    Node(report.root, true);
    out_ << "<script>" << kSortScript << "</script>\n</body>\n</html>\n";
  }

 private:
  void Node(const NodeReport& node, bool isRoot) {
    // The root opens; deeper levels wait for a click, so that the page
    // starts short.
    out_ << "<details class=\"node\"" << (isRoot ? " open" : "") << "><summary>"
         << (isRoot ? std::string("root") : Escaped(node.field) + " = " + Escaped(node.value))
         << " <span class=\"records\">&mdash; " << TextReportWriter::FormatRecords(node.records)
         << "</span></summary>\n<div class=\"stats\">\n";
    for (const StatisticReport& s : node.statistics) {
      if (s.distribution) {
        Chart(s);
      } else {
        Scalar(s);
      }
    }
    out_ << "</div>\n";
    for (const NodeReport& child : node.children) Node(child, false);
    out_ << "</details>\n";
  }

  void Scalar(const StatisticReport& s) {
    out_ << "<div class=\"stat\"><h3>" << Escaped(TextReportWriter::Describe(s)) << "</h3>";
    if (s.groupingName.empty()) {
      out_ << "<p class=\"value\">" << Escaped(TextReportWriter::FormatValue(s.total.result))
           << "</p></div>\n";
      return;
    }
    out_ << "\n<div class=\"scroll\"><table class=\"sortable\"><thead><tr>";
    for (const std::string& f : s.groupingFields) out_ << "<th>" << Escaped(f) << "</th>";
    out_ << "<th class=\"n\">value</th><th class=\"n\">records</th></tr></thead>\n<tbody>\n";
    for (const CombinationReport& c : s.combinations) {
      out_ << "<tr>";
      for (std::size_t i = 0; i < s.groupingFields.size(); ++i) {
        const std::string value = i < c.values.size() ? c.values[i] : "";
        // Empty cells sort last, as the engine sorts them.
        out_ << "<td data-sort=\"" << Escaped(value) << "\">"
             << (value.empty() ? "(empty)" : Escaped(value)) << "</td>";
      }
      Numbers(c, "td");
      out_ << "</tr>\n";
    }
    out_ << "</tbody>\n<tfoot><tr><th colspan=\"" << s.groupingFields.size() << "\">total</th>";
    Numbers(s.total, "th");
    out_ << "</tr></tfoot></table></div></div>\n";
  }

  void Numbers(const CombinationReport& c, const char* cell) {
    out_ << "<" << cell << " class=\"n\" data-sort=\"" << SortKey(c.result) << "\">"
         << Escaped(TextReportWriter::FormatValue(c.result)) << "</" << cell << "><" << cell
         << " class=\"n\" data-sort=\"" << c.records << "\">"
         << TextReportWriter::FormatCount(c.records) << "</" << cell << ">";
  }

  void Chart(const StatisticReport& s) {
    out_ << "<figure class=\"stat chart\"><h3>" << Escaped(TextReportWriter::Describe(s))
         << "</h3>\n";
    if (s.groupingName.empty()) {
      Bars(s, s.total);
    } else {
      for (const CombinationReport& c : s.combinations) {
        out_ << "<figcaption>" << Escaped(TextReportWriter::FormatCombination(c.values)) << " ("
             << TextReportWriter::FormatRecords(c.records) << ")</figcaption>\n";
        Bars(s, c);
      }
      out_ << "<figcaption>total (" << TextReportWriter::FormatRecords(s.total.records)
           << ")</figcaption>\n";
      Bars(s, s.total);
    }
    out_ << "</figure>\n";
  }

  void Bars(const StatisticReport& s, const CombinationReport& c) {
    struct Bar {
      std::string label;
      double amount;
      std::string text;
      bool notAvailable;
    };
    std::vector<Bar> bars;
    for (std::size_t i = 0; i < c.bins.size(); ++i) {
      bars.push_back({i < s.binLabels.size() ? s.binLabels[i] : "?",
                      c.bins[i].IsNumber() ? c.bins[i].ToDouble() : 0.0,
                      TextReportWriter::FormatBin(c.bins[i], s.percent), false});
    }
    if (c.hasNotAvailable) {
      bars.push_back({"N/A (empty)", static_cast<double>(c.notAvailable),
                      TextReportWriter::FormatCount(c.notAvailable), true});
    }
    double maximum = 0;
    for (const Bar& b : bars) maximum = std::max(maximum, b.amount);
    const int height = static_cast<int>(bars.size()) * kRowHeight + 4;
    const int room = kChartWidth - kLabelWidth - kValueWidth;
    out_ << "<svg viewBox=\"0 0 " << kChartWidth << " " << height
         << "\" role=\"img\" xmlns=\"http://www.w3.org/2000/svg\">\n";
    for (std::size_t i = 0; i < bars.size(); ++i) {
      const Bar& b = bars[i];
      const int y = static_cast<int>(i) * kRowHeight + 2;
      double width = maximum > 0 && b.amount > 0 ? b.amount / maximum * room : 0;
      // A non-zero amount always shows, if only as a sliver.
      if (b.amount > 0) width = std::max(width, 1.5);
      char number[32];
      std::snprintf(number, sizeof number, "%.1f", width);
      out_ << "<g><title>" << Escaped(b.label) << ": " << Escaped(b.text) << "</title><text x=\""
           << kLabelWidth - 8 << "\" y=\"" << y + 15 << "\" text-anchor=\"end\">"
           << Escaped(Shorten(b.label, kMaxLabelChars)) << "</text><rect class=\""
           << (b.notAvailable ? "na" : "bar") << "\" x=\"" << kLabelWidth << "\" y=\"" << y + 3
           << "\" width=\"" << number << "\" height=\"" << kRowHeight - 6
           << "\" rx=\"2\"></rect><text x=\"" << kLabelWidth + width + 6 << "\" y=\"" << y + 15
           << "\">" << Escaped(b.text) << "</text></g>\n";
    }
    out_ << "</svg>\n";
  }

  std::ostream& out_;
};

}  // namespace

std::string HtmlReportWriter::Escape(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

void HtmlReportWriter::Write(std::ostream& out, const Report& report) { Page(out).Write(report); }

}  // namespace cli
}  // namespace stattree
