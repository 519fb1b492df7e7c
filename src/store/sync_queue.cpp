#include "zunol_monitoring/store/sync_queue.h"

#include <algorithm>
#include <chrono>

#include "store/connection.h"
#include "store/due_rows.h"
#include "store/statement.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

const std::string select_pending =
    "SELECT event_id, payload, status, attempt_count, last_error, created_at "
    "FROM vorn_sync_queue WHERE status='pending' ";

VornSyncItem read_item(const Statement& row) {
  return {.event_id = row.text(0),
          .payload = row.text(1),
          .status = row.text(2),
          .attempt_count = row.integer(3),
          .last_error = row.text(4),
          .created_at = row.text(5)};
}

}  // namespace

int retry_delay_seconds(int failures) { return std::min(3600, 30 << std::clamp(failures, 0, 7)); }

void SqliteStore::enqueue_sync_event(const std::string& event_id, const std::string& payload) {
  Statement(db,
            "INSERT OR IGNORE INTO vorn_sync_queue(event_id, payload, status, created_at) "
            "VALUES(?, ?, 'pending', ?)")
      .bind(event_id, payload, utc_timestamp_iso())
      .run();
}

std::vector<VornSyncItem> SqliteStore::list_sync_events(int limit, bool include_not_due) {
  if (!include_not_due) return list_due_sync_events(*this, limit, utc_timestamp_iso());
  return Statement(db, select_pending + "ORDER BY created_at ASC LIMIT ?")
      .bind(limit)
      .all(read_item);
}

std::vector<VornSyncItem> list_due_sync_events(SqliteStore& store, int limit,
                                               const std::string& at) {
  return Statement(StoreConnection::of(store),
                   select_pending +
                       "AND (next_attempt_at='' OR next_attempt_at<=?) "
                       "ORDER BY created_at ASC LIMIT ?")
      .bind(at, limit)
      .all(read_item);
}

void SqliteStore::mark_sync_event_sent(const std::string& event_id) {
  Statement(db,
            "UPDATE vorn_sync_queue SET status='sent', sent_at=?, next_attempt_at='', "
            "last_error='' WHERE event_id=?")
      .bind(utc_timestamp_iso(), event_id)
      .run();
}

void SqliteStore::record_sync_failure(const std::string& event_id, const std::string& error) {
  const int failures = Statement(db, "SELECT attempt_count FROM vorn_sync_queue WHERE event_id=?")
                           .bind(event_id)
                           .first([](const Statement& row) { return row.integer(0); })
                           .value_or(0);
  const auto next_attempt =
      std::chrono::system_clock::now() + std::chrono::seconds(retry_delay_seconds(failures));
  Statement(db,
            "UPDATE vorn_sync_queue SET attempt_count=attempt_count+1, next_attempt_at=?, "
            "last_error=? WHERE event_id=?")
      .bind(utc_timestamp_iso(next_attempt), error, event_id)
      .run();
}

void make_sync_events_due(SqliteStore& store) {
  Statement(StoreConnection::of(store),
            "UPDATE vorn_sync_queue SET next_attempt_at='' WHERE status='pending'")
      .run();
}

}  // namespace zunol_monitoring
