// The command line of zunol-monitoring-ctl as a whole.
#pragma once

namespace zunol_monitoring::ctl {

/// Parses the command line and runs the command that it names; that command's exit status, or
/// wrong_usage with one line on standard error. What leaves the command leaves this, too.
int run_command_line(int argc, char** argv);

}  // namespace zunol_monitoring::ctl
