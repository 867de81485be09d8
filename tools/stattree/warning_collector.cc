#include "tools/stattree/warning_collector.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "tools/stattree/byte_pack.h"
#include "tools/stattree/join.h"
#include "tools/stattree/report_text.h"

namespace stattree {
namespace cli {
namespace {

// The types that read their column as numbers.
bool IsNumeric(StatsDefn::StatsType type) {
  switch (type) {
    case StatsDefn::Min:
    case StatsDefn::Max:
    case StatsDefn::Sum:
    case StatsDefn::Average:
    case StatsDefn::StdDev:
    case StatsDefn::Histogram1:
      return true;
    default:
      return false;
  }
}

// A cell may be up to 1 MiB; a message shows its start.
std::string Quoted(const std::string& text) {
  constexpr std::size_t kMaxBytes = 40;
  if (text.size() <= kMaxBytes) return "\"" + text + "\"";
  std::size_t end = kMaxBytes;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return "\"" + text.substr(0, end) + "\u2026\"";
}

std::string Describe(const StatisticSpec& spec) {
  return spec.name + " \u2014 " + spec.TypeName() + " of " + spec.field.name;
}

}  // namespace

WarningCollector::WarningCollector(const Job& job, std::size_t columns)
    : job_(job), columns_(columns), audited_(columns, false) {
  auto valid = [columns](const ColumnRef& ref) {
    return ref.column >= 0 && static_cast<std::size_t>(ref.column) < columns;
  };
  for (const StatisticSpec& spec : job.statistics) {
    if (IsNumeric(spec.type) && valid(spec.field)) {
      columns_[static_cast<std::size_t>(spec.field.column)].countText = true;
      audited_[static_cast<std::size_t>(spec.field.column)] = true;
    }
    if (spec.hasValues && valid(spec.field)) {
      for (const std::string& value : spec.values) AddWatch(spec.field, Variant(value));
    }
    for (const SubsetCondition& c : spec.where) {
      if (valid(c.column)) AddWatch(c.column, c.value);
    }
  }
}

void WarningCollector::AddWatch(const ColumnRef& column, const Variant& value) {
  // Only a value that reads as a number can be written another way.
  if (value.IsEmpty() || FindWatch(column, value) != nullptr) return;
  const double number = value.ToDouble();
  if (!std::isfinite(number)) return;
  ColumnAudit& audit = columns_[static_cast<std::size_t>(column.column)];
  ValueWatch watch;
  watch.value = value;
  watch.number = number;
  audit.watches.push_back(watch);
  ++audit.openWatches;
  audited_[static_cast<std::size_t>(column.column)] = true;
}

const WarningCollector::ValueWatch* WarningCollector::FindWatch(const ColumnRef& column,
                                                                const Variant& value) const {
  if (column.column < 0 || static_cast<std::size_t>(column.column) >= columns_.size()) {
    return nullptr;
  }
  for (const ValueWatch& w : columns_[static_cast<std::size_t>(column.column)].watches) {
    if (w.value.GetKind() == value.GetKind() && w.value.IsStringEquivalentTo(value)) return &w;
  }
  return nullptr;
}

void WarningCollector::Watch(ColumnAudit& audit, const Variant& value, const std::string& cell,
                             long long line) {
  if (value.IsEmpty()) return;
  for (ValueWatch& w : audit.watches) {
    if (w.matched) continue;
    // The engine's own test for enumeration values and subsets.
    if (value.IsStringEquivalentTo(w.value)) {
      w.matched = true;
      --audit.openWatches;
    } else if (!w.otherForm && value.ToDouble() == w.number) {
      w.otherForm = true;
      w.example = cell;
      w.exampleReadAs = value.IsText() ? std::string("text") : value.ToString();
      w.exampleLine = line;
    }
  }
}

std::vector<ReportWarning> WarningCollector::Warnings(const NodeReport& root,
                                                      long long records) const {
  std::vector<ReportWarning> warnings;
  auto otherForm = [this](const ColumnRef& column, const Variant& value, std::string& text) {
    const ValueWatch* w = FindWatch(column, value);
    if (w == nullptr || w->matched || !w->otherForm) return false;
    text = "the value " + Quoted(value.ToString()) + " matched no record, but the column " +
           column.name + " holds the same number written differently (e.g. line " +
           std::to_string(w->exampleLine) + ": " + Quoted(w->example) + ", read as " + w->exampleReadAs + ")";
    return true;
  };
  std::vector<std::string> subsetsDone;
  for (const StatisticSpec& spec : job_.statistics) {
    const ColumnRef& field = spec.field;
    if (IsNumeric(spec.type) && field.column >= 0 &&
        static_cast<std::size_t>(field.column) < columns_.size()) {
      const ColumnAudit& audit = columns_[static_cast<std::size_t>(field.column)];
      if (audit.textCells > 0) {
        warnings.push_back(
            {"text_in_numeric_column", spec.name, field.name,
             Describe(spec) + ": " + TextReportWriter::FormatCount(audit.textCells) + " of " +
                 TextReportWriter::FormatCount(records) +
                 (records == 1 ? " cell is not a number" : " cells are not numbers") +
                 ", e.g. line " + std::to_string(audit.textLine) + ": " +
                 Quoted(audit.textExample)});
      }
    }
    if (spec.hasValues) {
      for (const std::string& value : spec.values) {
        std::string text;
        if (otherForm(field, Variant(value), text)) {
          warnings.push_back(
              {"value_in_other_form", spec.name, field.name, Describe(spec) + ": " + text});
        }
      }
    }
    if (!spec.hasSubset) continue;
    bool done = false;
    for (const std::string& name : subsetsDone) done = done || name == spec.subsetName;
    if (done) continue;
    subsetsDone.push_back(spec.subsetName);
    const std::string subset = "subset " + Quoted(spec.subsetName);
    for (const SubsetCondition& c : spec.where) {
      std::string text;
      if (otherForm(c.column, c.value, text)) {
        warnings.push_back({"value_in_other_form", "", c.column.name,
                            std::string(subset).append(": ").append(text)});
      }
    }
    for (const StatisticReport& s : root.statistics) {
      if (s.name != spec.name || s.total.records != 0) continue;
      std::vector<std::string> users;
      for (const StatisticSpec& other : job_.statistics) {
        if (other.hasSubset && other.subsetName == spec.subsetName) users.push_back(other.name);
      }
      std::vector<std::string> columns;
      for (const SubsetCondition& cond : spec.where) columns.push_back(cond.column.name);
      std::string message = subset;
      message.append(" (used by ").append(Join(users, ", ", true)).append(") matched no record");
      warnings.push_back({"subset_matched_nothing", "", Join(columns, ", ", true), message});
    }
  }
  return warnings;
}

std::string WarningCollector::SaveState() const {
  BytePacker out;
  out.PutNumber(columns_.size());
  for (const ColumnAudit& audit : columns_) {
    out.PutSigned(audit.textCells);
    out.PutText(audit.textExample);
    out.PutSigned(audit.textLine);
    out.PutNumber(audit.watches.size());
    for (const ValueWatch& w : audit.watches) {
      out.PutNumber((w.matched ? 1U : 0U) | (w.otherForm ? 2U : 0U));
      out.PutText(w.example);
      out.PutText(w.exampleReadAs);
      out.PutSigned(w.exampleLine);
    }
  }
  return out.Bytes();
}

bool WarningCollector::MergeState(const std::string& state, long long lineShift) {
  // Read whole into a copy first, so that bad bytes change nothing.
  std::vector<ColumnAudit> merged = columns_;
  ByteUnpacker in(state);
  std::uint64_t count = 0;
  if (!in.GetNumber(count) || count != merged.size()) return false;
  for (ColumnAudit& audit : merged) {
    long long cells = 0;
    std::string example;
    long long line = 0;
    std::uint64_t watches = 0;
    if (!in.GetSigned(cells) || !in.GetText(example) || !in.GetSigned(line) ||
        !in.GetNumber(watches) || cells < 0 || watches != audit.watches.size()) {
      return false;
    }
    if (audit.textCells == 0 && cells > 0) {
      audit.textExample = std::move(example);
      audit.textLine = line + lineShift;
    }
    audit.textCells += cells;
    for (ValueWatch& w : audit.watches) {
      std::uint64_t flags = 0;
      ValueWatch later;
      if (!in.GetNumber(flags) || flags > 3 || !in.GetText(later.example) ||
          !in.GetText(later.exampleReadAs) || !in.GetSigned(later.exampleLine)) {
        return false;
      }
      // The earlier rows' example stands, as it would in one pass.
      if (!w.otherForm && (flags & 2U) != 0) {
        w.otherForm = true;
        w.example = std::move(later.example);
        w.exampleReadAs = std::move(later.exampleReadAs);
        w.exampleLine = later.exampleLine + lineShift;
      }
      if (!w.matched && (flags & 1U) != 0) {
        w.matched = true;
        --audit.openWatches;
      }
    }
  }
  if (!in.AtEnd()) return false;
  columns_ = std::move(merged);
  return true;
}

}  // namespace cli
}  // namespace stattree
