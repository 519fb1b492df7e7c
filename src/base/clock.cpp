#include "zunol_monitoring/base/clock.h"

#include <unistd.h>

#include <array>
#include <charconv>
#include <mutex>
#include <random>

namespace zunol_monitoring {
namespace {

using std::chrono::system_clock;

/// `form` with its zeros filled by the digits of the time's date and clock in UTC. Not strftime,
/// whose locale and time zone cost more than the rest of an id.
std::string format_utc(system_clock::time_point time, std::string form) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss clock{std::chrono::floor<std::chrono::seconds>(time - day)};
  std::int64_t digits = static_cast<int>(date.year());
  for (const std::int64_t next :
       {std::int64_t{static_cast<unsigned>(date.month())},
        std::int64_t{static_cast<unsigned>(date.day())}, std::int64_t{clock.hours().count()},
        std::int64_t{clock.minutes().count()}, std::int64_t{clock.seconds().count()}}) {
    digits = digits * 100 + next;
  }
  for (auto place = form.rbegin(); place != form.rend(); ++place) {
    if (*place != '0') continue;
    *place = static_cast<char>('0' + digits % 10);
    digits /= 10;
  }
  return form;
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
  return format_utc(time, "0000-00-00T00:00:00Z");
}

std::string utc_timestamp_compact() { return format_utc(system_clock::now(), "00000000T000000Z"); }

std::int64_t now_microseconds() {
  return std::chrono::floor<std::chrono::microseconds>(system_clock::now().time_since_epoch())
      .count();
}

std::string make_id(std::string_view prefix) {
  std::array<char, 16> number;
  const auto end = std::to_chars(number.begin(), number.end(), next_random(), 16).ptr;
  std::string id;
  id.reserve(prefix.size() + 34);  // two lines of 16 characters, each behind its "_"
  id.append(prefix)
      .append(1, '_')
      .append(utc_timestamp_compact())
      .append(1, '_')
      .append(number.begin(), end);
  return id;
}

}  // namespace zunol_monitoring
