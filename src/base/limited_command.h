// A child process that gets only so much time.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "zunol_monitoring/base/command_runner.h"

namespace zunol_monitoring {

/// Runs `line` in /bin/sh, in a process group of its own, until it has closed its output and ended.
/// When that takes longer than `limit` (0: no limit), or when `give_up` (which may be empty) says
/// so, the group is sent SIGTERM and, two seconds later, SIGKILL, and nothing is returned. Of an
/// output beyond 64 KiB the first and the last half stay, with a note between them. Raises
/// std::runtime_error with "cannot run command" when the shell cannot be started.
std::optional<CommandResult> run_limited_command(const std::string& line,
                                                 std::chrono::milliseconds limit,
                                                 const std::function<bool()>& give_up = nullptr);

}  // namespace zunol_monitoring
