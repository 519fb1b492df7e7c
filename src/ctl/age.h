// Times as people read them: how long ago.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace zunol_monitoring::ctl {

/// Seconds since 1970 of a time in the form of utc_timestamp_iso(), or `otherwise` for any other
/// text.
std::int64_t seconds_of_timestamp(const std::string& timestamp, std::int64_t otherwise);

/// Its opposite, for any time: what the system's clock cannot hold, rows of others can.
std::string timestamp_of_seconds(std::int64_t seconds);

/// The time that an option names: one in the form of utc_timestamp_iso(), or a duration back from
/// now; "" for "".
std::string time_of(const std::string& text);
/// The meaning of an option --since of records.
inline constexpr const char* since_meaning =
    "Only those since then: 2h, 3d, or a time such as 2026-01-31T12:00:00Z";
/// What is wrong with the text as such, or "".
std::string is_time(const std::string& text);

/// What is wrong with the text as a duration of at most 30 years, which no clock overflows with; ""
/// for nothing.
std::string is_span(const std::string& text);

/// The two largest units of a span: "0s", "59s", "5m 10s", "3h", "12d 4h". A negative span has a
/// "-" in front.
std::string span_text(std::int64_t seconds);

/// How many seconds ago a time in the form of utc_timestamp_iso() was; nothing for any other text.
std::optional<std::int64_t> age_of(const std::string& timestamp);
/// The same for people, "?" where the text is no time.
std::string age_text(const std::string& timestamp);
/// The same for programs, null where the text is no time.
nlohmann::json age_json(const std::string& timestamp);

}  // namespace zunol_monitoring::ctl
