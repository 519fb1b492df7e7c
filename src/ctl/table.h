// Tables for people.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring::ctl {

/// The first `width` columns of the line, the last of them "…" where that drops any. Needs
/// set_character_type.
std::string cut_text(const std::string& line, std::size_t width);

inline constexpr std::size_t no_column = static_cast<std::size_t>(-1);

class Table {
 public:
  /// The column `elastic` is the first to be cut where lines are too wide.
  explicit Table(std::vector<std::string> heads, std::size_t elastic = no_column);
  /// Adds a row of as many cells as there are heads. Control characters become blanks.
  void add(std::vector<std::string> cells);
  /// The rows below their heads, columns aligned and two blanks apart. With a `width` above 0 no
  /// line is wider: what is too wide is cut and ends in "…". Characters count as
  /// the columns that they take. Needs set_character_type.
  /// Adds to `cut_rows` how many rows are cut.
  std::string text(int width, std::size_t* cut_rows = nullptr) const;

 private:
  std::vector<std::size_t> widths(std::size_t width) const;

  std::size_t elastic_;
  std::vector<std::vector<std::string>> rows_;  ///< the first one has the heads
};

}  // namespace zunol_monitoring::ctl
