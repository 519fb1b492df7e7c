// What the tool says: results on standard output, for people or as JSON, and errors as one line on
// standard error.
#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace zunol_monitoring::ctl {

/// Makes 0, 1 and 2 open descriptors. One that the caller closed would else become that of the next
/// file opened, such as the database, and what the tool prints would land in it. Reading and
/// writing it fails, as it would while closed.
void claim_standard_descriptors();

/// Writes the text to standard output. Failures come to light in finish_output.
void print(std::string_view text);
/// The JSON value of a text, or the text where it is no JSON or nested deeper than can be written.
nlohmann::json document_of(const std::string& text);
/// Writes such a value indented, and any other text as it is, line by line as `printable` has it.
void print_document(const std::string& text);
/// Writes the value on one line. Text that is no UTF-8 has its wrong bytes replaced, and what
/// commands the terminal is escaped.
void print_json(const nlohmann::json& value);
/// Writes lines of JSON or YAML in which texts stand in double quotes. What commands the terminal
/// is escaped.
void print_quoted(std::string_view text);
/// Raises std::runtime_error with "cannot write standard output: " and the reason when anything
/// printed so far has not been written.
void finish_output();

/// Writes "zunol-monitoring-ctl: " and the message to standard error as exactly one line.
void print_error(std::string_view message);

/// The text with a blank for each control character and U+FFFD for each byte that is no UTF-8, so
/// that it stays on its line and cannot command the terminal. Needs set_character_type.
std::string printable(std::string_view text);

/// Makes the C library's functions on characters read UTF-8, whatever the user's locale is.
void set_character_type();
inline constexpr wchar_t invalid_character = 0xfffd;
/// Calls take(character, its bytes) for each character of the UTF-8 text, with invalid_character
/// for a byte that belongs to none.
void for_each_character(std::string_view text,
                        const std::function<void(wchar_t, std::string_view)>& take);

enum class Colour { red, yellow, green, grey };
/// The text in this colour where standard output is a terminal and NO_COLOR is not set.
std::string coloured(Colour colour, const std::string& text);

/// Whether the user's locale has UTF-8.
bool takes_utf8();

/// Columns of the terminal that standard output is, or 0 where it is none.
int terminal_width();

}  // namespace zunol_monitoring::ctl
