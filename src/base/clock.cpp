#include "base/clock.h"

#include <unistd.h>

#include <array>
#include <charconv>
#include <ctime>
#include <mutex>
#include <random>

namespace zunol_monitoring {
namespace {

using std::chrono::system_clock;

std::string format_utc(system_clock::time_point time, const char* format) {
  const std::time_t seconds =
      system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text;
  return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

/// The next number of the process's one generator. It is seeded with 32 bits of the system's random
/// device: ids are to be different, not to be secret. A forked process seeds it anew, or it would
/// make the ids of its parent and siblings.
std::uint64_t next_random() {
  static std::mutex mutex;
  static std::random_device device{"default"};
  static std::mt19937_64 generator{device()};
  static pid_t owner = getpid();
  const std::lock_guard lock(mutex);
  if (owner != getpid()) {
    generator.seed(device());
    owner = getpid();
  }
  return generator();
}

}  // namespace

std::string utc_timestamp_iso() { return utc_timestamp_iso(system_clock::now()); }

std::string utc_timestamp_iso(system_clock::time_point time) {
  return format_utc(time, "%Y-%m-%dT%H:%M:%SZ");
}

std::string utc_timestamp_compact() { return format_utc(system_clock::now(), "%Y%m%dT%H%M%SZ"); }

std::int64_t now_microseconds() {
  return std::chrono::floor<std::chrono::microseconds>(system_clock::now().time_since_epoch())
      .count();
}

std::string make_id(std::string_view prefix) {
  std::array<char, 16> number;
  const auto end = std::to_chars(number.begin(), number.end(), next_random(), 16).ptr;
  std::string id(prefix);
  id.append(1, '_').append(utc_timestamp_compact()).append(1, '_').append(number.begin(), end);
  return id;
}

}  // namespace zunol_monitoring
