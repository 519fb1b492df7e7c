#include "base/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/durable.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/base/files.h"

namespace zunol_monitoring {

PrivateFile::PrivateFile(std::filesystem::path path) : path_(std::move(path)) {
  file_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, owner_only);
  if (file_ < 0) fail();
  fchmod(file_, owner_only);  // a strict umask may have taken more; failure leaves it stricter
}

PrivateFile::~PrivateFile() {
  if (file_ >= 0) close(file_);
}

void PrivateFile::write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file_, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail();
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void PrivateFile::publish(const std::filesystem::path& final_path, unsigned mode) {
  if (fsync(file_) != 0) fail();
  std::filesystem::rename(path_, final_path);
  // By the descriptor: someone else may have changed what the name stands for. Failure leaves it
  // private.
  (void)fchmod(file_, mode);
  sync_name(final_path, file_);
}

void PrivateFile::fail() const { throw std::runtime_error("cannot write " + path_.string()); }

void replace_file(const std::filesystem::path& path, std::string_view text, unsigned mode) {
  const std::filesystem::file_status there = std::filesystem::symlink_status(path);
  if (std::filesystem::exists(there) && !std::filesystem::is_regular_file(there) &&
      !std::filesystem::is_symlink(there)) {
    throw std::runtime_error("cannot write " + path.string() + ": it is no regular file");
  }
  ensure_parent_directory(path);
  const std::filesystem::path temporary = path.string() + ".tmp." + make_id("file");
  PrivateFile file(temporary);
  try {
    file.write(text);
    file.publish(path, mode);
  } catch (...) {
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    throw;
  }
}

}  // namespace zunol_monitoring
