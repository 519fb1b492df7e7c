#include "events/event_envelope.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace zunol_monitoring {
namespace {

/// The keys of an event in the order in which they are looked for, and judged.
enum Key : std::size_t {
  schema,
  event_id,
  agent_id,
  project_id,
  server_name,
  type,
  level,
  created_at,
  payload,
  key_count
};
constexpr std::array<std::string_view, key_count> key_names = {
    "schema", "event_id", "agent_id",   "project_id", "server_name",
    "type",   "level",    "created_at", "payload"};

}  // namespace

const std::vector<std::string>& known_event_types() {
  static const std::vector<std::string> types = {
      "agent_started",
      "agent_stopped",
      "agent_iteration_failed",
      "check_failed",
      "check_recovered",
      "incident_acknowledged",
      "incident_auto_resolved",
      "incident_created",
      "incident_escalated",
      "incident_investigating",
      "incident_muted",
      "incident_resolved",
      "incident_snoozed",
      "telegram_action_received",
      "telegram_notification_failed",
      "telegram_notification_sent",
      "test_event",
  };
  return types;
}

std::optional<std::string> validate_event(const nlohmann::json& event) {
  if (!event.is_object()) return "event must be a JSON object";
  std::array<const nlohmann::json*, key_count> values{};
  for (std::size_t key = 0; key < key_count; ++key) {
    const auto found = event.find(key_names[key]);
    if (found == event.end()) return "missing required field: " + std::string(key_names[key]);
    values[key] = &*found;
  }

  std::array<const std::string*, payload> texts{};
  for (std::size_t key = schema; key < payload; ++key) {
    texts[key] = values[key]->get_ptr<const std::string*>();
    // An empty schema is a wrong one.
    if (texts[key] == nullptr || (texts[key]->empty() && key != schema)) {
      return "field must be a non-empty string: " + std::string(key_names[key]);
    }
    if (key == schema && *texts[key] != event_schema) return "unsupported schema: " + *texts[key];
  }

  if (std::ranges::find(known_event_types(), *texts[type]) == known_event_types().end()) {
    return "unknown event type: " + *texts[type];
  }
  if (*texts[level] != "info" && *texts[level] != "warning" && *texts[level] != "critical") {
    return "level must be info, warning or critical";
  }
  if (!values[payload]->is_object()) return "payload must be a JSON object";
  return std::nullopt;
}

}  // namespace zunol_monitoring
