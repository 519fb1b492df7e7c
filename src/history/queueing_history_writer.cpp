#include "zunol_monitoring/history/queueing_history_writer.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "events/event_draft.h"
#include "history/delivery.h"
#include "zunol_monitoring/base/log.h"

namespace zunol_monitoring {

void QueueingVornHistoryWriter::enqueue(const std::string& type, const nlohmann::json& data) {
  if (!config->vorn.enabled) return;
  const auto refusal = try_enqueue(type, data).refusal;
  if (refusal) log_message(LogLevel::Error, "invalid vorn history event: " + *refusal);
}

EnqueueResult QueueingVornHistoryWriter::try_enqueue(const std::string& type,
                                                     const nlohmann::json& data) {
  if (!config->vorn.enabled) return {.refusal = "vorn.enabled=false"};
  const EventDraft draft(*config, type, data);
  if (auto reason = draft.fault()) return {.refusal = std::move(reason)};
  // Read back from the queue it would end there, and be the id of another event.
  if (draft.event_id().find('\0') != std::string::npos) {
    throw std::runtime_error("event_id holds a zero byte");
  }
  store->enqueue_sync_event(draft.event_id(), draft.text());
  return {.event_id = draft.event_id()};
}

int QueueingVornHistoryWriter::flush() { return flush(FlushLimits{}); }

int QueueingVornHistoryWriter::flush(const FlushLimits& limits) {
  if (!config->vorn.enabled) return 0;
  const int batch = config->vorn.max_batch < 1 ? default_batch : config->vorn.max_batch;
  int sent = 0;
  for (const VornSyncItem& item : store->list_sync_events(batch, false)) {
    if (config->vorn.queue_only || limits.stop.stop_requested()) break;
    try {
      deliver_event(*config, item, {.command_time = limits.command_time});
      store->mark_sync_event_sent(item.event_id);
    } catch (const std::exception& error) {
      const std::string reason = error.what();
      store->record_sync_failure(item.event_id, reason);
      log_message(LogLevel::Warn,
                  "vorn event flush failed event_id=" + item.event_id + " error=" + reason);
      continue;
    }
    ++sent;
  }
  return sent;
}

void QueueingVornHistoryWriter::require_same_json_library(const nlohmann::json* /*no_value*/) {}

}  // namespace zunol_monitoring
