// New files that nobody but their owner can read from the moment they exist: events on their way,
// and whatever gets a name that others look for.
#pragma once

#include <filesystem>
#include <string_view>

namespace zunol_monitoring {

inline constexpr unsigned owner_only = 0600;
inline constexpr unsigned group_readable = 0640;
inline constexpr unsigned world_readable = 0644;

/// A file that this object has created and writes. Every failure raises std::runtime_error with
/// "cannot write " and the path; the file then stays as far as it has come.
class PrivateFile {
 public:
  /// Creates the file with mode 0600, whatever the umask. Fails when the name exists, as a link
  /// too, so that a name planted in a shared directory can neither expose nor redirect what is
  /// written.
  explicit PrivateFile(std::filesystem::path path);
  ~PrivateFile();
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  /// Writes all of `text`; a full disk is a failure.
  void write(std::string_view text);
  /// Gives the file its final name, whose old file goes: complete, on the disk, content and name,
  /// and then with this mode. Raises also the file-system library's error where the name cannot be
  /// given or synced.
  void publish(const std::filesystem::path& final_path, unsigned mode = group_readable);

 private:
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  int file_ = -1;
};

/// Writes `text` into a private file beside `path`, whose directories are created where missing,
/// and publishes it as `path`; a link there goes, and what it names stays. What is there and is no
/// regular file, such as a device, raises std::runtime_error with "cannot write ", the path and
/// ": it is no regular file". A failure leaves nothing behind, and raises what that does.
void replace_file(const std::filesystem::path& path, std::string_view text,
                  unsigned mode = group_readable);

}  // namespace zunol_monitoring
