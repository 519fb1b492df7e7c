#include "base/limited_command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "base/wait_status.h"

namespace zunol_monitoring {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Time for a command to clean up before it is killed.
constexpr milliseconds grace{2000};

/// How long a request to give up can go unseen.
constexpr milliseconds longest_wait{200};

/// When the waiting for a command ends.
struct Patience {
  Clock::time_point deadline;
  const std::function<bool()>& give_up;

  bool is_over() const { return Clock::now() >= deadline || (give_up && give_up()); }
};

/// The beginning and the end of a text of any length.
class CutText {
 public:
  void append(std::string_view part) {
    const std::size_t room = half - first_.size();
    first_.append(part.substr(0, room));
    if (part.size() <= room) return;
    last_.append(part.substr(room));
    if (last_.size() <= 2 * half) return;
    dropped_ += last_.size() - half;
    last_.erase(0, last_.size() - half);
  }
  std::string text() const {
    if (dropped_ == 0 && last_.size() <= half) return first_ + last_;
    const std::size_t kept = std::min(half, last_.size());
    return first_ + "\n[" + std::to_string(dropped_ + last_.size() - kept) + " bytes left out]\n" +
           last_.substr(last_.size() - kept);
  }

 private:
  static constexpr std::size_t half = 32768;
  std::string first_;
  std::string last_;
  std::size_t dropped_ = 0;
};

/// A shell with its own process group, whose merged output comes through a pipe. It is gone when
/// the object is.
class ShellProcess {
 public:
  explicit ShellProcess(const std::string& line) {
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail();
    output_ = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    // What this process ignores or blocks must not keep the command from ending.
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigaddset(&signals, SIGTERM);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = line;
    char* arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    const int error = posix_spawn(&child_, "/bin/sh", &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error == 0) return;
    close(output_);
    fail();
  }
  ~ShellProcess() {
    if (!ended_) end_group();
    close(output_);
  }
  ShellProcess(const ShellProcess&) = delete;
  ShellProcess& operator=(const ShellProcess&) = delete;

  /// Reads until the output is closed; false when the patience is over first.
  bool read_whole(const Patience& patience, CutText& text) {
    std::array<char, 65536> chunk;
    while (true) {
      if (patience.is_over()) return false;
      pollfd ready = {.fd = output_, .events = POLLIN, .revents = 0};
      const auto left = std::chrono::ceil<milliseconds>(patience.deadline - Clock::now());
      if (poll(&ready, 1, static_cast<int>(std::min(left, longest_wait).count())) <= 0) continue;
      const ssize_t count = read(output_, chunk.data(), chunk.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return true;
      text.append({chunk.data(), static_cast<std::size_t>(count)});
    }
  }
  /// Waits until the shell has ended; false when the patience is over first.
  bool wait_for_end(const Patience& patience) {
    for (milliseconds pause{1}; !ended_; pause = std::min(2 * pause, milliseconds(20))) {
      const pid_t found = waitpid(child_, &status_, WNOHANG);
      if (found != 0 && !(found < 0 && errno == EINTR)) {
        if (found < 0) status_ = -1;  // someone ignores SIGCHLD, and has the status
        ended_ = true;
      } else if (patience.is_over()) {
        return false;
      } else {
        std::this_thread::sleep_for(pause);
      }
    }
    return true;
  }
  int wait_status() const { return status_; }

 private:
  void end_group() {
    kill(-child_, SIGTERM);
    CutText unread;
    (void)read_whole({Clock::now() + grace, nullptr},
                     unread);  // its end tells that all of them have gone
    kill(-child_, SIGKILL);    // the shell, not waited for, keeps the number
    while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  [[noreturn]] static void fail() { throw std::runtime_error("cannot run command"); }

  int output_ = -1;
  pid_t child_ = -1;
  bool ended_ = false;
  int status_ = 0;
};

/// A longer one is none: the clock could not count it.
constexpr milliseconds longest_limit = std::chrono::hours(24 * 365);

}  // namespace

std::optional<CommandResult> run_limited_command(const std::string& line, milliseconds limit,
                                                 const std::function<bool()>& give_up) {
  // The system takes a line only up to its first zero byte, which would be another line.
  if (line.find('\0') != std::string::npos) throw std::runtime_error("cannot run command");
  const bool limited = limit > milliseconds(0) && limit < longest_limit;
  const Patience patience{limited ? Clock::now() + limit : Clock::time_point::max(), give_up};
  ShellProcess shell(line);
  CutText output;
  if (!shell.read_whole(patience, output) || !shell.wait_for_end(patience)) return std::nullopt;
  CommandResult result{.exit_code = decode_wait_status(shell.wait_status()),
                       .output = output.text()};
  if (result.exit_code != 0) result.error = result.output;
  return result;
}

}  // namespace zunol_monitoring
