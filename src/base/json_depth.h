// How deep a JSON value is nested. The JSON library copies and writes values by recursion, so depth
// that someone else decides is measured first.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace zunol_monitoring {

/// Levels of nesting that are copied and written. At some hundred bytes of stack a level this
/// leaves most of the 8 MiB of a usual stack, and of the 256 KiB of a small thread.
inline constexpr int max_data_depth = 500;

/// Whether an object or array stands below more than `levels` others, itself counted. Looks no
/// deeper than that.
bool nested_deeper_than(int levels, const nlohmann::json& value);

}  // namespace zunol_monitoring
