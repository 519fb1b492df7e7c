// A usage threshold, the record that the blocks cpu, ram, swap and load share.
#pragma once

#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

/// From which usage on, and for how long, a host resource counts as short.
struct UsageThreshold {
  double usage_percent = 0;  ///< in the block load: load per processor core
  std::string duration;
  friend bool operator==(const UsageThreshold&, const UsageThreshold&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UsageThreshold> auto& threshold) {
  v.field("usage_percent", threshold.usage_percent);
  v.duration("duration", threshold.duration);
}

}  // namespace zunol_monitoring
