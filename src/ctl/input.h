// What the user hands in as a file.
#pragma once

#include <cstddef>
#include <string>

namespace zunol_monitoring::ctl {

/// More is no event.
inline constexpr std::size_t largest_event_bytes = 16UL * 1024 * 1024;

/// The content of the file, or of standard input for "-". Raises std::runtime_error with "cannot
/// read ", the name, ": " and the system's reason (for a named pipe into which no one writes for 10
/// seconds "no one writes into it"), and with the name and " is larger than " the bound, which also
/// ends what never ends, such as a device.
std::string read_input(const std::string& name, std::size_t most_bytes);

}  // namespace zunol_monitoring::ctl
