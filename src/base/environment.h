// Reading the process environment, for every setting that a variable can give.
#pragma once

#include <string>

namespace zunol_monitoring {

/// The value of the environment variable `name` when it is set and not empty, else `fallback`.
std::string env_or_default(const char* name, const std::string& fallback);

}  // namespace zunol_monitoring
