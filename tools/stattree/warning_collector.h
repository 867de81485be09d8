// WarningCollector: notices, while the cells are converted, what makes a
// job quietly compute something other than what its author meant, and
// words it as ReportWarnings once the records are read.
//
// Kinds (stable, also in the JSON report):
//   - "text_in_numeric_column": a Sum, Average, StdDev, Min, Max or
//     Histogram1 over a column where some cells were text;
//   - "value_in_other_form": an enumeration or subset value that matched
//     no cell of its column, while the column held the same number written
//     differently (the value "5.0" against cells holding 5);
//   - "subset_matched_nothing": a subset that took no record at all.
// The collector sees only the columns it audits, one cell at a time, and
// does no allocation there but for the first example of each finding.
// Warnings never change a result. Thread-safety: none.
#ifndef STATTREE_TOOLS_WARNING_COLLECTOR_H_
#define STATTREE_TOOLS_WARNING_COLLECTOR_H_

#include <cstddef>
#include <string>
#include <vector>

#include "stattree/boundary/variant.h"
#include "tools/stattree/job.h"
#include "tools/stattree/report.h"

namespace stattree {
namespace cli {

class WarningCollector {
 public:
  // `job` is resolved against a header of `columns` columns; it is borrowed
  // and must outlive the collector.
  WarningCollector(const Job& job, std::size_t columns);

  // Per header column: whether Observe wants its cells.
  const std::vector<bool>& Audited() const { return audited_; }

  // One converted cell of an audited column; `line` is where its row starts.
  void Observe(std::size_t column, const Variant& value, const std::string& cell, long long line) {
    ColumnAudit& audit = columns_[column];
    if (audit.countText && value.IsText() && audit.textCells++ == 0) {
      audit.textExample = cell;
      audit.textLine = line;
    }
    if (audit.openWatches > 0) Watch(audit, value, cell, line);
  }

  // The warnings of a run over `records` records that made `root`, in the
  // job's order.
  std::vector<ReportWarning> Warnings(const NodeReport& root, long long records) const;

  // The findings so far as bytes, for merging into a collector of the same
  // job that saw the rows before these.
  std::string SaveState() const;
  // Takes in the findings a collector of the same job saved over the rows
  // right after this one's, its lines being `lineShift` further down: the
  // findings of one collector over all the rows. False, changing nothing,
  // for bytes that are not such findings.
  bool MergeState(const std::string& state, long long lineShift);

 private:
  // A value the job compares a column with, when it reads as a number.
  struct ValueWatch {
    Variant value;
    double number = 0;
    bool matched = false;
    bool otherForm = false;
    std::string example;  // the first cell holding the number otherwise
    std::string exampleReadAs;  // "text", or that cell's value
    long long exampleLine = 0;
  };
  struct ColumnAudit {
    bool countText = false;
    long long textCells = 0;
    std::string textExample;
    long long textLine = 0;
    std::vector<ValueWatch> watches;
    int openWatches = 0;  // not matched yet
  };

  void AddWatch(const ColumnRef& column, const Variant& value);
  const ValueWatch* FindWatch(const ColumnRef& column, const Variant& value) const;
  void Watch(ColumnAudit& audit, const Variant& value, const std::string& cell, long long line);

  const Job& job_;
  std::vector<ColumnAudit> columns_;
  std::vector<bool> audited_;
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_WARNING_COLLECTOR_H_
