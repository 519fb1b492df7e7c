#include "ctl/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zunol_monitoring::ctl {
namespace {

class Input {
 public:
  explicit Input(const std::string& name)
      : name_(name == "-" ? "standard input" : name),
        descriptor_(name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ == -1) fail();
  }
  ~Input() { close(descriptor_); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  std::string read_all() {
    std::string text;
    char block[65536];
    while (true) {
      const ssize_t count = read(descriptor_, block, sizeof block);
      if (count == 0) return text;
      if (count == -1 && errno == EINTR) continue;
      if (count == -1) fail();
      text.append(block, static_cast<std::size_t>(count));
      if (text.size() > largest_input_bytes) {
        throw std::runtime_error(name_ + " is larger than " +
                                 std::to_string(largest_input_bytes / 1024 / 1024) + " MiB");
      }
    }
  }

 private:
  [[noreturn]] void fail() const {
    throw std::runtime_error("cannot read " + name_ + ": " + std::strerror(errno));
  }

  std::string name_;
  int descriptor_;
};

}  // namespace

std::string read_input(const std::string& name) { return Input(name).read_all(); }

}  // namespace zunol_monitoring::ctl
