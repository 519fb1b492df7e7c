// Tables for people.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring::ctl {

class Table {
 public:
  explicit Table(std::vector<std::string> heads);
  /// Adds a row of as many cells as there are heads. Control characters become blanks.
  void add(std::vector<std::string> cells);
  /// The rows below their heads, columns aligned and two blanks apart. With a `width` above 0 no
  /// line is wider: what is too wide is cut and ends in "…". Characters count as
  /// the columns that they take. Needs set_character_type.
  std::string text(int width) const;

 private:
  std::vector<std::vector<std::string>> rows_;  ///< the first one has the heads
};

}  // namespace zunol_monitoring::ctl
