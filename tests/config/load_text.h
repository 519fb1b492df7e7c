// What the tests of the configuration share: loading from a text, and tables of texts.
#pragma once

#include <sstream>

#include "tests/support.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/config/load.h"

using Texts = std::vector<std::string>;

/// The configuration of a file with this content, without the path of that file.
inline zunol_monitoring::Config load_text(const std::string& yaml) {
  static const TempDir dir;
  const auto file = dir / "config.yaml";
  std::filesystem::remove(file);  // replacing it would wait for the disk
  zunol_monitoring::write_text_file(file, yaml);
  zunol_monitoring::Config config = zunol_monitoring::load_config(file);
  config.path.clear();
  return config;
}

/// The parts of `text` between the separators, without the blanks around them.
inline Texts split(std::string text, const std::string& separator) {
  Texts parts;
  for (text += separator; !text.empty();) {
    const std::size_t end = text.find(separator);
    std::string& part = parts.emplace_back(text, 0, end);
    part.erase(part.find_last_not_of(' ') + 1).erase(0, part.find_first_not_of(' '));
    text.erase(0, end + separator.size());
  }
  return parts;
}

/// The lines of a table with its cells, without empty lines and those that begin with "//".
inline std::vector<Texts> rows_of(const std::string& table, const std::string& separator) {
  std::vector<Texts> rows;
  std::istringstream in(table);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && !line.starts_with("//")) rows.push_back(split(line, separator));
  }
  return rows;
}
