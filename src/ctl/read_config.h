// The configuration as the tool takes it: read once, and within bounds.
#pragma once

#include <filesystem>
#include <string>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring::ctl {

/// A thousand checks take a fifth of this.
inline constexpr std::size_t largest_config_bytes = 1024UL * 1024;
/// Values with each alias counted as what it stands for.
inline constexpr std::size_t most_config_values = 1'000'000;

/// The text of the file. Raises std::runtime_error with "config not found: " and the path, what
/// read_input raises, and with the path and " has more than 1000000 values".
std::string read_config_text(const std::filesystem::path& path);

/// load_config within these bounds. Raises what that raises, too.
Config read_config(const std::filesystem::path& path);

}  // namespace zunol_monitoring::ctl
