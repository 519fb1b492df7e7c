#include "base/json_depth.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace zunol_monitoring {

bool nested_deeper_than(int levels, const nlohmann::json& value) {
  if (!value.is_structured()) return false;
  if (levels == 0) return true;
  return std::ranges::any_of(
      value, [levels](const nlohmann::json& item) { return nested_deeper_than(levels - 1, item); });
}

}  // namespace zunol_monitoring
