#include "tools/stattree/report_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "stattree/definitions/stats_defn.h"
#include "tools/stattree/join.h"

namespace stattree {
namespace cli {
namespace {

constexpr int kBarWidth = 30;
constexpr int kIndentStep = 2;

// Eighths of a block, from one eighth to a full block.
const char* const kBlocks[] = {"\u258F", "\u258E", "\u258D", "\u258C",
                               "\u258B", "\u258A", "\u2589", "\u2588"};

// Display width: code points, which is right for the common scripts.
std::size_t Width(const std::string& text) {
  std::size_t width = 0;
  for (unsigned char c : text) {
    if ((c & 0xC0) != 0x80) ++width;
  }
  return width;
}

std::string PadRight(const std::string& text, std::size_t width) {
  const std::size_t w = Width(text);
  return w >= width ? text : text + std::string(width - w, ' ');
}

std::string PadLeft(const std::string& text, std::size_t width) {
  const std::size_t w = Width(text);
  return w >= width ? text : std::string(width - w, ' ') + text;
}

// "1234567.891" -> "1,234,567.891" (the digits before the first '.' or 'e').
std::string GroupThousands(const std::string& number) {
  std::size_t start = number[0] == '-' ? 1 : 0;
  std::size_t end = start;
  while (end < number.size() && number[end] >= '0' && number[end] <= '9') ++end;
  std::string out = number.substr(0, start);
  for (std::size_t i = start; i < end; ++i) {
    out += number[i];
    const std::size_t left = end - i - 1;
    if (left > 0 && left % 3 == 0) out += ',';
  }
  return out + number.substr(end);
}

std::string DescribeStatistic(const StatisticReport& s) {
  std::string text = s.name + " \u2014 " + s.type;
  if (!s.field.empty() && StatsDefn::GetTypeFromString(s.type) != StatsDefn::Count)
    text += " of " + s.field;
  if (!s.groupingFields.empty()) {
    text += " by " + Join(s.groupingFields, ", ");
  }
  if (!s.subset.empty()) {
    std::vector<std::string> conditions;
    for (const auto& [column, value] : s.subset) {
      conditions.push_back(column + " = " + (value.IsEmpty() ? "(empty)" : value.ToString()));
    }
    text += " where " + Join(conditions, " and ");
  }
  return text;
}

std::string Indent(int level) { return std::string(static_cast<std::size_t>(level), ' '); }

void WriteScalar(std::ostream& out, const StatisticReport& s, int indent) {
  if (s.groupingName.empty()) {
    out << Indent(indent) << DescribeStatistic(s) << ": "
        << TextReportWriter::FormatValue(s.total.result) << "\n";
    return;
  }
  out << Indent(indent) << DescribeStatistic(s) << ":\n";
  std::vector<const CombinationReport*> rows;
  for (const CombinationReport& c : s.combinations) rows.push_back(&c);
  rows.push_back(&s.total);
  std::size_t labelWidth = 0;
  std::size_t valueWidth = 0;
  std::size_t countWidth = 0;
  for (const CombinationReport* row : rows) {
    const std::string label =
        row == &s.total ? "total" : TextReportWriter::FormatCombination(row->values);
    labelWidth = std::max(labelWidth, Width(label));
    valueWidth = std::max(valueWidth, Width(TextReportWriter::FormatValue(row->result)));
    countWidth = std::max(countWidth, Width(TextReportWriter::FormatCount(row->records)));
  }
  for (const CombinationReport* row : rows) {
    const std::string label =
        row == &s.total ? "total" : TextReportWriter::FormatCombination(row->values);
    out << Indent(indent + kIndentStep) << PadRight(label, labelWidth) << "  "
        << PadLeft(TextReportWriter::FormatValue(row->result), valueWidth) << "  "
        << PadLeft(TextReportWriter::FormatCount(row->records), countWidth)
        << (row->records == 1 ? " record" : " records") << "\n";
  }
}

void WriteBars(std::ostream& out, const StatisticReport& s, const CombinationReport& c,
               int indent) {
  std::vector<std::string> labels;
  std::vector<double> amounts;
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < c.bins.size(); ++i) {
    labels.push_back(i < s.binLabels.size() ? s.binLabels[i] : "?");
    amounts.push_back(c.bins[i].IsNumber() ? c.bins[i].ToDouble() : 0.0);
    texts.push_back(TextReportWriter::FormatBin(c.bins[i], s.percent));
  }
  if (c.hasNotAvailable && c.notAvailable > 0) {
    labels.push_back("N/A (empty)");
    amounts.push_back(static_cast<double>(c.notAvailable));
    texts.push_back(TextReportWriter::FormatCount(c.notAvailable));
  }
  std::size_t labelWidth = 0;
  std::size_t textWidth = 0;
  double maximum = 0;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    labelWidth = std::max(labelWidth, Width(labels[i]));
    textWidth = std::max(textWidth, Width(texts[i]));
    maximum = std::max(maximum, amounts[i]);
  }
  for (std::size_t i = 0; i < labels.size(); ++i) {
    out << Indent(indent) << PadRight(labels[i], labelWidth) << "  "
        << PadRight(TextReportWriter::Bar(amounts[i], maximum, kBarWidth), kBarWidth) << "  "
        << PadLeft(texts[i], textWidth) << "\n";
  }
}

void WriteDistribution(std::ostream& out, const StatisticReport& s, int indent) {
  out << Indent(indent) << DescribeStatistic(s) << ":\n";
  if (s.groupingName.empty()) {
    WriteBars(out, s, s.total, indent + kIndentStep);
    return;
  }
  for (const CombinationReport& c : s.combinations) {
    out << Indent(indent + kIndentStep) << TextReportWriter::FormatCombination(c.values) << " ("
        << TextReportWriter::FormatRecords(c.records) << ")\n";
    WriteBars(out, s, c, indent + 2 * kIndentStep);
  }
  out << Indent(indent + kIndentStep) << "total ("
      << TextReportWriter::FormatRecords(s.total.records) << ")\n";
  WriteBars(out, s, s.total, indent + 2 * kIndentStep);
}

void WriteNode(std::ostream& out, const NodeReport& node, int indent, bool isRoot) {
  out << Indent(indent) << (isRoot ? std::string("root") : node.field + " = " + node.value)
      << " \u2014 " << TextReportWriter::FormatRecords(node.records) << "\n";
  for (const StatisticReport& s : node.statistics) {
    if (s.distribution) {
      WriteDistribution(out, s, indent + kIndentStep);
    } else {
      WriteScalar(out, s, indent + kIndentStep);
    }
  }
  for (const NodeReport& child : node.children) {
    out << "\n";
    WriteNode(out, child, indent + kIndentStep, false);
  }
}

}  // namespace

