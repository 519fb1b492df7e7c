#include "events/event_draft.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "base/json_depth.h"
#include "base/json_text.h"
#include "events/judge.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/events/build_event.h"
#include "zunol_monitoring/events/event_envelope.h"

namespace zunol_monitoring {
namespace {

using nlohmann::json;

const std::string schema_text(event_schema);

/// Keys of the envelope, which never stay in the payload.
constexpr std::array<std::string_view, 8> reserved_keys = {
    "schema", "event_id", "agent_id", "project_id", "server_name", "type", "level", "created_at"};

bool is_free(const json::object_t::value_type& member) {
  return std::ranges::find(reserved_keys, member.first) == reserved_keys.end();
}

/// The text under `key` of the data, or what `otherwise` gives.
template <class Otherwise>
std::string text_or(const json& data, const char* key, Otherwise otherwise) {
  if (!data.is_object()) return otherwise();
  const auto found = data.find(key);
  if (found == data.end() || !found->is_string()) return otherwise();
  return found->get_ref<const std::string&>();
}

/// The value of the key payload where that is the only free one.
const json* only_payload(const json& data) {
  const auto* fields = data.get_ptr<const json::object_t*>();
  if (fields == nullptr || std::ranges::count_if(*fields, is_free) != 1) return nullptr;
  const auto found = fields->find("payload");
  return found != fields->end() ? &found->second : nullptr;
}

void require_shallow(const json& data) {
  if (!nested_deeper_than(max_data_depth, data)) return;
  throw std::runtime_error("event data is nested more than " + std::to_string(max_data_depth) +
                           " levels deep");
}

}  // namespace

EventDraft::EventDraft(const Config& config, const std::string& type, const json& data)
    : config_(config), type_(type), data_(data) {
  require_shallow(data);
  unwrapped_ = only_payload(data);
  event_id_ = text_or(data, "event_id", [] { return make_id("evt"); });
  level_ = text_or(data, "level", [] { return std::string(event_level::info); });
  created_at_ = text_or(data, "created_at", [] { return utc_timestamp_iso(); });
}

std::optional<std::string> EventDraft::fault() const {
  return judge_event_values({.schema = &schema_text,
                             .event_id = &event_id_,
                             .agent_id = &config_.agent.id,
                             .project_id = &config_.agent.project_id,
                             .server_name = &config_.agent.server_name,
                             .type = &type_,
                             .level = &level_,
                             .created_at = &created_at_,
                             .payload_is_object = unwrapped_ == nullptr ||
                                                  unwrapped_->is_object() ||
                                                  unwrapped_->is_null()});
}

json EventDraft::event() const {
  return {{"schema", schema_text},
          {"event_id", event_id_},
          {"agent_id", config_.agent.id},
          {"project_id", config_.agent.project_id},
          {"server_name", config_.agent.server_name},
          {"type", type_},
          {"level", level_},
          {"created_at", created_at_},
          {"payload", payload()}};
}

json EventDraft::payload() const {
  if (unwrapped_ != nullptr) return unwrapped_->is_null() ? json::object() : *unwrapped_;
  const auto* fields = data_.get_ptr<const json::object_t*>();
  if (fields == nullptr) return {{"value", data_}};
  json::object_t free;
  std::ranges::copy_if(*fields, std::inserter(free, free.end()), is_free);
  return free;
}

std::string EventDraft::text() const {
  std::string text;
  text.reserve(512);  // most events are shorter
  // In the order of the keys, as the library writes objects.
  for (const auto& [begin, value] : {std::pair(R"({"agent_id":)", &config_.agent.id),
                                     {R"(,"created_at":)", &created_at_},
                                     {R"(,"event_id":)", &event_id_},
                                     {R"(,"level":)", &level_}}) {
    append_json_string(text += begin, *value);
  }
  append_payload(text += R"(,"payload":)");
  for (const auto& [begin, value] : {std::pair(R"(,"project_id":)", &config_.agent.project_id),
                                     {R"(,"schema":)", &schema_text},
                                     {R"(,"server_name":)", &config_.agent.server_name},
                                     {R"(,"type":)", &type_}}) {
    append_json_string(text += begin, *value);
  }
  return text += '}';
}

void EventDraft::append_payload(std::string& text) const {
  if (unwrapped_ != nullptr) {
    return append_compact_json(text, unwrapped_->is_null() ? json::object() : *unwrapped_);
  }
  const auto* fields = data_.get_ptr<const json::object_t*>();
  if (fields == nullptr) {
    append_compact_json(text += R"({"value":)", data_);
    text += '}';
    return;
  }
  text += '{';
  const char* separator = "";
  for (const auto& member : *fields) {
    if (!is_free(member)) continue;
    append_json_string(text += separator, member.first);
    append_compact_json(text += ':', member.second);
    separator = ",";
  }
  text += '}';
}

json build_event(const Config& config, const std::string& type, const json& data) {
  return EventDraft(config, type, data).event();
}

}  // namespace zunol_monitoring
