// The grammar of durations. The configuration keeps a duration as the text that was written;
// whoever needs seconds parses it here.
#pragma once

#include <cstdint>
#include <string_view>

namespace zunol_monitoring {

/// The seconds of a duration: ASCII digits, then nothing or "s" for seconds, "m", "h" or "d", or
/// "ms", which gives 1 for any number above 0 and else 0. Every other text, the empty one included,
/// gives `fallback`. Raises std::out_of_range with "stoll" when the digits exceed 64 bits, whatever
/// the unit. A number that fits while its seconds do not gives the largest number of seconds.
std::int64_t parse_duration_seconds(std::string_view text, std::int64_t fallback);

}  // namespace zunol_monitoring
