#include "store/inspection.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <set>

#include "store/connection.h"
#include "store/cut_columns.h"
#include "store/statement.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/store/sqlite_store.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring {
namespace {

std::int64_t count(Statement& rows) { return rows.next_or_raise() ? rows.integer64(0) : 0; }

/// "table.column" for each column of each table.
std::set<std::string> columns_of_tables(sqlite3* db) {
  Statement columns(db,
                    "SELECT tables.name || '.' || columns.name FROM sqlite_schema AS tables "
                    "JOIN pragma_table_info(tables.name) AS columns WHERE tables.type='table'");
  std::set<std::string> names;
  while (columns.next_or_raise()) names.insert(columns.text(0));
  return names;
}

std::set<std::string> columns_of_a_new_store() {
  const SqliteStore fresh(":memory:");
  return columns_of_tables(StoreConnection::of(fresh));
}

/// Whether a view, which may have no end, stands in the place of one of our tables.
bool has_view_as_table(sqlite3* db) {
  Statement views(db, "SELECT lower(name) FROM sqlite_schema WHERE type='view'");
  std::set<std::string> ours;
  while (views.next_or_raise()) {
    if (ours.empty()) ours = columns_of_a_new_store();
    const std::string begin = views.text(0) + '.';
    const auto column = ours.lower_bound(begin);
    if (column != ours.end() && column->starts_with(begin)) return true;
  }
  return false;
}

}  // namespace

RowIds pending_row_ids(sqlite3* db, const PendingFilter& filter, int limit) {
  if (filter.attempts == 0 && filter.since.empty() && filter.error.empty() && filter.type.empty()) {
    return Statement(db,
                     "SELECT rowid FROM vorn_sync_queue WHERE status='pending' ORDER BY "
                     "created_at, rowid LIMIT ?")
        .bind(limit)
        .row_ids();
  }
  return Statement(db,
                   "SELECT rowid FROM vorn_sync_queue WHERE status='pending' AND "
                   "attempt_count>=?1 AND created_at>=?2 AND (?3='' OR instr(last_error, ?3)>0) "
                   "AND (?4='' OR iif(json_valid(payload), json_extract(payload, '$.type'), '')=?4)"
                   " ORDER BY created_at, rowid LIMIT ?5")
      .bind(filter.attempts, filter.since, filter.error, filter.type, limit)
      .row_ids();
}

std::vector<PendingSyncRow> pending_rows(sqlite3* db, std::span<const std::int64_t> ids,
                                         int longest_text) {
  Statement row(db, "SELECT " +
                        cut_columns("event_id, created_at, attempt_count, next_attempt_at, "
                                    "last_error",
                                    longest_text) +
                        " FROM vorn_sync_queue WHERE rowid=? AND status='pending'");
  return row.each(ids, [](const Statement& found) {
    return PendingSyncRow{.event_id = found.text(0),
                          .created_at = found.text(1),
                          .attempt_count = found.integer(2),
                          .next_attempt_at = found.text(3),
                          .last_error = found.text(4)};
  });
}

std::optional<SyncRow> find_sync_row(sqlite3* db, const std::string& event_id) {
  Statement row(db,
                "SELECT event_id, payload, status, attempt_count, last_error, created_at, "
                "next_attempt_at, sent_at FROM vorn_sync_queue WHERE event_id=?");
  if (!row.bind(event_id).next_or_raise()) return std::nullopt;
  return SyncRow{.item = {.event_id = row.text(0),
                          .payload = row.text(1),
                          .status = row.text(2),
                          .attempt_count = row.integer(3),
                          .last_error = row.text(4),
                          .created_at = row.text(5)},
                 .next_attempt_at = row.text(6),
                 .sent_at = row.text(7)};
}

std::vector<ErrorCount> count_sync_errors(sqlite3* db, int limit) {
  Statement errors(db,
                   "SELECT substr(last_error, 1, 200), count(*), min(created_at) FROM "
                   "vorn_sync_queue WHERE status='pending' AND last_error<>'' GROUP BY 1 "
                   "ORDER BY 2 DESC, 1 LIMIT ?");
  errors.bind(limit);
  std::vector<ErrorCount> counts;
  while (errors.next_or_raise()) {
    counts.push_back({errors.text(0), errors.integer64(1), errors.text(2)});
  }
  return counts;
}

