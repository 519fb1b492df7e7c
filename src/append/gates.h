// What the configuration must have for a production append, for the command and for those who ask
// why one would fail.
#pragma once

#include <optional>
#include <string>

#include "zunol_monitoring/config/records/vorn_config.h"

namespace zunol_monitoring {

/// Why the configuration allows no production append, if it does not.
std::optional<std::string> closed_append_gate(const VornConfig& vorn);

/// The backend's shell text, from ZUNOL_VORN_APPEND_BACKEND or else the configuration; "" for none.
std::string append_backend(const VornConfig& vorn);

}  // namespace zunol_monitoring
