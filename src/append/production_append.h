// The second half of the command: from a proven event to the backend and the marker.
#pragma once

#include <string>

namespace zunol_monitoring {

/// Appends the event to the history through the configured backend, once, and returns the exit
/// status of the process: 0 when the backend succeeded or the event's marker stands already, 1
/// after one line through report_failure when a gate on the configuration is closed, else the
/// backend's own status, after writing what it printed to standard error as it came. Raises what
/// load_config, run_command and the file functions raise.
int append_to_history(const std::string& event_file, const std::string& event_id);

}  // namespace zunol_monitoring
