// A configuration with the meaning of each key above it.
#pragma once

#include <string>
#include <vector>

#include "describe/key_catalogue.h"

namespace zunol_monitoring::ctl {

/// `yaml`, a text of render_text, with a comment of at most 100 columns above each key, for the
/// items of a list in the first one only.
std::string with_meanings(const std::string& yaml, const std::vector<ConfigKey>& keys);

}  // namespace zunol_monitoring::ctl
