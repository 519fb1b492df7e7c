#include "config/yaml_text.h"

#include <locale>
#include <nlohmann/json.hpp>
#include <sstream>

namespace zunol_monitoring {

std::string yaml_quote(const std::string& text) { return nlohmann::json(text).dump(); }

std::string yaml_value(bool value) { return value ? "true" : "false"; }
std::string yaml_value(int value) { return std::to_string(value); }
std::string yaml_value(std::uint64_t value) { return std::to_string(value); }

std::string yaml_value(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return std::move(out).str();
}

}  // namespace zunol_monitoring
