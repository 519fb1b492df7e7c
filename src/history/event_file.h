// The file that hands an event to the append command.
#pragma once

#include <filesystem>
#include <string>

namespace zunol_monitoring {

/// A private file in the system's temporary directory with the payload and a line feed, closed. It
/// goes on every way out.
class EventFile {
 public:
  /// Raises std::runtime_error with "cannot write " and the path, and the file-system library's
  /// error where there is no temporary directory.
  explicit EventFile(const std::string& payload);
  ~EventFile();
  EventFile(const EventFile&) = delete;
  EventFile& operator=(const EventFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  void remove() const;

  std::filesystem::path path_;
};

/// Removes this user's event files that killed deliveries have left: those that are older than an
/// hour and named by no process of the system, in its environment or arguments. What cannot be
/// looked at or removed stays.
void remove_left_event_files();

}  // namespace zunol_monitoring
