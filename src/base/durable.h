// What a power cut must not take back: the names of new files and directories.
#pragma once

#include <filesystem>

namespace zunol_monitoring {

/// Returns when the name of `path`, a file or directory, is on the disk. Where its directory may be
/// written but not read, the file system is synced whole, through the open `file`, as the name may
/// be taken away at once, or else through `path` itself. Raises the file-system library's error.
void sync_name(const std::filesystem::path& path, int file = -1);

}  // namespace zunol_monitoring
