// How grave a check result or an incident is.
#pragma once

#include <string>

namespace zunol_monitoring {

enum class Severity { Info = 0, Warning = 1, Critical = 2 };

/// The text in the database: "info", "warning" or "critical"; "info" for any other value.
const char* severity_name(Severity severity);

/// The severity of a text in whatever case; Info for any other text.
Severity severity_from_name(const std::string& name);

}  // namespace zunol_monitoring
