// A configuration from a text that was read already.
#pragma once

#include <filesystem>
#include <string>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// What load_config gives and raises for a file `path` with this text.
Config parse_config(const std::string& text, const std::filesystem::path& path);

}  // namespace zunol_monitoring
