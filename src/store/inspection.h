// What a person wants to know of a store: which events wait and for how long, and how full it is.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace zunol_monitoring {

/// One event that waits, without its payload.
struct PendingSyncRow {
  std::string event_id;
  std::string created_at;
  int attempt_count = 0;
  std::string next_attempt_at;  ///< empty: due since it was queued
  std::string last_error;
};

/// Upper bounds of the classes of age, in seconds: a minute, 10 minutes, an hour, 6 hours, a day
/// and a week. A last class holds what is older.
inline constexpr std::array<int, 6> sync_age_bounds_sec = {60, 600, 3600, 21600, 86400, 604800};

/// So many failures that the waiting time has reached its hour: an event that something is wrong
/// with, rather than a short outage.
inline constexpr int many_sync_failures = 8;

struct SyncQueueStats {
  std::int64_t pending = 0;
  std::int64_t due = 0;
  std::string oldest_pending_at;  ///< empty where nothing waits
  std::string oldest_due_at;      ///< empty where nothing is due
  /// Pending rows by age: below each of sync_age_bounds_sec, and the rest.
  std::array<std::int64_t, sync_age_bounds_sec.size() + 1> by_age = {};
  std::int64_t failed_often = 0;  ///< rows with many_sync_failures or more
};

struct TableRows {
  std::string table;
  std::int64_t rows = 0;
};

}  // namespace zunol_monitoring
