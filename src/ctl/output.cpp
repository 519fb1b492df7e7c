#include "ctl/output.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/json_depth.h"
#include "base/lower_case.h"
#include "zunol_monitoring/base/environment.h"

namespace zunol_monitoring::ctl {
namespace {

/// Longer messages, such as a parser's that quotes a whole file, are cut.
constexpr std::size_t longest_error_bytes = 1000;

/// Control characters, and those that break lines or turn their direction.
bool commands_terminal(wchar_t character) {
  return std::iswcntrl(static_cast<wint_t>(character)) != 0 || character == 0x61c ||
         character == 0x200e || character == 0x200f ||
         (character >= 0x2028 && character <= 0x202e) ||
         (character >= 0x2066 && character <= 0x2069);
}

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

nlohmann::json document_of(const std::string& text) {
  nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
  if (document.is_discarded() || nested_deeper_than(max_data_depth, document)) return text;
  return document;
}

void print_document(const std::string& text) {
  const nlohmann::json document = document_of(text);
  const std::string lines =
      document.is_string() ? text
                           : document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
  for (std::size_t begin = 0; begin < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', begin), lines.size());
    print(printable(lines.substr(begin, end - begin)) + '\n');
    begin = end + 1;
  }
}

void print_json(const nlohmann::json& value) {
  print_quoted(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n');
}

void print_quoted(std::string_view text) {
  std::string lines;
  for_each_character(text, [&lines](wchar_t character, std::string_view bytes) {
    if (commands_terminal(character) && character != '\n') {
      char escape[7];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
      lines += escape;
    } else {
      lines += bytes;
    }
  });
  print(lines);
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
  std::string line;
  for_each_character(text, [&line](wchar_t character, std::string_view bytes) {
    if (character == invalid_character) {
      line += "\xef\xbf\xbd";
    } else if (commands_terminal(character)) {
      line += ' ';
    } else {
      line += bytes;
    }
  });
  return line;
}

void set_character_type() { std::setlocale(LC_CTYPE, "C.UTF-8"); }

void for_each_character(std::string_view text,
                        const std::function<void(wchar_t, std::string_view)>& take) {
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    const std::size_t size = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (size > text.size()) {  // no character, or the beginning of one
      state = {};
      take(invalid_character, text.substr(0, 1));
      text.remove_prefix(1);
    } else {
      const std::size_t length = size == 0 ? 1 : size;
      take(character, text.substr(0, length));
      text.remove_prefix(length);
    }
  }
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

bool takes_utf8() {
  // By its name: the locale itself need not be installed.
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const std::string name = env_or_default(variable, "");
    if (name.empty()) continue;
    const std::string lower = lower_case(name);
    return lower.find("utf-8") != std::string::npos || lower.find("utf8") != std::string::npos;
  }
  return false;
}

int terminal_width() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 1 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace zunol_monitoring::ctl
