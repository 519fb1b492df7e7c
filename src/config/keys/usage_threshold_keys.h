// The keys of usage_threshold.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/usage_threshold.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UsageThreshold> auto& threshold) {
  v.field("usage_percent", threshold.usage_percent, "Percent in use from which it counts");
  v.duration("duration", threshold.duration, threshold_duration);
}

}  // namespace zunol_monitoring
