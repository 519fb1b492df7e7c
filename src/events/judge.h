// The rules about the values of an event, for those who have an event and those who are making one.
#pragma once

#include <optional>
#include <string>

namespace zunol_monitoring {

/// The values of an event's keys: null for what is no text.
struct EventValues {
  const std::string* schema;
  const std::string* event_id;
  const std::string* agent_id;
  const std::string* project_id;
  const std::string* server_name;
  const std::string* type;
  const std::string* level;
  const std::string* created_at;
  bool payload_is_object;
};

/// The first fault as validate_event tells it, or nothing.
std::optional<std::string> judge_event_values(const EventValues& values);

}  // namespace zunol_monitoring
