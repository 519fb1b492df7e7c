#include "ctl/watch.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include "ctl/output.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr int refresh_ms = 2000;

/// Keys arrive one by one and unseen, until it goes.
class KeyMode {
 public:
  KeyMode() {
    tcgetattr(STDIN_FILENO, &before_);
    termios keys = before_;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &keys);
  }
  ~KeyMode() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_); }
  KeyMode(const KeyMode&) = delete;
  KeyMode& operator=(const KeyMode&) = delete;

 private:
  termios before_ = {};
};

}  // namespace

void watch(const std::function<std::string()>& page) {
  if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1) return print(page());
  const KeyMode keys;
  pollfd key = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  do {
    print("\x1b[H\x1b[2J" + page() + "\nAny key ends this.\n");
    finish_output();
  } while (poll(&key, 1, refresh_ms) == 0);
}

}  // namespace zunol_monitoring::ctl
