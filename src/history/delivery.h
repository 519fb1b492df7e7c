// One delivery of due rows of the outbox, with what the operator's tool asks of it beyond a flush.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "zunol_monitoring/history/queueing_history_writer.h"

namespace zunol_monitoring {

struct Delivery {
  std::string due_at;  ///< the rows that are due at this time; one that fails is not any more
  FlushLimits limits;
  /// Told what became of each row: delivered (no failure) or not, for this reason. What it raises
  /// ends the delivery behind that row.
  std::function<void(const VornSyncItem& row, const std::optional<std::string>& failure)> tell;
};

/// What QueueingVornHistoryWriter::flush does, but tells each row's outcome in place of a log line.
int deliver_due_events(const Config& config, SqliteStore& store, const Delivery& delivery);

}  // namespace zunol_monitoring
