// How the command tells that it failed.
#pragma once

#include <string>

namespace zunol_monitoring {

/// Writes "ERROR: ", the message (zero bytes and all) and a line feed to standard error, and
/// returns 1, the exit status of every failure but the backend's own.
int report_failure(const std::string& message);

}  // namespace zunol_monitoring
