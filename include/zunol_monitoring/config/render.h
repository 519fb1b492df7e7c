// Writing a configuration out as the YAML that load_config reads back.
#pragma once

#include <filesystem>
#include <string>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// The YAML text of the configuration: every section in the order of reading, every key in the
/// order of its record, second names of a key left out. Texts, durations and paths are quoted as
/// JSON strings, and doubles have up to six significant digits. Raises the JSON library's error for
/// a text that is no UTF-8.
///
/// Not all comes back on loading: an infinite or not-a-number double does not, a double beyond six
/// digits comes back rounded, the two temperatures of checks.disk_health are left out, and where
/// its paths are empty they come back as the defaults.
std::string render_text(const Config& config);

/// Writes render_text(config) into the file `path` and sets its mode to 0640: it can hold a bot
/// token. Raises what render_text and write_text_file raise; the file is untouched when the former
/// does.
void render_config(const Config& config, const std::filesystem::path& path);

/// Renders default_config().
void write_default_config(const std::filesystem::path& path);

}  // namespace zunol_monitoring
