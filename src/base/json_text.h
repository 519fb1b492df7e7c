// The text of a JSON value.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace zunol_monitoring {

/// What value.dump() gives and raises, at half the cost: the writing of its text is most of what an
/// event costs before SQLite sees it. Recurses by level, as dump() does (see max_data_depth).
std::string compact_json(const nlohmann::json& value);

/// The same behind a text.
void append_compact_json(std::string& text, const nlohmann::json& value);
void append_json_string(std::string& text, std::string_view value);

}  // namespace zunol_monitoring
