// Reading the text of an event as far as its judge looks.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace zunol_monitoring {

/// The event of a JSON text, with every object and array below its top level left empty: what
/// validate_event judges, without the memory that a large payload takes as a tree, and however deep
/// the payload nests. The whole text counts all the same: one JSON value in UTF-8, without
/// comments and with nothing but blanks behind it. To the JSON library a zero byte is the end of
/// the text, and it looks at nothing behind one. Raises its own error for any other text.
nlohmann::json parse_envelope(std::string_view text);

}  // namespace zunol_monitoring
