#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "base/json_text.h"
#include "base/log.h"
#include "events/build_event.h"
#include "events/event_envelope.h"
#include "history/queueing_history_writer.h"

namespace zunol_monitoring {

void QueueingVornHistoryWriter::enqueue(const std::string& type, const nlohmann::json& data) {
  if (config->vorn.enabled) queue_event(build_event(*config, type, data));
}

void QueueingVornHistoryWriter::enqueue(const std::string& type, nlohmann::json&& data) {
  if (config->vorn.enabled) queue_event(build_event(*config, type, std::move(data)));
}

void QueueingVornHistoryWriter::queue_event(const nlohmann::json& event) const {
  if (const auto reason = validate_event(event)) {
    log_message(LogLevel::Error, "invalid vorn history event: " + *reason);
    return;
  }
  const auto& event_id = event["event_id"].get_ref<const std::string&>();
  // Read back from the queue it would end there, and be the id of another event.
  if (event_id.find('\0') != std::string::npos) {
    throw std::runtime_error("event_id holds a zero byte");
  }
  store->enqueue_sync_event(event_id, compact_json(event));
}

}  // namespace zunol_monitoring
