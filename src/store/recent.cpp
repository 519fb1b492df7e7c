#include "store/recent.h"

#include "store/statement.h"

namespace zunol_monitoring {

RowIds open_incident_ids(sqlite3* db, int limit) {
  return Statement(db,
                   "SELECT rowid FROM incidents WHERE status NOT IN ('resolved','auto_resolved') "
                   "ORDER BY level='critical' DESC, level='warning' DESC, last_seen_at DESC, rowid "
                   "LIMIT ?")
      .bind(limit)
      .row_ids();
}

std::int64_t count_open_critical_incidents(sqlite3* db) {
  Statement rows(db,
                 "SELECT count(*) FROM incidents WHERE status NOT IN ('resolved','auto_resolved') "
                 "AND level='critical'");
  return rows.next_or_raise() ? rows.integer64(0) : 0;
}

RowIds journal_ids_since(sqlite3* db, const std::string& since, int limit) {
  return Statement(db, "SELECT id FROM agent_journal WHERE created_at>=? ORDER BY id DESC LIMIT ?")
      .bind(since, limit)
      .row_ids();
}

std::int64_t count_journal_since(sqlite3* db, const std::string& since) {
  Statement rows(db, "SELECT count(*) FROM agent_journal WHERE created_at>=?");
  return rows.bind(since).next_or_raise() ? rows.integer64(0) : 0;
}

std::vector<ResultPoint> result_points(sqlite3* db, const std::string& since,
                                       std::int64_t before_id, int limit) {
  Statement rows(db,
                 "SELECT id, substr(check_type, 1, 100), substr(check_name, 1, 100), "
                 "substr(target, 1, 100), state='failed', value, substr(created_at, 1, 100) FROM "
                 "check_results WHERE id<? AND created_at>=? ORDER BY id DESC LIMIT ?");
  rows.bind(before_id, since, limit);
  std::vector<ResultPoint> points;
  while (rows.next_or_raise()) {
    points.push_back({.id = rows.integer64(0),
                      .check_type = rows.text(1),
                      .check_name = rows.text(2),
                      .target = rows.text(3),
                      .failed = rows.integer(4) != 0,
                      .value = rows.real(5),
                      .created_at = rows.text(6)});
  }
  return points;
}

}  // namespace zunol_monitoring
