#include "zunol_monitoring/config/render.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "config/key_renderer.h"
#include "config/keys/config_keys.h"
#include "zunol_monitoring/base/files.h"

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

void render_string_list(std::string& out, std::size_t indent,
                        const std::vector<std::string>& list) {
  if (list.empty()) out += " []";
  out += '\n';
  for (const std::string& item : list) {
    out.append(indent, ' ').append("- ").append(yaml_quote(item)).append("\n");
  }
}

std::string render_text(const Config& config) {
  std::string text;
  KeyRenderer renderer(text);
  visit_keys(renderer, config);
  return text;
}

void render_config(const Config& config, const std::filesystem::path& path) {
  write_text_file(path, render_text(config));
  set_owner_group_read_mode(path);
}

void write_default_config(const std::filesystem::path& path) {
  render_config(default_config(), path);
}

}  // namespace zunol_monitoring
