// The reference of the configuration for people.
#pragma once

#include <string>

namespace zunol_monitoring::ctl {

/// A Markdown document with every key: path, type, default, rules and the variable that overrides
/// it, and below each section the rules about several keys.
std::string config_reference();

}  // namespace zunol_monitoring::ctl
