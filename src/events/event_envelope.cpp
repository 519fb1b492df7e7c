#include "zunol_monitoring/events/event_envelope.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "events/judge.h"

namespace zunol_monitoring {
namespace {

std::string no_text(const char* key) {
  return std::string("field must be a non-empty string: ") + key;
}

}  // namespace

const std::vector<std::string>& known_event_types() {
  namespace type = event_type;
  static const std::vector<std::string> types = {
      type::agent_started,
      type::agent_stopped,
      type::agent_iteration_failed,
      type::check_failed,
      type::check_recovered,
      type::incident_acknowledged,
      type::incident_auto_resolved,
      type::incident_created,
      type::incident_escalated,
      type::incident_investigating,
      type::incident_muted,
      type::incident_resolved,
      type::incident_snoozed,
      type::telegram_action_received,
      type::telegram_notification_failed,
      type::telegram_notification_sent,
      type::test_event,
  };
  return types;
}

std::optional<std::string> validate_event(const nlohmann::json& event) {
  if (!event.is_object()) return "event must be a JSON object";
  for (const char* key : {"schema", "event_id", "agent_id", "project_id", "server_name", "type",
                          "level", "created_at", "payload"}) {
    if (!event.contains(key)) return std::string("missing required field: ") + key;
  }
  const auto text = [&event](const char* key) {
    return event.find(key)->get_ptr<const std::string*>();
  };
  return judge_event_values({.schema = text("schema"),
                             .event_id = text("event_id"),
                             .agent_id = text("agent_id"),
                             .project_id = text("project_id"),
                             .server_name = text("server_name"),
                             .type = text("type"),
                             .level = text("level"),
                             .created_at = text("created_at"),
                             .payload_is_object = event.find("payload")->is_object()});
}

std::optional<std::string> judge_event_values(const EventValues& values) {
  if (values.schema == nullptr) return no_text("schema");
  if (*values.schema != event_schema) return "unsupported schema: " + *values.schema;
  for (const auto& [key, text] : {std::pair("event_id", values.event_id),
                                  {"agent_id", values.agent_id},
                                  {"project_id", values.project_id},
                                  {"server_name", values.server_name},
                                  {"type", values.type},
                                  {"level", values.level},
                                  {"created_at", values.created_at}}) {
    if (text == nullptr || text->empty()) return no_text(key);
  }
  if (std::ranges::find(known_event_types(), *values.type) == known_event_types().end()) {
    return "unknown event type: " + *values.type;
  }
  if (*values.level != event_level::info && *values.level != event_level::warning &&
      *values.level != event_level::critical) {
    return "level must be info, warning or critical";
  }
  if (!values.payload_is_object) return "payload must be a JSON object";
  return std::nullopt;
}

}  // namespace zunol_monitoring
