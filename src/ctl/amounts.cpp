#include "ctl/amounts.h"

#include <cstdio>
#include <iterator>

namespace zunol_monitoring::ctl {

std::string bytes_text(std::uint64_t bytes) {
  const char* const units[] = {"KiB", "MiB", "GiB"};
  if (bytes < 1024) return std::to_string(bytes) + " B";
  double value = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  for (; value >= 1024 && unit + 1 < std::size(units); ++unit) value /= 1024;
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
  return text;
}

std::string number_text(double value, int digits) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

}  // namespace zunol_monitoring::ctl
