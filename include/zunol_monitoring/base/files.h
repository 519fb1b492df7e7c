// Whole files, directories, the three file modes in use, and file names made from arbitrary ids.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zunol_monitoring {

/// The whole content of the file, bytes unchanged. Raises std::runtime_error with "cannot read "
/// and the path when the file cannot be opened; a read that fails later (as on a directory) raises
/// the stream library's own error.
std::string read_text_file(const std::filesystem::path& path);

/// Replaces the file's content with `text`, creating missing parent directories first. Raises
/// std::runtime_error with "cannot write " and the path when the file cannot be opened, and the
/// file-system library's error when a directory cannot be made. Neither atomic nor synced, and the
/// write itself is not tested: a full disk goes unreported.
void write_text_file(const std::filesystem::path& path, std::string_view text);

/// Creates the directory that `path` lies in, with its ancestors and the process's default mode;
/// new names are on the disk then. Nothing to do for a path without a parent. Raises the
/// file-system library's error.
void ensure_parent_directory(const std::filesystem::path& path);

/// Creates the directory `path` with its ancestors, whose new names are on the disk then, and sets
/// its mode to 0750 whether it is new or not. Raises the file-system library's error of the
/// creation; a failing mode change is ignored.
void ensure_group_directory(const std::filesystem::path& path);

/// Sets mode 0600: files that hold events or credentials while they are private. Failure is
/// ignored.
void set_owner_only_mode(const std::filesystem::path& path);

/// Sets mode 0640: files that the group may collect or read. Failure is ignored.
void set_owner_group_read_mode(const std::filesystem::path& path);

/// `text` as one file-name component: ASCII letters, digits, "-" and "." stay, every other byte
/// becomes "_". The empty text gives "item". Different texts can give one name, and ".." stays
/// "..", so callers add a suffix of their own.
std::string sanitize_path_component(std::string_view text);

}  // namespace zunol_monitoring
