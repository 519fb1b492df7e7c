#include "zunol_monitoring/store/sync_queue.h"

#include <sqlite3.h>

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

VornSyncItem read_sync_item(const Statement& row) {
  return {.event_id = row.text(0),
          .payload = row.text(1),
          .status = row.text(2),
          .attempt_count = row.integer(3),
          .last_error = row.text(4),
          .created_at = row.text(5)};
}

void record_failure(sqlite3* db, const std::string& error, const std::string& row, const auto& id) {
  const int failures = Statement(db, "SELECT attempt_count FROM vorn_sync_queue WHERE " + row)
                           .bind(id)
                           .first([](const Statement& found) { return found.integer(0); })
                           .value_or(0);
  const auto next_attempt =
      std::chrono::system_clock::now() + std::chrono::seconds(retry_delay_seconds(failures));
  Statement(db,
            "UPDATE vorn_sync_queue SET attempt_count=attempt_count+1, next_attempt_at=?, "
            "last_error=? WHERE " +
                row)
      .bind(utc_timestamp_iso(next_attempt), error, id)
      .run();
}

/// Such an id is no text, or one that a shell cannot pass on.
const std::string has_no_usable_id =
    "(typeof(event_id)<>'text' OR instr(CAST(event_id AS BLOB), x'00')>0)";

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
  if (include_not_due) {
    return Statement(db, select_pending + "ORDER BY created_at ASC LIMIT ?")
        .bind(limit)
        .all(read_sync_item);
  }
  return Statement(db, select_pending +
                           "AND (next_attempt_at='' OR next_attempt_at<=?) "
                           "ORDER BY created_at ASC LIMIT ?")
      .bind(utc_timestamp_iso(), limit)
      .all(read_sync_item);
}

void SqliteStore::mark_sync_event_sent(const std::string& event_id) {
  Statement(db,
            "UPDATE vorn_sync_queue SET status='sent', sent_at=?, next_attempt_at='', "
            "last_error='' WHERE event_id=?")
      .bind(utc_timestamp_iso(), event_id)
      .run();
}

void SqliteStore::record_sync_failure(const std::string& event_id, const std::string& error) {
  record_failure(db, error, "event_id=?", event_id);
}

int make_rows_due(SqliteStore& store, int limit, bool all) {
  sqlite3* db = StoreConnection::of(store);
  Statement(db,
            "UPDATE vorn_sync_queue SET next_attempt_at='' WHERE rowid IN (SELECT rowid FROM "
            "vorn_sync_queue WHERE status='pending' AND next_attempt_at>'' AND next_attempt_at<=? "
            "LIMIT ?)")
      .bind(all ? std::string("~") : utc_timestamp_iso(), limit)  // "~" is behind every time
      .run();
  return sqlite3_changes(db);
}

bool make_event_due(SqliteStore& store, const std::string& event_id) {
  sqlite3* db = StoreConnection::of(store);
  Statement(db,
            "UPDATE vorn_sync_queue SET next_attempt_at='' WHERE status='pending' AND event_id=?")
      .bind(event_id)
      .run();
  return sqlite3_changes(db) > 0;
}

std::int64_t count_gathered_rows(SqliteStore& store) {
  Statement count(StoreConnection::of(store),
                  "SELECT count(*) FROM vorn_sync_queue WHERE status='pending' AND "
                  "next_attempt_at=''");
  return count.next_or_raise() ? count.integer64(0) : 0;
}

DueRowCursor begin_due_rows(SqliteStore& store) {
  Statement last(StoreConnection::of(store), "SELECT max(rowid) FROM vorn_sync_queue");
  return {.last_id = last.next_or_raise() ? last.integer64(0) : 0};
}

std::vector<std::int64_t> next_due_row_ids(SqliteStore& store, DueRowCursor& place, int limit) {
  Statement rows(StoreConnection::of(store),
                 "SELECT rowid, created_at FROM vorn_sync_queue WHERE status='pending' AND "
                 "next_attempt_at='' AND (created_at, rowid)>(?, ?) AND rowid<=? "
                 "ORDER BY created_at, rowid LIMIT ?");
  rows.bind(place.created_at, place.id, place.last_id, limit);
  std::vector<std::int64_t> ids;
  while (rows.next_or_raise()) {
    place.id = rows.integer64(0);
    place.created_at = rows.text(1);
    ids.push_back(place.id);
  }
  return ids;
}

std::optional<DueRow> find_due_row(SqliteStore& store, std::int64_t id) {
  sqlite3* db = StoreConnection::of(store);
  Statement row(db, select_pending + "AND rowid=?");
  if (!row.bind(id).next_or_raise()) return std::nullopt;
  Statement unusable(db, "SELECT 1 FROM vorn_sync_queue WHERE rowid=? AND " + has_no_usable_id);
  return DueRow{read_sync_item(row), !unusable.bind(id).next_or_raise()};
}

void record_unusable_row(SqliteStore& store, std::int64_t id, const std::string& error) {
  record_failure(StoreConnection::of(store), error,
                 has_no_usable_id + " AND status='pending' AND rowid=?", id);
}

}  // namespace zunol_monitoring
