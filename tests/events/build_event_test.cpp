#include "zunol_monitoring/events/build_event.h"

#include <nlohmann/json.hpp>

#include "base/json_depth.h"
#include "tests/support.h"
#include "zunol_monitoring/events/event_envelope.h"

using namespace zunol_monitoring;
using nlohmann::json;

namespace {

Config identity() {
  Config config;
  config.agent.id = "agent";
  config.agent.project_id = "project";
  config.agent.server_name = "server";
  return config;
}

json nested_arrays(int levels) {
  return json::parse(std::string(static_cast<std::size_t>(levels), '[') +
                     std::string(static_cast<std::size_t>(levels), ']'));
}

}  // namespace

TEST(BuildEvent, LiftsTheReservedKeysAndKeepsTheRestAsPayload) {
  // The data, and the payload and level of the event.
  for (const Texts& row : rows_of(R"(
5 => {"value":5} => info
null => {"value":null} => info
[1] => {"value":[1]} => info
{} => {} => info
{"level":"warning","disk":"/"} => {"disk":"/"} => warning
{"level":3,"disk":"/"} => {"disk":"/"} => info
{"schema":"x","agent_id":"x","project_id":"x","server_name":"x","type":"x","a":1} => {"a":1} => info
{"payload":{"a":1}} => {"a":1} => info
{"payload":null} => {} => info
{"payload":7} => 7 => info
{"payload":{"a":1},"extra":2} => {"payload":{"a":1},"extra":2} => info
{"payload":{"a":1},"level":"critical"} => {"a":1} => critical
)",
                                  "=>")) {
    const json data = json::parse(row.at(0));
    for (json event : {build_event(identity(), "test_event", data),
                       build_event(identity(), "test_event", json(data))}) {
      for (const char* made : {"event_id", "created_at"}) EXPECT_EQ(event.erase(made), 1U);
      EXPECT_EQ(event, json({{"schema", "zunol.monitoring.event.v1"},
                             {"agent_id", "agent"},
                             {"project_id", "project"},
                             {"server_name", "server"},
                             {"type", "test_event"},
                             {"level", row.at(2)},
                             {"payload", json::parse(row[1])}}))
          << row[0];
    }
    EXPECT_EQ(data, json::parse(row[0]));  // which stays the caller's
  }
}

TEST(BuildEvent, IdAndTimeComeFromTheDataOrAreMade) {
  const json given =
      build_event(identity(), "t", {{"event_id", ""}, {"created_at", "then"}, {"a", 1}});
  EXPECT_EQ(given["event_id"], "");
  EXPECT_EQ(given["created_at"], "then");
  EXPECT_EQ(given["payload"], json({{"a", 1}}));

  const json made = build_event(identity(), "t", {{"event_id", 1}, {"created_at", nullptr}});
  EXPECT_TRUE(made["event_id"].get<std::string>().starts_with("evt_"));
  EXPECT_EQ(made["created_at"].get<std::string>().size(), 20U);
  EXPECT_EQ(made["payload"], json::object());
}

TEST(BuildEvent, WhatItMakesOfAGoodTypeIsAnEvent) {
  EXPECT_EQ(validate_event(build_event(default_config(), "agent_started", nullptr)), std::nullopt);
  EXPECT_EQ(validate_event(build_event(default_config(), "nonsense", nullptr)),
            "unknown event type: nonsense");
}

TEST(BuildEvent, DepthIsBounded) {
  const json deepest = nested_arrays(max_data_depth);
  EXPECT_EQ(build_event(identity(), "t", deepest)["payload"]["value"], deepest);
  for (const int levels : {max_data_depth + 1, 1000000}) {
    json data = nested_arrays(levels);
    const json& borrowed = data;
    const char* error = "event data is nested more than 500 levels deep";
    EXPECT_EQ(error_of([&] { build_event(identity(), "t", borrowed); }), error);
    EXPECT_EQ(error_of([&] { build_event(identity(), "t", std::move(data)); }), error);
  }
}