std::string last_maintenance_at(sqlite3* db) {
  Statement last(db, "SELECT value FROM agent_state WHERE key=?");
  return last.bind(std::string(last_maintenance_key)).next_or_raise() ? last.text(0) : "";
}

std::string last_success_at(sqlite3* db) {
  Statement last(db, "SELECT max(sent_at) FROM vorn_sync_queue WHERE status='sent'");
  return last.next_or_raise() ? last.text(0) : "";
}

std::int64_t count_pending_sync_rows(sqlite3* db) {
  Statement rows(db, "SELECT count(*) FROM vorn_sync_queue WHERE status='pending'");
  return count(rows);
}

std::int64_t count_open_incidents(sqlite3* db) {
  Statement rows(db,
                 "SELECT count(*) FROM incidents WHERE status NOT IN ('resolved','auto_resolved')");
  return count(rows);
}

SyncQueueStats sync_queue_stats(sqlite3* db) {
  const auto now = std::chrono::system_clock::now();
  // All that this one asks stands in the index of pending rows.
  Statement ages(db,
                 "SELECT count(*), min(created_at), sum(next_attempt_at<=?1), "
                 "min(iif(next_attempt_at<=?1, created_at, NULL)), sum(created_at>?2), "
                 "sum(created_at>?3), sum(created_at>?4), sum(created_at>?5), sum(created_at>?6), "
                 "sum(created_at>?7), min(iif(next_attempt_at>?1, next_attempt_at, NULL)), "
                 "sum(next_attempt_at>?8) FROM "
                 "vorn_sync_queue WHERE status='pending'");
  const auto ago = [now](std::size_t index) {
    return utc_timestamp_iso(now - std::chrono::seconds(sync_age_bounds_sec[index]));
  };
  ages.bind(utc_timestamp_iso(now), ago(0), ago(1), ago(2), ago(3), ago(4), ago(5),
            utc_timestamp_iso(now + std::chrono::seconds(retry_delay_seconds(many_sync_failures))));
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
    constexpr int behind_ages = 4 + static_cast<int>(sync_age_bounds_sec.size());
    stats.next_attempt_at = ages.text(behind_ages);
    stats.beyond_schedule = ages.integer64(behind_ages + 1);
  }
  // The attempts do not: reading the table through is cheaper than finding each row by the index.
  Statement failed(db,
                   "SELECT count(*), sum(attempt_count>=?) FROM vorn_sync_queue NOT INDEXED WHERE "
                   "status='pending' AND attempt_count>0");
  failed.bind(many_sync_failures);
  if (failed.next_or_raise()) {
    stats.failed = failed.integer64(0);
    stats.failed_often = failed.integer64(1);
  }
  return stats;
}

std::int64_t count_rows(sqlite3* db, const std::string& table) {
  std::string quoted;
  for (const char byte : table) quoted.append(byte == '"' ? 2 : 1, byte);
  Statement rows(db, "SELECT count(*) FROM \"" + quoted + '"');
  return count(rows);
}

std::vector<TableRows> count_table_rows(sqlite3* db) {
  Statement tables(db,
                   "SELECT name FROM sqlite_schema WHERE type='table' "
                   "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name");
  std::vector<TableRows> counts;
  while (tables.next_or_raise()) {
    counts.push_back({tables.text(0), count_rows(db, tables.text(0))});
  }
  return counts;
}

StoreKind store_kind(sqlite3* db) {
  const std::set<std::string> columns = columns_of_tables(db);
  const std::set<std::string> oldest = {"incidents.fingerprint",    "incidents.id",
                                        "incidents.last_seen_at",   "vorn_sync_queue.created_at",
                                        "vorn_sync_queue.event_id", "vorn_sync_queue.payload",
                                        "vorn_sync_queue.status"};
  if (std::ranges::includes(columns, oldest)) {
    return has_view_as_table(db) ? StoreKind::foreign : StoreKind::whole;
  }
  Statement others(db, "SELECT 1 FROM sqlite_schema WHERE type NOT IN ('table', 'index') LIMIT 1");
  if (others.next_or_raise()) return StoreKind::foreign;
  return std::ranges::includes(columns_of_a_new_store(), columns) ? StoreKind::partial
                                                                  : StoreKind::foreign;
}

}  // namespace zunol_monitoring
