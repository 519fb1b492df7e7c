#include "ctl/table.h"

#include <wchar.h>

#include <algorithm>

#include "ctl/output.h"

namespace zunol_monitoring::ctl {
namespace {

/// Columns of a terminal that a character takes: 2 for the wide ones of East Asia.
std::size_t columns(wchar_t character) {
  const int width = wcwidth(character);
  return width < 0 ? 1 : static_cast<std::size_t>(width);
}

std::size_t columns(const std::string& text) {
  std::size_t sum = 0;
  for_each_character(text, [&sum](wchar_t character, auto) { sum += columns(character); });
  return sum;
}

/// The first `width` columns of the line, the last of them "…" where that drops any.
std::string cut(const std::string& line, std::size_t width) {
  if (columns(line) <= width) return line;
  std::string kept;
  std::size_t used = 1;  // by the "…"
  bool full = false;
  for_each_character(line, [&](wchar_t character, std::string_view bytes) {
    used += columns(character);
    full = full || used > width;
    if (!full) kept += bytes;
  });
  return kept + "…";
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
