// Reading the process environment. A variable that is set to the empty text counts as unset.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring {

/// The value of the environment variable `name` when it is set and not empty, else `fallback`.
std::string env_or_default(const char* name, const std::string& fallback);

/// True for "1", "true", "yes" and "on", false for "0", "false", "no" and "off", in any letter
/// case; `fallback` for anything else.
bool env_bool(const char* name, bool fallback);

/// The decimal number that the value begins with, after white space and with an optional sign,
/// whatever follows it; `fallback` where there is none or it exceeds 32 bits.
int env_int(const char* name, int fallback);

/// Replaces `list` by the pieces of the value between its commas, white space stripped at both ends
/// and empty pieces dropped. An unset variable leaves the list alone.
void env_list(const char* name, std::vector<std::string>& list);

}  // namespace zunol_monitoring
