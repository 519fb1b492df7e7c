// The verdict on a configuration, with the fields that it is about.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "config/field_place.h"

namespace zunol_monitoring {

struct BrokenRule {
  std::string message;
  std::vector<FieldPlace> fields;  ///< that it is about, the one to blame first
  std::vector<FieldPlace> gates;   ///< the fields behind which it stands, the innermost first
  std::size_t item = 0;  ///< the index of the first item that breaks it, where the field is a list
};

/// What validate_config tells and raises; but a duration of more than 64 bits is one more broken
/// rule.
std::vector<BrokenRule> broken_rules(const Config& config);

}  // namespace zunol_monitoring
