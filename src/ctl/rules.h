// The rule book asked about a configuration that may hold anything.
#pragma once

#include <vector>

#include "config/judge.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring::ctl {

/// What broken_rules tells, and one rule without a place where that cannot count a duration.
std::vector<BrokenRule> judge_rules(const Config& config);

}  // namespace zunol_monitoring::ctl
