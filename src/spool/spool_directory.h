// A directory of event files that one collector at a time empties, such as the spool that
// export_spool_file fills. Others may add and replace files meanwhile, by renaming; nothing that
// they have put there is followed, waited for or overwritten.
//
// A file goes in three steps: it takes the name taken_name, is looked at once more, and is removed
// or set aside. So a file that replaced it in the last moment is found and given back, under a new
// name. A crash behind the first step, or a failure of the rest, leaves one file of that name,
// which is given back before the next file takes it; an event that the ledger has already is then
// removed as known.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "spool/descriptor.h"

namespace zunol_monitoring {

/// A file as it was read.
struct SpoolFile {
  std::string name;
  std::string event_id;
  std::string event;                 ///< its bytes
  std::optional<std::string> fault;  ///< why it is no event; id and bytes are empty then
  struct stat status = {};
};

/// Raised when another collector has the directory.
struct SpoolBusy : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Failures raise std::system_error with the path and the system's reason.
class SpoolDirectory {
 public:
  /// Where what can never be collected goes.
  static constexpr const char* rejected_name = "rejected";
  static constexpr const char* taken_name = ".taken";
  /// So many names at once, the first in order: what a listing takes in memory is bounded.
  static constexpr std::size_t most_listed = 100000;

  /// Opens the directory and locks it for as long as the object lives. Raises SpoolBusy with the
  /// path and " is being collected already".
  explicit SpoolDirectory(const std::filesystem::path& path);
  /// The directory `name` in another one.
  SpoolDirectory(const SpoolDirectory& parent, const std::string& name);

  const std::filesystem::path& path() const { return path_; }

  /// Raises what ends a collector where the path is gone or leads to another directory by now: no
  /// file would ever come here again.
  void require_in_place() const;

  /// Names of event files, which sort in the order in which they were queued.
  std::vector<std::string> files() const;
  /// Names of directories that may hold events.
  std::vector<std::string> directories() const;

  /// Reads and judges the file. Nothing where it is gone.
  std::optional<SpoolFile> read(const std::string& name) const;
  /// Removes the file unless it is another one by now.
  void remove(const SpoolFile& file) const;
  /// The same, but it goes into the directory rejected_name, with the reason in a file beside it
  /// whose name has ".reason" at its end. Nothing there is overwritten.
  void set_aside(const SpoolFile& file, const std::string& reason) const;

 private:
  SpoolDirectory(int parent, const std::string& name, std::filesystem::path path, int flags);
  bool take(const SpoolFile& file) const;
  void give_back() const;
  Descriptor open_rejected() const;
  [[noreturn]] void fail(const std::string& name) const;

  std::filesystem::path path_;
  Descriptor directory_;
};

}  // namespace zunol_monitoring
