#include "ctl/output.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/environment.h"

namespace zunol_monitoring::ctl {
namespace {

/// Longer messages, such as a parser's that quotes a whole file, are cut.
constexpr std::size_t longest_error_bytes = 1000;

bool output_failed = false;
int output_errno = 0;

void note_failure() {
  if (!output_failed) output_errno = errno;
  output_failed = true;
}

}  // namespace

void claim_standard_descriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    // Opened for what it is not used for. The lowest free descriptor is this one.
    (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

void print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) note_failure();
}

void print_json(const nlohmann::json& value) {
  print(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n');
}

void finish_output() {
  if (std::fflush(stdout) != 0) note_failure();
  if (!output_failed) return;
  throw std::runtime_error(std::string("cannot write standard output: ") +
                           std::strerror(output_errno));
}

void print_error(std::string_view message) {
  std::string line = "zunol-monitoring-ctl: " + printable(message.substr(0, longest_error_bytes));
  if (message.size() > longest_error_bytes) line += " ...";
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);  // there is no one else to tell
}

std::string printable(std::string_view text) {
  std::string line(text);
  for (std::size_t i = 0; i < line.size(); ++i) {
    const auto byte = static_cast<unsigned char>(line[i]);
    if (byte < 0x20 || byte == 0x7f) line[i] = ' ';
    // U+0080 to U+009F, which terminals obey as well
    if (byte == 0xc2 && i + 1 < line.size() && static_cast<unsigned char>(line[i + 1]) < 0xa0) {
      line.replace(i, 2, " ");
    }
  }
  return line;
}

std::string coloured(Colour colour, const std::string& text) {
  static const bool wanted = isatty(STDOUT_FILENO) == 1 && env_or_default("NO_COLOR", "").empty();
  if (!wanted) return text;
  const char* code = colour == Colour::red      ? "31"
                     : colour == Colour::yellow ? "33"
                     : colour == Colour::green  ? "32"
                                                : "90";
  return std::string("\x1b[") + code + 'm' + text + "\x1b[0m";
}

int terminal_width() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 1 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace zunol_monitoring::ctl
