// The variables of the overlay, for those who explain where a value comes from.
#pragma once

#include <string>
#include <vector>

#include "config/field_place.h"

namespace zunol_monitoring {

struct OverlayVariable {
  std::string name;
  FieldPlace place = no_place;  ///< the field that it overrides
  bool set = false;             ///< it is in the environment, and not empty
  bool used = false;            ///< and its value is one of the field's kind, so that it counts
};

/// The 36 variables of apply_environment_overlay in the order of application, with what the present
/// environment does to each.
std::vector<OverlayVariable> overlay_variables();

}  // namespace zunol_monitoring
