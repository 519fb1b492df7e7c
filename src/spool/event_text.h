// The text of an event in a file that others have made: the reader never waits for them, and never
// reads what has no end.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace zunol_monitoring {

/// Far more than any event has. PostgreSQL takes a value of 1 GB, and works on some copies of it.
inline constexpr std::size_t largest_event_bytes = 64UL * 1024 * 1024;

/// Raised for a file that can never be an event: "no regular file", "a symbolic link", "empty", or
/// "larger than 64 MiB".
struct NoEventFile : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct EventText {
  std::string text;
  struct stat status = {};  ///< of the file that was read
};

/// Reads the file `name`, from the directory that is open as `directory` (or AT_FDCWD), opened with
/// `flags` besides O_RDONLY. Raises NoEventFile, and std::system_error where it cannot be read.
EventText read_event_text(int directory, const std::string& name, int flags = 0);

}  // namespace zunol_monitoring
