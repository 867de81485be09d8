#include "tools/stattree/report_csv.h"

#include <algorithm>
#include <vector>

namespace stattree {
namespace cli {
namespace {

const char* const kFixedColumns[] = {"statistic", "type", "field", "subset", "grouping", "total"};
const char* const kTrailingColumns[] = {"bin", "value", "status", "records"};

class Table {
 public:
  Table(std::ostream& out, const Report& report) : out_(out), report_(report) {}

  void Write() {
    CollectGroupingFields(report_.root);
    // The fixed names are taken first, so that a field's name yields to them.
    std::vector<std::string> taken(std::begin(kFixedColumns), std::end(kFixedColumns));
    taken.insert(taken.end(), std::begin(kTrailingColumns), std::end(kTrailingColumns));
    auto unique = [&taken](std::string name, const char* suffix) {
      while (std::find(taken.begin(), taken.end(), name) != taken.end()) name += suffix;
      taken.push_back(name);
      return name;
    };
    std::vector<std::string> header;
    for (const std::string& field : report_.treeFields) header.push_back(unique(field, " (tree)"));
    header.insert(header.end(), std::begin(kFixedColumns), std::end(kFixedColumns));
    for (const std::string& field : groupingFields_) header.push_back(unique(field, " (group)"));
    header.insert(header.end(), std::begin(kTrailingColumns), std::end(kTrailingColumns));
    Row(header);
    path_.assign(report_.treeFields.size(), "");
    Node(report_.root, -1);
  }

 private:
  void CollectGroupingFields(const NodeReport& node) {
    for (const StatisticReport& s : node.statistics) {
      for (const std::string& f : s.groupingFields) {
        if (std::find(groupingFields_.begin(), groupingFields_.end(), f) == groupingFields_.end()) {
          groupingFields_.push_back(f);
        }
      }
    }
    // Every node carries the same statistics; the root is enough.
  }

  // `level`: the node's tree level, -1 for the root.
  void Node(const NodeReport& node, int level) {
    for (const StatisticReport& s : node.statistics) {
      for (const CombinationReport& c : s.combinations) Combination(s, c, false);
      Combination(s, s.total, true);
    }
    for (const NodeReport& child : node.children) {
      // A transparent (empty) node's children hang one level or more up.
      int childLevel = level + 1;
      for (int l = level + 1; l < static_cast<int>(report_.treeFields.size()); ++l) {
        if (report_.treeFields[static_cast<std::size_t>(l)] == child.field) {
          childLevel = l;
          break;
        }
      }
      if (childLevel >= static_cast<int>(path_.size())) continue;
      const std::vector<std::string> saved = path_;
      for (int l = level + 1; l < static_cast<int>(path_.size()); ++l) {
        path_[static_cast<std::size_t>(l)].clear();
      }
      path_[static_cast<std::size_t>(childLevel)] = child.value;
      Node(child, childLevel);
      path_ = saved;
    }
  }

  void Combination(const StatisticReport& s, const CombinationReport& c, bool total) {
    std::vector<std::string> cells = path_;
    cells.insert(cells.end(),
                 {s.name, s.type, s.field, s.subsetName, s.groupingName, total ? "true" : "false"});
    for (const std::string& field : groupingFields_) {
      std::string value;
      for (std::size_t i = 0; i < s.groupingFields.size() && i < c.values.size(); ++i) {
        if (s.groupingFields[i] == field) value = c.values[i];
      }
      cells.push_back(value);
    }
    const std::string records = std::to_string(c.records);
    if (!s.distribution) {
      Emit(cells, "", c.result, records);
      return;
    }
    for (std::size_t i = 0; i < c.bins.size(); ++i) {
      Emit(cells, i < s.binLabels.size() ? s.binLabels[i] : "", c.bins[i], records);
    }
    if (c.hasNotAvailable) Emit(cells, "N/A (empty)", Variant(c.notAvailable), records);
  }

  void Emit(std::vector<std::string> cells, const std::string& bin, const Variant& value,
            const std::string& records) {
    const char* status = value.IsEmpty() ? "none" : value.IsValid() ? "ok" : "invalid";
    cells.insert(cells.end(), {bin, value.ToString(), status, records});
    Row(cells);
  }

  void Row(const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      out_ << (i == 0 ? "" : ",") << CsvReportWriter::Quote(cells[i]);
    }
    out_ << "\r\n";
  }

  std::ostream& out_;
  const Report& report_;
  std::vector<std::string> groupingFields_;
  std::vector<std::string> path_;
};

}  // namespace

std::string CsvReportWriter::Quote(const std::string& cell) {
  if (cell.find_first_of(",\"\r\n") == std::string::npos) return cell;
  std::string quoted = "\"";
  for (char c : cell) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

void CsvReportWriter::Write(std::ostream& out, const Report& report) { Table(out, report).Write(); }

}  // namespace cli
}  // namespace stattree
