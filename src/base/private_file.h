// A new file that nobody but its owner can read from the moment it exists: events on their way.
#pragma once

#include <filesystem>
#include <string_view>

namespace zunol_monitoring {

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
  /// Returns when the content is on the disk.
  void sync();
  /// Lets the group read it, too: mode 0640, under whatever name it has by now. Failure is ignored.
  void share_with_group();

 private:
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  int file_ = -1;
};

}  // namespace zunol_monitoring
