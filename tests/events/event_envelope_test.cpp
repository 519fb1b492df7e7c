#include "zunol_monitoring/events/event_envelope.h"

#include <nlohmann/json.hpp>

#include "tests/support.h"

using namespace zunol_monitoring;
using nlohmann::json;

namespace {

json good_event() {
  return {{"schema", "zunol.monitoring.event.v1"},
          {"event_id", "evt_1"},
          {"agent_id", "agent"},
          {"project_id", "project"},
          {"server_name", "server"},
          {"type", "agent_started"},
          {"level", "critical"},
          {"created_at", "whenever"},
          {"payload", json::object()}};
}

}  // namespace

TEST(EventEnvelope, GoodEventsPass) {
  EXPECT_EQ(validate_event(good_event()), std::nullopt);
  json event = good_event();
  event["extra"] = {1, 2};
  event["payload"] = {{"disk", "/"}};
  EXPECT_EQ(validate_event(event), std::nullopt);
  for (const char* level : {"info", "warning", "critical"}) {
    event["level"] = level;
    EXPECT_EQ(validate_event(event), std::nullopt) << level;
  }
  const Texts types = split(
      "agent_started agent_stopped agent_iteration_failed check_failed check_recovered "
      "incident_acknowledged incident_auto_resolved incident_created incident_escalated "
      "incident_investigating incident_muted incident_resolved incident_snoozed "
      "telegram_action_received telegram_notification_failed telegram_notification_sent "
      "test_event",
      " ");
  EXPECT_EQ(known_event_types(), types);
  for (const std::string& type : types) {
    event["type"] = type;
    EXPECT_EQ(validate_event(event), std::nullopt) << type;
  }
}

TEST(EventEnvelope, TheFirstFaultIsTheReason) {
  for (const char* key : {"schema", "event_id", "agent_id", "project_id", "server_name", "type",
                          "level", "created_at", "payload"}) {
    json event = good_event();
    event.erase(key);
    EXPECT_EQ(validate_event(event), std::string("missing required field: ") + key);
    event[key] = nullptr;  // present, but no text
    EXPECT_EQ(validate_event(event), key == std::string("payload")
                                         ? "payload must be a JSON object"
                                         : std::string("field must be a non-empty string: ") + key);
  }
  // Each row changes a good event by a merge patch: null removes a key.
  for (const Texts& row : rows_of(R"(
{"payload":null,"type":"nonsense","schema":1} => missing required field: payload
{"server_name":null,"project_id":null} => missing required field: project_id
{"created_at":null,"level":null} => missing required field: level
{"schema":"zunol.monitoring.event.v1x"} => unsupported schema: zunol.monitoring.event.v1x
{"schema":1,"event_id":""} => field must be a non-empty string: schema
{"schema":"v2","event_id":""} => unsupported schema: v2
{"event_id":"","created_at":""} => field must be a non-empty string: event_id
{"agent_id":7} => field must be a non-empty string: agent_id
{"project_id":[]} => field must be a non-empty string: project_id
{"server_name":""} => field must be a non-empty string: server_name
{"type":""} => field must be a non-empty string: type
{"level":true} => field must be a non-empty string: level
{"created_at":"","type":"nonsense"} => field must be a non-empty string: created_at
{"type":"Agent_started","level":"x"} => unknown event type: Agent_started
{"level":"Info","payload":1} => level must be info, warning or critical
{"payload":[]} => payload must be a JSON object
)",
                                  "=>")) {
    json event = good_event();
    event.merge_patch(json::parse(row.at(0)));
    EXPECT_EQ(validate_event(event), row[1]) << row[0];
  }
  json event = good_event();
  event["schema"] = "";
  EXPECT_EQ(validate_event(event), "unsupported schema: ");
  event = good_event();
  event["type"] = std::string("a\0b", 3);  // a reason keeps zero bytes
  EXPECT_EQ(validate_event(event), std::string("unknown event type: a\0b", 23));
}

TEST(EventEnvelope, OnlyObjectsAreEvents) {
  for (const char* text : {"[]", "1", "null", "\"text\""}) {
    EXPECT_EQ(validate_event(json::parse(text)), "event must be a JSON object") << text;
  }
  EXPECT_EQ(validate_event(json::object()), "missing required field: schema");
}
