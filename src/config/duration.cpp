#include "zunol_monitoring/config/duration.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

namespace zunol_monitoring {

std::int64_t parse_duration_seconds(std::string_view text, std::int64_t fallback) {
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  if (digits == 0) return fallback;
  const std::int64_t number = std::stoll(std::string(text.substr(0, digits)));
  const std::string_view unit = text.substr(digits);
  if (unit == "ms") return number > 0 ? 1 : 0;

  struct Unit {
    std::string_view name;
    std::int64_t seconds;
  };
  constexpr std::array units = {Unit{"", 1}, Unit{"s", 1}, Unit{"m", 60}, Unit{"h", 3600},
                                Unit{"d", 86400}};
  const auto* known = std::ranges::find(units, unit, &Unit::name);
  if (known == units.end()) return fallback;
  constexpr std::int64_t longest = std::numeric_limits<std::int64_t>::max();
  return number > longest / known->seconds ? longest : number * known->seconds;
}

}  // namespace zunol_monitoring
