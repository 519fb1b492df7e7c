#include "ctl/age.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/config/duration.h"

namespace zunol_monitoring::ctl {

std::int64_t seconds_of_timestamp(const std::string& timestamp, std::int64_t otherwise) {
  std::tm time{};
  const char* end = strptime(timestamp.c_str(), "%Y-%m-%dT%H:%M:%SZ", &time);
  if (end == nullptr || *end != '\0') return otherwise;
  return timegm(&time);
}

std::string timestamp_of_seconds(std::int64_t seconds) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

std::string time_of(const std::string& text) {
  if (text.empty() || seconds_of_timestamp(text, -1) != -1) return text;
  const std::chrono::seconds span(parse_duration_seconds(text, 0));
  return utc_timestamp_iso(std::chrono::system_clock::now() - span);
}

std::string is_time(const std::string& text) {
  if (seconds_of_timestamp(text, -1) != -1 || is_span(text).empty()) return "";
  return text + " is no time such as 2h, 3d or 2026-01-31T12:00:00Z";
}

std::string is_span(const std::string& text) {
  constexpr std::size_t most_characters = 12;  // so that no number is too large
  constexpr std::int64_t longest_sec = 1'000'000'000;
  const std::int64_t seconds =
      text.size() <= most_characters ? parse_duration_seconds(text, -1) : -1;
  if (seconds >= 0 && seconds <= longest_sec) return "";
  return text + " is no duration such as 90s, 10m or 6h";
}

std::string span_text(std::int64_t seconds) {
  if (seconds < 0) return '-' + span_text(-seconds);
  const auto two = [](std::int64_t first, const char* unit, std::int64_t second,
                      const char* smaller) {
    const std::string text = std::to_string(first) + unit;
    return second == 0 ? text : text + ' ' + std::to_string(second) + smaller;
  };
  constexpr std::int64_t minute = 60;
  constexpr std::int64_t hour = 60 * minute;
  constexpr std::int64_t day = 24 * hour;
  if (seconds < minute) return std::to_string(seconds) + 's';
  if (seconds < hour) return two(seconds / minute, "m", seconds % minute, "s");
  if (seconds < day) return two(seconds / hour, "h", seconds % hour / minute, "m");
  return two(seconds / day, "d", seconds % day / hour, "h");
}

std::optional<std::int64_t> age_of(const std::string& timestamp) {
  const std::int64_t at = seconds_of_timestamp(timestamp, -1);
  if (at == -1) return std::nullopt;
  // The clock that the timestamps are made by: std::time may still be in the second before.
  return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()) - at;
}

std::string age_text(const std::string& timestamp) {
  const auto age = age_of(timestamp);
  return age ? span_text(*age) : "?";
}

nlohmann::json age_json(const std::string& timestamp) {
  const auto age = age_of(timestamp);
  return age ? nlohmann::json(*age) : nlohmann::json(nullptr);
}

}  // namespace zunol_monitoring::ctl
