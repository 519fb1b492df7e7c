#include "zunol_monitoring/config/render.h"

#include "config/key_renderer.h"
#include "config/keys/config_keys.h"
#include "zunol_monitoring/base/files.h"

namespace zunol_monitoring {

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
