// Listings of any length, printed page by page: no statement is open while a page is printed, which
// can take as long as its reader likes, and the memory is that of a page.
#pragma once

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "ctl/output.h"
#include "ctl/table.h"
#include "store/inspection.h"
#include "store/store_view.h"

namespace zunol_monitoring::ctl {

/// Rows that are printed below their heads at once.
inline constexpr std::size_t rows_of_a_page = 500;

/// A table cuts longer texts, and reads some more of them, as it drops what stands before each
/// reason. JSON has them whole.
inline constexpr int longest_cell = 200;
inline int longest_text(bool as_json) { return as_json ? 0 : 2 * longest_cell; }

/// Reads the rows by read(connection, ids, longest text), some at a time, and hands each to `take`
/// until it returns false. Texts that are whole can be large, and few of them are read at once.
template <class Read, class Take>
void visit_rows(StoreView& view, std::span<const std::int64_t> ids, bool as_json, Read read,
                Take take) {
  constexpr std::size_t whole_rows = 10;
  const std::size_t most = as_json ? whole_rows : rows_of_a_page;
  while (!ids.empty()) {
    const auto page = ids.first(std::min(ids.size(), most));
    ids = ids.subspan(page.size());
    for (const auto& row :
         view.look([&](sqlite3* db) { return read(db, page, longest_text(as_json)); })) {
      if (!take(row)) return;
    }
  }
}

/// A listing as JSON, one object a line, or as tables of rows_of_a_page rows, which say at their
/// end what they have left out.
class Listing {
 public:
  /// On a narrow terminal the column `elastic` is cut first.
  Listing(bool as_json, std::vector<std::string> heads, std::size_t elastic)
      : as_json_(as_json), elastic_(elastic), heads_(heads), table_(std::move(heads), elastic) {}

  /// Prints a row as `json_of` or `cells_of` shows it.
  template <class Row, class JsonOf, class CellsOf>
  void add(const Row& row, JsonOf json_of, CellsOf cells_of) {
    ++rows_;
    if (as_json_) return print_json(json_of(row));
    std::vector<std::string> cells = cells_of(row);
    for (std::string& cell : cells) {
      const std::size_t size = cell.size();
      if (size > longest_cell) cell = cut_text(cell, longest_cell);
      if (cell.size() != size) ++cut_;
    }
    table_.add(std::move(cells));
    if (rows_ % rows_of_a_page == 0) print_page();
  }
  /// Prints what is left, or the heads where there was no row, and what is left out of `all` rows.
  /// `more` tells how to see them, where more were asked for.
  void finish(std::int64_t all, const std::string& more) {
    if (as_json_) return;
    if (rows_ == 0 || rows_ % rows_of_a_page != 0) print_page();
    if (std::cmp_less(rows_, all)) {
      print(std::to_string(rows_) + " of " + std::to_string(all) + " rows" + more + '\n');
    }
    if (cut_ > 0) print(std::to_string(cut_) + " cells or rows are cut; --json has them whole\n");
  }
  std::int64_t rows() const { return static_cast<std::int64_t>(rows_); }

 private:
  void print_page() {
    print(table_.text(terminal_width(), &cut_));
    table_ = Table(heads_, elastic_);
  }

  bool as_json_;
  std::size_t elastic_;
  std::vector<std::string> heads_;
  Table table_;
  std::size_t rows_ = 0;
  std::size_t cut_ = 0;  ///< cells and rows
};

/// What tells how to see more than `limit` rows.
inline std::string more_by_limit(std::int64_t rows, int limit) {
  return rows == limit ? "; --limit shows more" : "";
}

}  // namespace zunol_monitoring::ctl
