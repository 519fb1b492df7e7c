#include "ctl/table.h"

#include <wchar.h>

#include <algorithm>
#include <numeric>

#include "ctl/output.h"

namespace zunol_monitoring::ctl {
namespace {

/// An elastic column keeps as many columns of the terminal.
constexpr std::size_t least_elastic = 30;

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

}  // namespace

std::string cut_text(const std::string& line, std::size_t width) {
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

Table::Table(std::vector<std::string> heads, std::size_t elastic) : elastic_(elastic) {
  rows_.push_back(std::move(heads));
}

void Table::add(std::vector<std::string> cells) {
  for (std::string& cell : cells) cell = printable(cell);
  rows_.push_back(std::move(cells));
}

/// Of the columns, where no line is to have more than `width`, or 0.
std::vector<std::size_t> Table::widths(std::size_t width) const {
  std::vector<std::size_t> all(rows_[0].size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) all[i] = std::max(all[i], columns(row[i]));
  }
  const std::size_t whole = std::accumulate(all.begin(), all.end(), 2 * (all.size() - 1));
  if (width > 0 && whole > width && elastic_ < all.size()) {
    std::size_t& elastic = all[elastic_];
    elastic -= std::min(whole - width, elastic - std::min(elastic, least_elastic));
  }
  return all;
}

std::string Table::text(int width, std::size_t* cut_rows) const {
  const auto most = static_cast<std::size_t>(width);
  const std::vector<std::size_t> all = widths(most);
  std::string text;
  for (const auto& row : rows_) {
    std::string line;
    bool whole = true;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string cell = i == elastic_ ? cut_text(row[i], all[i]) : row[i];
      whole = whole && cell.size() == row[i].size();
      line += cell;
      if (i + 1 < row.size()) line.append(all[i] - columns(cell) + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    const std::string shown = most > 0 ? cut_text(line, most) : line;
    if (cut_rows != nullptr && (!whole || shown.size() != line.size())) ++*cut_rows;
    text += shown + '\n';
  }
  return text;
}

}  // namespace zunol_monitoring::ctl
