// Making an event of what the agent reports: a type and free data.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// The envelope of an event of this type, with the identity of the agent that `config` names and
/// the data as payload. It is not judged here.
///
/// Data that is no object becomes the object {"value": data}. Of an object, the texts event_id,
/// level and created_at become those of the event (otherwise a new id, "info" and the present
/// time), and no key that the envelope has stays in the payload. An object with nothing else but
/// the key payload is unwrapped: its value is the payload, or the empty object where it is null.
///
/// Raises std::runtime_error with "event data is nested more than 500 levels deep"
/// (500 levels).
nlohmann::json build_event(const Config& config, const std::string& type,
                           const nlohmann::json& data);

}  // namespace zunol_monitoring
