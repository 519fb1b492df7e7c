// Column lists whose texts are cut while SQLite reads them, so that a row with a huge text costs a
// listing no more than another.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace zunol_monitoring {

/// The columns of a list such as "id, title", each cut to its first `longest` characters; the list
/// as it is for 0.
inline std::string cut_columns(std::string_view columns, int longest) {
  if (longest == 0) return std::string(columns);
  const std::string end = ", 1, " + std::to_string(longest) + ')';
  std::string cut;
  while (!columns.empty()) {
    const std::string_view name = columns.substr(0, columns.find(", "));
    columns.remove_prefix(std::min(columns.size(), name.size() + 2));
    cut.append("substr(").append(name).append(end).append(columns.empty() ? "" : ", ");
  }
  return cut;
}

}  // namespace zunol_monitoring
