// The text dump of StatsDefn.
#include <cstddef>
#include <string>

#include "stattree/criteria/criteria.h"
#include "stattree/criteria/criteria_set.h"
#include "stattree/definitions/stats_defn.h"

namespace stattree {

namespace {

constexpr std::size_t kLabelWidth = 10;
constexpr std::size_t kMaxDumpedNameLength = 49;
// Lines a histogram's bins up under the definition's own lines.
constexpr const char* kBinIndent = "           ";

// The "%-10s: %-s" head of a line.
void WriteHead(std::ostream& os, const std::string& label, const std::string& text) {
  std::string head = label;
  if (head.size() < kLabelWidth) head.append(kLabelWidth - head.size(), ' ');
  head += ": ";
  head += text;
  os << head;
}

}  // namespace

void StatsDefn::DumpObject(std::ostream& os, const char* prefix) {
  const std::string linePrefix = prefix != nullptr ? prefix : "";
  // Numbers go through to_string so that the host's stream flags (hex,
  // width) can't change them.
  os << linePrefix;
  WriteHead(os, "Name", name.substr(0, kMaxDumpedNameLength));
  os << "\r\n";

  os << linePrefix;
  if (field.colNum == -1) {
    WriteHead(os, "Field", "Invalid");
    os << "\r\n";
  } else {
    WriteHead(os, "Field", "");
    os << field.name << "(Col = " << std::to_string(field.colNum) << ")\r\n";
  }

  std::string typeText;
  GetTypeString(typeText, type);
  os << linePrefix;
  WriteHead(os, "Type", typeText);
  os << "\r\n";

  os << linePrefix;
  if (!HasSubsetSpec()) {
    WriteHead(os, "Subset", "No subset spec");
    os << "\r\n";
  } else {
    WriteHead(os, "Subset", "");
    os << "name=" << subsetName << "\r\n";
    os << linePrefix;
    WriteHead(os, "", "");
    os << "field_values=";
    for (std::size_t i = 0; i < subsetFields.size(); ++i) {
      const SubsetFieldValPair& pair = subsetFields[i];
      if (i > 0) os << ", ";
      std::string valueText = "[no value]";
      subsetCriteria->GetCriteriaText(valueText, static_cast<int>(i), false);
      os << pair.field.name << "(Col " << std::to_string(pair.field.colNum) << ")=" << valueText;
    }
    os << "\r\n";
  }

  os << linePrefix;
  if (!HasGroupingSpec()) {
    WriteHead(os, "Grouping", "No grouping spec");
    os << "\r\n";
  } else {
    WriteHead(os, "Grouping", "");
    os << "name=" << groupingName << "\r\n";
    os << linePrefix;
    WriteHead(os, "", "");
    os << "fields=";
    for (std::size_t i = 0; i < groupingFields.size(); ++i) {
      if (i > 0) os << ", ";
      os << groupingFields[i].name << "(Col " << std::to_string(groupingFields[i].colNum) << ")";
    }
    os << "\r\n";
  }

  if (enumCriteriaSet == nullptr) return;
  // Kept: for a type without distribution the prefix stays on the stream
  // alone, without a line end.
  os << linePrefix;
  switch (type) {
    case EnumCount:
      os << "Enum Count Distinct Values: ";
      enumCriteriaSet->DumpCriteraValues(os, "", true);
      os << "\r\n";
      break;
    case EnumPercent:
      os << "Enum Percent Distinct Values: ";
      enumCriteriaSet->DumpCriteraValues(os, "", true);
      os << "\r\n";
      break;
    case Histogram1:
      os << "Histogram Bins:\r\n";
      enumCriteriaSet->DumpObject(os, (linePrefix + kBinIndent).c_str());
      break;
    default:
      break;
  }
}

}  // namespace stattree
