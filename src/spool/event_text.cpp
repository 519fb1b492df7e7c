#include "spool/event_text.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "spool/descriptor.h"

namespace zunol_monitoring {
namespace {

[[noreturn]] void fail() { throw std::system_error(errno, std::generic_category(), "cannot read"); }

void require_regular(const struct stat& status) {
  if (S_ISLNK(status.st_mode)) throw NoEventFile("a symbolic link");
  if (!S_ISREG(status.st_mode)) throw NoEventFile("no regular file");
  if (status.st_size == 0) throw NoEventFile("empty");
  if (static_cast<std::size_t>(status.st_size) > largest_event_bytes) {
    throw NoEventFile("larger than " + std::to_string(largest_event_bytes >> 20) + " MiB");
  }
}

}  // namespace

EventText read_event_text(int directory, const std::string& name, int flags) {
  EventText event;
  // Before it is opened: an open alone can make a device do something.
  const int at = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
  if (fstatat(directory, name.c_str(), &event.status, at) != 0) fail();
  require_regular(event.status);
  const Descriptor file(
      openat(directory, name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY | flags));
  if (!file.is_open() || fstat(file.number(), &event.status) != 0) fail();
  require_regular(event.status);

  event.text.resize(static_cast<std::size_t>(event.status.st_size));
  std::size_t filled = 0;
  while (filled < event.text.size()) {
    const ssize_t got = read(file.number(), event.text.data() + filled, event.text.size() - filled);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail();
    if (got == 0) break;
    filled += static_cast<std::size_t>(got);
  }
  event.text.resize(filled);
  return event;
}

}  // namespace zunol_monitoring
