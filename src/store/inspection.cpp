#include "store/inspection.h"

#include <chrono>
#include <cstddef>

#include "base/clock.h"
#include "store/sqlite_store.h"
#include "store/statement.h"

namespace zunol_monitoring {

void SqliteStore::visit_pending_sync_rows(int limit,
                                          const std::function<void(const PendingSyncRow&)>& take) {
  // Which rows they are stands in the index; only those are read.
  Statement rows(db,
                 "SELECT event_id, created_at, attempt_count, next_attempt_at, last_error FROM "
                 "vorn_sync_queue WHERE rowid IN (SELECT rowid FROM vorn_sync_queue WHERE "
                 "status='pending' ORDER BY created_at LIMIT ?) ORDER BY created_at");
  rows.bind(limit);
  while (rows.next_or_raise()) {
    take({.event_id = rows.text(0),
          .created_at = rows.text(1),
          .attempt_count = rows.integer(2),
          .next_attempt_at = rows.text(3),
          .last_error = rows.text(4)});
  }
}

std::int64_t SqliteStore::count_pending_sync_rows() {
  Statement count(db, "SELECT count(*) FROM vorn_sync_queue WHERE status='pending'");
  return count.next_or_raise() ? count.integer64(0) : 0;
}

SyncQueueStats SqliteStore::sync_queue_stats() {
  const auto now = std::chrono::system_clock::now();
  // All that this one asks stands in the index of pending rows.
  Statement ages(db,
                 "SELECT count(*), min(created_at), sum(next_attempt_at<=?1), "
                 "min(iif(next_attempt_at<=?1, created_at, NULL)), sum(created_at>?2), "
                 "sum(created_at>?3), sum(created_at>?4), sum(created_at>?5), sum(created_at>?6), "
                 "sum(created_at>?7) FROM vorn_sync_queue WHERE status='pending'");
  const auto ago = [now](std::size_t index) {
    return utc_timestamp_iso(now - std::chrono::seconds(sync_age_bounds_sec[index]));
  };
  ages.bind(utc_timestamp_iso(now), ago(0), ago(1), ago(2), ago(3), ago(4), ago(5));
  SyncQueueStats stats;
  if (ages.next_or_raise()) {
    stats.pending = ages.integer64(0);
    stats.oldest_pending_at = ages.text(1);
    stats.due = ages.integer64(2);
    stats.oldest_due_at = ages.text(3);
    std::int64_t younger = 0;
    for (std::size_t i = 0; i < sync_age_bounds_sec.size(); ++i) {
      const std::int64_t below = ages.integer64(static_cast<int>(4 + i));
      stats.by_age[i] = below - younger;
      younger = below;
    }
    stats.by_age.back() = stats.pending - younger;
  }
  // The attempts do not: reading the table through is cheaper than finding each row by the index.
  Statement failed(db,
                   "SELECT count(*) FROM vorn_sync_queue NOT INDEXED WHERE status='pending' AND "
                   "attempt_count>=?");
  failed.bind(many_sync_failures);
  if (failed.next_or_raise()) stats.failed_often = failed.integer64(0);
  return stats;
}

std::vector<TableRows> SqliteStore::count_table_rows() {
  std::vector<TableRows> counts;
  Statement tables(db,
                   "SELECT name, replace(name, '\"', '\"\"') FROM sqlite_schema WHERE type='table' "
                   "AND name NOT LIKE "
                   "'sqlite\\_%' ESCAPE '\\' ORDER BY name");
  while (tables.next_or_raise()) {
    Statement rows(db, "SELECT count(*) FROM \"" + tables.text(1) + '"');
    counts.push_back({tables.text(0), rows.next_or_raise() ? rows.integer64(0) : 0});
  }
  return counts;
}

}  // namespace zunol_monitoring
