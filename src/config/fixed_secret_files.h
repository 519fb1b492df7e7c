// The places where the agent keeps its credentials, whatever the configuration says.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zunol_monitoring {

/// Where the agent keeps its credentials.
inline constexpr const char* secrets_home = "/etc/zunol/monitoring-agent";

/// check_secret_file_mode for secrets.yaml in the directory `home`, and for each "*.secret"
/// directly in its directory secrets, in the order of that directory. Raises the file-system
/// library's error when reading the directory fails midway.
void check_fixed_secret_files(std::vector<std::string>& errors,
                              const std::filesystem::path& home = secrets_home);

}  // namespace zunol_monitoring
