// The modes of files that hold credentials.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zunol_monitoring {

/// Appends "secret file permissions must be 0600 or stricter: " and the path when the path names a
/// regular file, links followed, that group or others can reach in any way. An empty path, a
/// missing file and anything else that is no regular file append nothing.
void check_secret_file_mode(std::vector<std::string>& errors, const std::filesystem::path& path);

/// Does so for the fixed secret file and for each "*.secret" directly in the fixed secrets
/// directory, both under /etc/zunol/monitoring-agent, in the order of the directory. Raises the
/// file-system library's error when reading the directory fails midway.
void check_fixed_secret_files(std::vector<std::string>& errors);

}  // namespace zunol_monitoring
