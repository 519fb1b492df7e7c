// The clock and the ids of the system. All times are UTC text of whole seconds, stored and compared
// as text and never parsed back; both forms sort in the order of time.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace zunol_monitoring {

/// The time in the form "%Y-%m-%dT%H:%M:%SZ", 20 characters, fractions of a second cut off: events,
/// store timestamps, log lines.
std::string utc_timestamp_iso();
std::string utc_timestamp_iso(std::chrono::system_clock::time_point time);

/// The present time in the form "%Y%m%dT%H%M%SZ", 16 characters: ids and file names.
std::string utc_timestamp_compact();

/// The system clock in microseconds since the Unix epoch.
std::int64_t now_microseconds();

/// A new id: `prefix`, "_", utc_timestamp_compact(), "_" and a random 64-bit number in lower-case
/// hexadecimal without leading zeros. Any thread may call it.
std::string make_id(std::string_view prefix);

}  // namespace zunol_monitoring
