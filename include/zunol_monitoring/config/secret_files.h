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

}  // namespace zunol_monitoring
