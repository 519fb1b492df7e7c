// The files that hand an event on.
#pragma once

#include <filesystem>
#include <string>

namespace zunol_monitoring {

/// What a file that hands on an event has, and so what a ledger of such files keeps: the payload
/// and a line feed.
inline std::string event_file_text(const std::string& payload) { return payload + '\n'; }

/// A private file in the system's temporary directory with event_file_text, closed. It goes on
/// every way out.
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
