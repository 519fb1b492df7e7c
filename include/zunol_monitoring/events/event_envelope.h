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

/// The types that an event may have.
namespace event_type {
inline constexpr const char* agent_started = "agent_started";
inline constexpr const char* agent_stopped = "agent_stopped";
inline constexpr const char* agent_iteration_failed = "agent_iteration_failed";
inline constexpr const char* check_failed = "check_failed";
inline constexpr const char* check_recovered = "check_recovered";
inline constexpr const char* incident_acknowledged = "incident_acknowledged";
inline constexpr const char* incident_auto_resolved = "incident_auto_resolved";
inline constexpr const char* incident_created = "incident_created";
inline constexpr const char* incident_escalated = "incident_escalated";
inline constexpr const char* incident_investigating = "incident_investigating";
inline constexpr const char* incident_muted = "incident_muted";
inline constexpr const char* incident_resolved = "incident_resolved";
inline constexpr const char* incident_snoozed = "incident_snoozed";
inline constexpr const char* telegram_action_received = "telegram_action_received";
inline constexpr const char* telegram_notification_failed = "telegram_notification_failed";
inline constexpr const char* telegram_notification_sent = "telegram_notification_sent";
inline constexpr const char* test_event = "test_event";
}  // namespace event_type

/// How grave it is; any type may have any level.
namespace event_level {
inline constexpr const char* info = "info";
inline constexpr const char* warning = "warning";
inline constexpr const char* critical = "critical";
}  // namespace event_level

/// All of event_type, 17 texts.
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