std::string TextReportWriter::FormatCount(long long count) {
  return GroupThousands(std::to_string(count));
}

std::string TextReportWriter::FormatRecords(long long records) {
  return FormatCount(records) + (records == 1 ? " record" : " records");
}

std::string TextReportWriter::FormatValue(const Variant& value) {
  switch (value.GetKind()) {
    case Variant::Kind::Empty:
      return "(none)";
    case Variant::Kind::Invalid:
      return "(invalid)";
    case Variant::Kind::Text:
      return value.GetText();
    case Variant::Kind::Integer:
      return FormatCount(value.GetInteger());
    case Variant::Kind::Real:
      break;
  }
  const double number = value.GetReal();
  if (!std::isfinite(number)) return value.ToString();
  char buffer[64];
  if (number == 0 || std::fabs(number) >= 1) {
    std::snprintf(buffer, sizeof buffer, "%.2f", number);
  } else {
    std::snprintf(buffer, sizeof buffer, "%.4g", number);
  }
  return GroupThousands(buffer);
}

std::string TextReportWriter::FormatBin(const Variant& value, bool percent) {
  if (!percent) return FormatValue(value);
  if (!value.IsNumber()) return "-";
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f%%", value.ToDouble());
  return buffer;
}

std::string TextReportWriter::FormatCombination(const std::vector<std::string>& values) {
  std::vector<std::string> texts;
  texts.reserve(values.size());
  for (const std::string& v : values) texts.push_back(v.empty() ? "(empty)" : v);
  return Join(texts, ", ");
}

std::string TextReportWriter::Describe(const StatisticReport& statistic) {
  return DescribeStatistic(statistic);
}

std::string TextReportWriter::Bar(double value, double maximum, int width) {
  if (!(maximum > 0) || !(value > 0)) return "";
  const double ratio = std::min(value / maximum, 1.0);
  const long eighths = std::lround(ratio * width * 8);
  std::string bar;
  for (long i = 0; i < eighths / 8; ++i) bar += kBlocks[7];
  // A non-zero amount always shows, if only as a sliver.
  if (eighths % 8 != 0 || eighths == 0) bar += kBlocks[eighths == 0 ? 0 : eighths % 8 - 1];
  return bar;
}

void TextReportWriter::Write(std::ostream& out, const Report& report) {
  out << "stattree report\n";
  out << "  data: " << report.dataName << ", " << FormatRecords(report.records);
  if (report.skippedRows > 0) {
    out << " (" << FormatCount(report.skippedRows)
        << (report.skippedRows == 1 ? " bad row skipped)" : " bad rows skipped)");
  }
  out << "\n  job:  " << report.jobName << "\n";
  if (!report.treeFields.empty()) {
    out << "  tree: " << Join(report.treeFields, " > ") << "\n";
  }
  out << "\n";
  WriteNode(out, report.root, 0, true);
}

}  // namespace cli
}  // namespace stattree
