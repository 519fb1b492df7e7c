#include "ctl/table.h"

#include <algorithm>

#include "ctl/output.h"

namespace zunol_monitoring::ctl {
namespace {

bool begins_character(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) != 0x80; }

std::size_t columns(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, begins_character));
}

/// The first `width` columns of the line, the last of them "…" where that drops any.
std::string cut(const std::string& line, std::size_t width) {
  if (columns(line) <= width) return line;
  std::size_t end = 0;
  for (std::size_t column = 0; end < line.size(); ++end) {
    if (begins_character(line[end]) && ++column == width) break;
  }
  return line.substr(0, end) + "…";
}

}  // namespace

Table::Table(std::vector<std::string> heads) { rows_.push_back(std::move(heads)); }

void Table::add(std::vector<std::string> cells) {
  for (std::string& cell : cells) cell = printable(cell);
  rows_.push_back(std::move(cells));
}

std::string Table::text(int width) const {
  std::vector<std::size_t> widths(rows_.front().size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columns(row[i]));
  }
  std::string text;
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) line.append(widths[i] - columns(row[i]) + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += (width > 0 ? cut(line, static_cast<std::size_t>(width)) : line) + '\n';
  }
  return text;
}

}  // namespace zunol_monitoring::ctl
