// Which rows of the outbox a delivery takes, beyond what the operations of a daemon offer.
#pragma once

#include <string>
#include <vector>

#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {

/// The pending rows that are due at the time `at`, oldest first, at most `limit`.
std::vector<VornSyncItem> list_due_sync_events(SqliteStore& store, int limit,
                                               const std::string& at);

/// Ends the waiting of every pending row for its next attempt.
void make_sync_events_due(SqliteStore& store);

}  // namespace zunol_monitoring
