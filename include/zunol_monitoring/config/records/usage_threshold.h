// A usage threshold, the record that the blocks cpu, ram, swap and load share.
#pragma once

#include <string>

namespace zunol_monitoring {

/// From which usage on, and for how long, a host resource counts as short.
struct UsageThreshold {
  double usage_percent = 0;  ///< in the block load: load per processor core
  std::string duration;
  friend bool operator==(const UsageThreshold&, const UsageThreshold&) = default;
};

}  // namespace zunol_monitoring
