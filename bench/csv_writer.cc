#include "csv_writer.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace stattree_bench {
namespace {

constexpr std::size_t kFlushAt = 1 << 20;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

void AppendReal(std::string& line, double value) {
  char text[64];
  const auto [end, ec] = std::to_chars(text, text + sizeof(text), value);
  if (ec != std::errc()) return;
  line.append(text, end);
  // "100" would read back as an integer ("inf" and "nan" never occur here).
  if (std::find_if(text, end, [](char c) { return c == '.' || c == 'e'; }) == end) line += ".0";
}

}  // namespace

bool WriteCsv(const Table& table, const std::string& path, std::string& error) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
  if (!file) {
    error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }
  // Texts of the coded values, formatted once.
  std::vector<std::vector<std::string>> texts(static_cast<std::size_t>(table.GetColumnCount()));
  std::string buffer;
  for (int col = 0; col < table.GetColumnCount(); ++col) {
    const Table::Column& column = table.GetColumn(col);
    buffer += (col > 0 ? "," : "") + column.name;
    for (const stattree::Variant& value : column.dictionary) {
      texts[static_cast<std::size_t>(col)].push_back(value.ToString());
    }
  }
  buffer += '\n';
  for (std::size_t row = 0; row < table.GetRowCount(); ++row) {
    for (int col = 0; col < table.GetColumnCount(); ++col) {
      if (col > 0) buffer += ',';
      const Table::Column& column = table.GetColumn(col);
      switch (column.kind) {
        case Table::ColumnKind::Coded:
          buffer += texts[static_cast<std::size_t>(col)][column.codes[row]];
          break;
        case Table::ColumnKind::Real:
          AppendReal(buffer, column.reals[row]);
          break;
        case Table::ColumnKind::OptionalInteger:
          if (column.integers[row] != Table::kEmptyInteger) {
            buffer += std::to_string(column.integers[row]);
          }
          break;
      }
    }
    buffer += '\n';
    if (buffer.size() >= kFlushAt) {
      if (std::fwrite(buffer.data(), 1, buffer.size(), file.get()) != buffer.size()) break;
      buffer.clear();
    }
  }
  const bool written = std::fwrite(buffer.data(), 1, buffer.size(), file.get()) == buffer.size();
  if (!written || std::fclose(file.release()) != 0) {
    error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

}  // namespace stattree_bench
