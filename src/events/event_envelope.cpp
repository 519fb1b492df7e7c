#include "events/event_envelope.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace zunol_monitoring {
namespace {

/// The keys of an event in the order in which they are looked for. The values are judged in the
/// same order: schema first, then the other strings, payload last.
constexpr std::array required_keys = {"schema",     "event_id",    "agent_id",
                                      "project_id", "server_name", "type",
                                      "level",      "created_at",  "payload"};

std::string not_a_text(const char* key) {
  return std::string("field must be a non-empty string: ") + key;
}

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
  for (const char* key : required_keys) {
    if (!event.contains(key)) return std::string("missing required field: ") + key;
  }

  const auto* schema = event["schema"].get_ptr<const std::string*>();
  if (schema == nullptr) return not_a_text("schema");
  if (*schema != event_schema) return "unsupported schema: " + *schema;

  for (auto key = required_keys.begin() + 1; key != required_keys.end() - 1; ++key) {
    const auto* text = event[*key].get_ptr<const std::string*>();
    if (text == nullptr || text->empty()) return not_a_text(*key);
  }

  const auto& type = event["type"].get_ref<const std::string&>();
  if (std::ranges::find(known_event_types(), type) == known_event_types().end()) {
    return "unknown event type: " + type;
  }
  const auto& level = event["level"].get_ref<const std::string&>();
  if (level != "info" && level != "warning" && level != "critical") {
    return "level must be info, warning or critical";
  }
  if (!event["payload"].is_object()) return "payload must be a JSON object";
  return std::nullopt;
}

}  // namespace zunol_monitoring
