#include <nlohmann/json.hpp>

#include "base/log.h"
#include "events/build_event.h"
#include "events/event_envelope.h"
#include "history/queueing_history_writer.h"

namespace zunol_monitoring {

void QueueingVornHistoryWriter::enqueue(const std::string& type, const nlohmann::json& data) {
  if (!config->vorn.enabled) return;
  const nlohmann::json event = build_event(*config, type, data);
  if (const auto reason = validate_event(event)) {
    log_message(LogLevel::Error, "invalid vorn history event: " + *reason);
    return;
  }
  store->enqueue_sync_event(event["event_id"].get_ref<const std::string&>(), event.dump());
}

}  // namespace zunol_monitoring
