#include "events/build_event.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "base/clock.h"
#include "base/json_depth.h"
#include "events/event_envelope.h"

namespace zunol_monitoring {
namespace {

using nlohmann::json;

/// Keys of the envelope, which never stay in the payload.
constexpr std::array reserved_keys = {"schema",      "event_id", "agent_id", "project_id",
                                      "server_name", "type",     "level",    "created_at"};

/// The text under `key`, or what `otherwise` gives.
template <class Otherwise>
std::string text_or(const json& data, const char* key, Otherwise otherwise) {
  if (data.is_object()) {
    const auto found = data.find(key);
    if (found != data.end() && found->is_string()) return found->get<std::string>();
  }
  return otherwise();
}

json payload_of(const json& data) {
  if (!data.is_object()) return {{"value", data}};
  json::object_t payload;
  for (const auto& [key, value] : data.get_ref<const json::object_t&>()) {
    if (std::ranges::find(reserved_keys, key) == reserved_keys.end()) {
      payload.emplace_hint(payload.end(), key, value);
    }
  }
  if (payload.size() != 1 || payload.begin()->first != "payload") return payload;
  json unwrapped = std::move(payload.begin()->second);
  if (unwrapped.is_null()) return json::object();
  return unwrapped;
}

}  // namespace

json build_event(const Config& config, const std::string& type, const json& data) {
  if (nested_deeper_than(max_data_depth, data)) {
    throw std::runtime_error("event data is nested more than " + std::to_string(max_data_depth) +
                             " levels deep");
  }
  // In the order of the keys, so that each goes to the end of the sorted object.
  json::object_t event;
  const auto add = [&event](const char* key, auto&& value) {
    event.emplace_hint(event.end(), key, std::forward<decltype(value)>(value));
  };
  add("agent_id", config.agent.id);
  add("created_at", text_or(data, "created_at", [] { return utc_timestamp_iso(); }));
  add("event_id", text_or(data, "event_id", [] { return make_id("evt"); }));
  add("level", text_or(data, "level", [] { return std::string("info"); }));
  add("payload", payload_of(data));
  add("project_id", config.agent.project_id);
  add("schema", event_schema);
  add("server_name", config.agent.server_name);
  add("type", type);
  return event;
}

}  // namespace zunol_monitoring
