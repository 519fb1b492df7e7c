#include "ctl/input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zunol_monitoring::ctl {
namespace {

/// How long a writer of a named pipe may say nothing.
constexpr int longest_silence_ms = 10000;

constexpr std::size_t mib = 1024UL * 1024;

class Input {
 public:
  explicit Input(const std::string& name)
      : name_(name == "-" ? "standard input" : name),
        descriptor_(name == "-" ? dup(STDIN_FILENO)
                                : open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    if (descriptor_ == -1) fail(std::strerror(errno));
    struct stat status = {};
    is_pipe_ = name != "-" && fstat(descriptor_, &status) == 0 && S_ISFIFO(status.st_mode);
  }
  ~Input() { close(descriptor_); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  std::string read_all(std::size_t most_bytes) {
    std::string text;
    char block[65536];
    // Once: of a pipe whose writer has gone, opened anew, only a read tells the end.
    wait_for_data();
    while (true) {
      const ssize_t count = read(descriptor_, block, sizeof block);
      if (count == 0) return text;
      if (count == -1 && errno == EINTR) continue;
      if (count == -1 && errno == EAGAIN) {
        wait_for_data();
        continue;
      }
      if (count == -1) fail(std::strerror(errno));
      text.append(block, static_cast<std::size_t>(count));
      if (text.size() > most_bytes) {
        throw std::runtime_error(name_ + " is larger than " + std::to_string(most_bytes / mib) +
                                 " MiB");
      }
    }
  }

 private:
  void wait_for_data() const {
    pollfd ready = {.fd = descriptor_, .events = POLLIN, .revents = 0};
    if (poll(&ready, 1, is_pipe_ ? longest_silence_ms : -1) == 0) fail("no one writes into it");
  }
  [[noreturn]] void fail(const std::string& reason) const {
    throw std::runtime_error("cannot read " + name_ + ": " + reason);
  }

  std::string name_;
  int descriptor_;
  bool is_pipe_ = false;
};

}  // namespace

std::string read_input(const std::string& name, std::size_t most_bytes) {
  return Input(name).read_all(most_bytes);
}

}  // namespace zunol_monitoring::ctl
