// What the user hands in as a file.
#pragma once

#include <cstddef>
#include <string>

namespace zunol_monitoring::ctl {

/// More is no event: this bound ends what never ends, such as a device.
inline constexpr std::size_t largest_input_bytes = 64UL * 1024 * 1024;

/// The content of the file, or of standard input for "-". Raises std::runtime_error with "cannot
/// read ", the name, ": " and the system's reason, and with the name and " is larger than 64 MiB".
std::string read_input(const std::string& name);

}  // namespace zunol_monitoring::ctl
