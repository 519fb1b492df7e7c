#include "zunol_monitoring/history/queueing_history_writer.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "events/event_draft.h"
#include "history/delivery.h"
#include "zunol_monitoring/base/clock.h"
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
  const auto log_failure = [](const VornSyncItem& row, const std::optional<std::string>& failure) {
    if (!failure) return;
    log_message(LogLevel::Warn,
                "vorn event flush failed event_id=" + row.event_id + " error=" + *failure);
  };
  return deliver_due_events(*config, *store,
                            {.due_at = utc_timestamp_iso(), .limits = limits, .tell = log_failure});
}

void QueueingVornHistoryWriter::require_same_json_library(const nlohmann::json* /*no_value*/) {}

}  // namespace zunol_monitoring
