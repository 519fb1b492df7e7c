// The event envelope: what an event is, the catalogue of its types, and the one judge of both.
// Events are judged on their way into the outbox and again in the append command before a backend
// sees them.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zunol_monitoring {

/// The value of the key "schema" of every event.
inline constexpr std::string_view event_schema = "zunol.monitoring.event.v1";

/// The 17 types that an event may have.
const std::vector<std::string>& known_event_types();

/// Nothing for a good event, else the first fault found, as one sentence. Never raises for a bad
/// event.
///
/// An event is an object with the strings schema (event_schema), event_id, agent_id, project_id,
/// server_name, type (one of the catalogue), level ("info", "warning" or "critical") and
/// created_at, none of them empty, and the object payload. Further keys are allowed. All keys are
/// looked for before any value is judged, and schema is judged before the other values. Texts
/// compare byte by byte.
std::optional<std::string> validate_event(const nlohmann::json& event);

}  // namespace zunol_monitoring
