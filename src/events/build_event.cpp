#include "events/build_event.h"

#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/clock.h"
#include "base/json_depth.h"
#include "events/event_envelope.h"

namespace zunol_monitoring {
namespace {

using nlohmann::json;

/// Keys of the envelope, which never stay in the payload.
constexpr std::array<std::string_view, 8> reserved_keys = {
    "schema", "event_id", "agent_id", "project_id", "server_name", "type", "level", "created_at"};

/// The text under `key`, taken out of the fields, or what `otherwise` gives.
template <class Otherwise>
std::string take_text(json::object_t& fields, std::string_view key, Otherwise otherwise) {
  const auto found = fields.find(key);
  if (found == fields.end() || !found->second.is_string()) return otherwise();
  return std::move(found->second.get_ref<std::string&>());
}

/// What is left of the fields without the reserved ones.
json payload_of(json::object_t fields) {
  for (const std::string_view key : reserved_keys) {
    const auto found = fields.find(key);
    if (found != fields.end()) fields.erase(found);
  }
  if (fields.size() != 1 || fields.begin()->first != "payload") return fields;
  json unwrapped = std::move(fields.begin()->second);
  if (unwrapped.is_null()) return json::object();
  return unwrapped;
}

void require_shallow(const json& data) {
  if (!nested_deeper_than(max_data_depth, data)) return;
  throw std::runtime_error("event data is nested more than " + std::to_string(max_data_depth) +
                           " levels deep");
}

}  // namespace

json build_event(const Config& config, const std::string& type, const json& data) {
  require_shallow(data);  // before it is copied
  return build_event(config, type, json(data));
}

json build_event(const Config& config, const std::string& type, json&& data) {
  require_shallow(data);
  json::object_t fields;
  if (data.is_object()) {
    fields = std::move(data.get_ref<json::object_t&>());
  } else {
    fields["value"] = std::move(data);
  }
  // In the order of the keys, so that each goes to the end of the sorted object.
  json::object_t event;
  const auto add = [&event](const char* key, auto&& value) {
    event.emplace_hint(event.end(), key, std::forward<decltype(value)>(value));
  };
  add("agent_id", config.agent.id);
  add("created_at", take_text(fields, "created_at", [] { return utc_timestamp_iso(); }));
  add("event_id", take_text(fields, "event_id", [] { return make_id("evt"); }));
  add("level", take_text(fields, "level", [] { return std::string("info"); }));
  add("payload", payload_of(std::move(fields)));
  add("project_id", config.agent.project_id);
  add("schema", event_schema);
  add("server_name", config.agent.server_name);
  add("type", type);
  return event;
}

}  // namespace zunol_monitoring
