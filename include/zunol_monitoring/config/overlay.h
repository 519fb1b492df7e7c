// The variables of the process environment that override the configuration file.
#pragma once

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// Overrides the 36 fields that have a variable. A variable that is unset, empty, or no value of
/// its field's kind leaves the field alone; texts are not judged. Nothing may change the
/// environment meanwhile.
void apply_environment_overlay(Config& config);

}  // namespace zunol_monitoring
