// Listings of any length, printed page by page: no statement is open while a page is printed, which
// can take as long as its reader likes, and the memory is that of a page.
#pragma once

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "ctl/output.h"
#include "ctl/table.h"
#include "store/inspection.h"
#include "store/store_view.h"

namespace zunol_monitoring::ctl {

/// Rows that are read, and printed below their heads, at once.
inline constexpr std::size_t rows_of_a_page = 500;

/// Reads the rows by read(connection, ids), some at a time, and hands each to `take` until it
/// returns false.
template <class Read, class Take>
void visit_rows(StoreView& view, const RowIds& ids, Read read, Take take) {
  for (std::span<const std::int64_t> left = ids; !left.empty();) {
    const auto page = left.first(std::min(left.size(), rows_of_a_page));
    left = left.subspan(page.size());
    for (const auto& row : view.look([&](sqlite3* db) { return read(db, page); })) {
      if (!take(row)) return;
    }
  }
}

/// A listing as JSON, one object a line, or as tables of rows_of_a_page rows.
class Listing {
 public:
  Listing(bool as_json, std::vector<std::string> heads)
      : as_json_(as_json), heads_(heads), table_(std::move(heads)) {}

  /// Prints a row as `json_of` or `cells_of` shows it.
  template <class Row, class JsonOf, class CellsOf>
  void add(const Row& row, JsonOf json_of, CellsOf cells_of) {
    ++rows_;
    if (as_json_) return print_json(json_of(row));
    table_.add(cells_of(row));
    if (rows_ % rows_of_a_page == 0) print_page();
  }
  /// Prints what is left, or the heads where there was no row.
  void finish() {
    if (!as_json_ && (rows_ == 0 || rows_ % rows_of_a_page != 0)) print_page();
  }

 private:
  void print_page() {
    print(table_.text(terminal_width()));
    table_ = Table(heads_);
  }

  bool as_json_;
  std::vector<std::string> heads_;
  Table table_;
  std::size_t rows_ = 0;
};

}  // namespace zunol_monitoring::ctl
