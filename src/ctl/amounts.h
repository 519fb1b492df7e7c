// Amounts as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace zunol_monitoring::ctl {

/// "512 B", "10.0 MiB".
std::string bytes_text(std::uint64_t bytes);

/// At most so many digits: "91.5", "1e+09".
std::string number_text(double value, int digits = 6);

}  // namespace zunol_monitoring::ctl
