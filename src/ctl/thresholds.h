// Limits in the wrong order.
#pragma once

#include <vector>

#include "ctl/tolerant_read.h"

namespace zunol_monitoring::ctl {

/// Warns of each limit "critical" that is reached before the "warning" beside it, where the file
/// gives one of the two and no rule holds them together. Of a name with "days" or "min_" less is
/// worse, of all others more. A limit of 0 or less counts as none.
std::vector<Finding> examine_thresholds(const TolerantRead& read, const ConfigFile& file);

}  // namespace zunol_monitoring::ctl
