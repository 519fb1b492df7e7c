// Leaving out most of a long text inside an event, which the parser would copy byte by byte only to
// have it dropped.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zunol_monitoring {

/// A JSON text with shorter strings below its top level: of a run of 16 or more bytes from ' ' to
/// '~' without quote and backslash, the first 8 and less than 8 of the last stay. Nothing where
/// this gains too little: the copy has at most `free_size` bytes and half of those of the longest
/// of these strings together. A parser needs more than that half for the string itself.
///
/// A parser accepts the copy exactly when it accepts the text, and finds the same apart from these
/// strings; only the place of a fault may be another one. For up to the first fault, both read the
/// same strings. And a fault in a string is neither left out nor mended: the 8 bytes hold the
/// digits of an escape before them, and keep apart what stands on both sides.
std::optional<std::string> shorten_strings(std::string_view text, std::size_t free_size);

}  // namespace zunol_monitoring
