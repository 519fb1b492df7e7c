// The text of a value in a YAML file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace zunol_monitoring {

/// The text in double quotes, also where a plain word would do. Raises the JSON library's error for
/// a text that is no UTF-8.
std::string yaml_quote(const std::string& text);

std::string yaml_value(bool value);
std::string yaml_value(int value);
std::string yaml_value(std::uint64_t value);
/// With up to six significant digits, in every locale.
std::string yaml_value(double value);
inline std::string yaml_value(const std::string& text) { return yaml_quote(text); }
inline std::string yaml_value(const std::filesystem::path& path) {
  return yaml_quote(path.string());
}

}  // namespace zunol_monitoring
