#include "ctl/event_intake.h"

#include <sqlite3.h>

#include <stdexcept>

#include "events/event_draft.h"
#include "history/spool_name.h"
#include "store/connection.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

/// An event has some dozens; each takes up to a hundred bytes of memory.
constexpr std::size_t most_values = 1'000'000;

/// How many values a JSON text has at most, told by its punctuation without building them.
std::size_t count_values(const std::string& text) {
  std::size_t count = 1;
  bool in_string = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') in_string = !in_string;
    if (in_string && text[i] == '\\') ++i;
    if (!in_string && (text[i] == ',' || text[i] == '[' || text[i] == '{')) ++count;
  }
  return count;
}

}  // namespace

json parse_data(const std::string& text) {
  if (count_values(text) > most_values) {
    throw std::runtime_error("the data has more than " + std::to_string(most_values) + " values");
  }
  try {
    return json::parse(text);
  } catch (const json::parse_error& error) {
    throw std::runtime_error("the data is no JSON: " + std::string(error.what()));
  }
}

json event_data(json data, const std::optional<std::string>& level,
                const std::optional<std::string>& id) {
  if (!level && !id) return data;
  if (!data.is_object()) data = json{{"value", std::move(data)}};
  if (level) data["level"] = *level;
  if (id) data["event_id"] = *id;
  return data;
}

std::size_t longest_id_bytes(const VornConfig& vorn) {
  constexpr std::size_t longest_marker_id = 252;
  return vorn.transport == "spool" ? longest_spool_id : longest_marker_id;
}

void require_good_event(const Config& config, const std::string& type, const json& data) {
  const EventDraft draft(config, type, data);
  if (const auto reason = draft.fault()) throw std::runtime_error("invalid event: " + *reason);
  const std::string& id = draft.event_id();
  if (const std::size_t longest = longest_id_bytes(config.vorn); id.size() > longest) {
    throw std::runtime_error("the id is longer than " + std::to_string(longest) +
                             " bytes, and no marker or spool file could have its name");
  }
  if (sanitize_path_component(id) != id) {
    throw std::runtime_error(
        "the id has other characters than letters, digits, \"-\", \".\" and \"_\", and would share "
        "its marker with other ids");
  }
}

std::vector<std::string> dropped_keys(const json& data) {
  std::vector<std::string> dropped;
  for (const char* key : {"schema", "agent_id", "project_id", "server_name", "type"}) {
    if (data.is_object() && data.contains(key)) dropped.emplace_back(key);
  }
  return dropped;
}

QueuedEvent queue_event(const Config& config, SqliteStore& store, const std::string& type,
                        const json& data) {
  const EnqueueResult result = QueueingVornHistoryWriter(config, store).try_enqueue(type, data);
  return {.event_id = result.event_id, .queued = sqlite3_changes(StoreConnection::of(store)) > 0};
}

}  // namespace zunol_monitoring::ctl
