// The text of a JSON value.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace zunol_monitoring {

/// What value.dump() gives and raises, at half the cost: the writing of its text is most of what an
/// event costs before SQLite sees it. Recurses by level, as dump() does (see max_data_depth).
std::string compact_json(const nlohmann::json& value);

}  // namespace zunol_monitoring
