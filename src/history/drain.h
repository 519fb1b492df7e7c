// The delivery of all that is due, as the operator's tool does it: each row once, at a cost that
// grows with the rows and not with the queue.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "history/delivery.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {

/// Ends the waiting of the pending rows whose next attempt has come, or of `all`, in steps that
/// keep the -wal file short, so that the rows that are due stand in the order of one index. Returns
/// how many they are.
std::int64_t gather_due_rows(SqliteStore& store, bool all);

struct Drain {
  DeliveryLimits limits;
  /// Told what became of each row: delivered, or not for this reason. The drain ends behind the row
  /// for which it returns false.
  std::function<bool(const VornSyncItem& row, const std::optional<std::string>& failure)> tell;
};

/// Delivers the rows that are due now, oldest first. A row that fails is scheduled anew, and the
/// next one is tried. Rows that come meanwhile wait. Only one payload is in memory at a time.
/// Raises what the store raises, and DeliveryGivenUp, with the row as it was.
void drain_due_rows(const Config& config, SqliteStore& store, const Drain& drain);

}  // namespace zunol_monitoring
