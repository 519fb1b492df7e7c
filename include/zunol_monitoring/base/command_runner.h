// Child processes: everything that the program starts goes through here, and every text that
// becomes part of a shell line goes through shell_quote.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zunol_monitoring {

/// What became of a child process.
struct CommandResult {
  int exit_code =
      0;  ///< the exit status; the raw wait status, never 0, when a signal ended the shell
  std::string output;  ///< standard output and standard error, merged in the order of arrival
  std::string error;   ///< `output` when `exit_code` is not 0, else empty
};

/// `text` as one word of the POSIX shell, in single quotes whatever it holds.
std::string shell_quote(std::string_view text);

/// Runs a program (the first of `arguments`, looked up by the system shell) and waits until it has
/// closed its output and ended. Output is text: a zero byte loses the rest of its read of up to
/// 4095 bytes or its line. There is no time-out and no limit on the output. The empty list starts
/// nothing and gives exit code 1 with the error "empty command". Raises std::runtime_error with
/// "cannot run command" when the shell cannot be started, as with arguments beyond the system's
/// limit or with a zero byte in them.
///
/// A process that ignores SIGCHLD cannot learn its child's status: every run then counts as failed.
CommandResult run_command(const std::vector<std::string>& arguments);

/// Runs `line` in the system shell without capturing its output, and returns the status in the form
/// of CommandResult::exit_code.
int run_shell_line(const std::string& line);

}  // namespace zunol_monitoring
