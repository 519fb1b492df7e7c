// Reading a configuration file.
#pragma once

#include <filesystem>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// Where the configuration is: the file that ZUNOL_MONITORING_CONFIG names, or by default
/// /etc/zunol/monitoring-agent/config.yaml.
std::filesystem::path default_config_path();

/// default_config() overridden by the YAML file `path` and then by the environment
/// (config/overlay.h). Only conversion is tested, no bound and no relation between fields. A file
/// without any key is good. The path is used and remembered as it is handed in.
///
/// Numbers are read in the global C++ locale, as the YAML library does: a host that sets one with
/// another decimal sign loads other numbers.
///
/// Raises std::runtime_error with "config not found: " and the path when there is no such file; the
/// file-system library's error when that cannot be found out; and the YAML library's own exceptions
/// for a file that cannot be opened or parsed, a value that does not convert and a block that is a
/// scalar; and std::ios_base::failure for a directory.
Config load_config(const std::filesystem::path& path);

}  // namespace zunol_monitoring
