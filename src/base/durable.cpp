#include "base/durable.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace zunol_monitoring {
namespace {

class Descriptor {
 public:
  Descriptor(const std::filesystem::path& path, int flags)
      : number_(open(path.c_str(), flags | O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool is_open() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace

void sync_name(const std::filesystem::path& path, int file) {
  const std::filesystem::path parent = path.has_parent_path() ? path.parent_path() : ".";
  const Descriptor directory(parent, O_DIRECTORY);
  // EINVAL: a file system whose directories need no sync, or know none.
  if (directory.is_open() && (fsync(directory.number()) == 0 || errno == EINVAL)) return;
  if (!directory.is_open() && errno == EACCES) {
    if (file >= 0 && syncfs(file) == 0) return;
    const Descriptor itself(path, O_NOFOLLOW);
    if (file < 0 && itself.is_open() && syncfs(itself.number()) == 0) return;
  }
  throw std::filesystem::filesystem_error("cannot sync", path,
                                          std::error_code(errno, std::generic_category()));
}

}  // namespace zunol_monitoring
