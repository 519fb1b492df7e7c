#include "zunol_monitoring/store/notification_queue.h"

#include "store/statement.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

NotificationQueueItem read_notification(const Statement& row) {
  return {.id = row.integer(0),
          .kind = row.text(1),
          .payload = row.text(2),
          .status = row.text(3),
          .attempt_count = row.integer(4),
          .last_error = row.text(5),
          .created_at = row.text(6)};
}

}  // namespace

void SqliteStore::enqueue_notification(const std::string& kind, const std::string& payload) {
  Statement(db,
            "INSERT INTO notification_queue(kind, payload, status, created_at) "
            "VALUES(?, ?, 'pending', ?)")
      .bind(kind, payload, utc_timestamp_iso())
      .run();
}

void SqliteStore::mark_notification_sent(int id) {
  Statement(db, "UPDATE notification_queue SET status='sent', sent_at=? WHERE id=?")
      .bind(utc_timestamp_iso(), id)
      .run();
}

void SqliteStore::record_notification_failure(int id, const std::string& error) {
  Statement(db,
            "UPDATE notification_queue SET attempt_count=attempt_count+1, last_error=? WHERE id=?")
      .bind(error, id)
      .run();
}

void SqliteStore::expire_notification(int id, const std::string& error) {
  Statement(db,
            "UPDATE notification_queue SET status='expired', last_error=?, sent_at=? WHERE id=?")
      .bind(error, utc_timestamp_iso(), id)
      .run();
}

std::vector<NotificationQueueItem> SqliteStore::list_pending_notifications(int limit) {
  return Statement(db,
                   "SELECT id, kind, payload, status, attempt_count, last_error, created_at FROM "
                   "notification_queue WHERE status='pending' ORDER BY created_at ASC LIMIT ?")
      .bind(limit)
      .all(read_notification);
}

}  // namespace zunol_monitoring
