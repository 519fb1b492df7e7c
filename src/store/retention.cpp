// What leaves the store, and when: resolved incidents beyond a fixed number on every run, all else
// only when the store has outgrown its limit.
#include <algorithm>
#include <string>
#include <system_error>

#include "store/connection.h"
#include "store/inspection.h"
#include "store/statement.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

constexpr int rows_kept_by_stage_1 = 10000;
constexpr int rows_kept_by_stage_2 = 1000;

/// 0 for what is missing, unreadable or no regular file.
std::uint64_t regular_file_size(const std::filesystem::path& file) {
  std::error_code failed;
  if (!std::filesystem::is_regular_file(file, failed)) return 0;
  const std::uintmax_t size = std::filesystem::file_size(file, failed);
  return failed ? 0 : size;
}

void keep_newest(SqliteStore& store, const std::string& table, int rows) {
  store.exec("DELETE FROM " + table + " WHERE id NOT IN (SELECT id FROM " + table +
             " ORDER BY id DESC LIMIT " + std::to_string(rows) + ")");
}

/// Gives the space of deleted rows back to the file system.
void compact(SqliteStore& store) {
  store.exec("PRAGMA wal_checkpoint(TRUNCATE)");
  store.exec("VACUUM");
}

}  // namespace

void SqliteStore::prune_resolved_incidents(int keep) {
  if (keep <= 0) return;
  Statement(db,
            "DELETE FROM incidents WHERE id IN (SELECT id FROM incidents WHERE status IN "
            "('resolved','auto_resolved') ORDER BY last_seen_at DESC LIMIT -1 OFFSET ?)")
      .bind(keep)
      .run();
}

std::uint64_t store_size_bytes(const std::filesystem::path& file) {
  std::uint64_t size = 0;
  for (const char* suffix : {"", "-wal", "-shm"}) size += regular_file_size(file.string() + suffix);
  return size;
}

std::uint64_t SqliteStore::local_size_bytes() const { return store_size_bytes(path); }

void SqliteStore::run_maintenance(int keep_resolved, std::uint64_t max_bytes) {
  StoreConnection::of(*this);  // the statements below could not say that there is none
  prune_resolved_incidents(keep_resolved);
  if (max_bytes == 0 || local_size_bytes() <= max_bytes) return;

  keep_newest(*this, "check_results", rows_kept_by_stage_1);
  exec("DELETE FROM incident_events WHERE incident_id NOT IN (SELECT id FROM incidents)");
  keep_newest(*this, "agent_journal", rows_kept_by_stage_1);
  exec("DELETE FROM notification_queue WHERE status!='pending'");
  exec("DELETE FROM vorn_sync_queue WHERE status='sent'");
  compact(*this);
  if (local_size_bytes() <= max_bytes) return;

  keep_newest(*this, "check_results", rows_kept_by_stage_2);
  keep_newest(*this, "agent_journal", rows_kept_by_stage_2);
  compact(*this);
}

MaintenanceGain SqliteStore::maintenance_gain(int keep_resolved, std::uint64_t max_bytes) {
  const auto figure = [this](const std::string& sql) {
    Statement query(db, sql);
    return query.next_or_raise() ? query.integer64(0) : 0;
  };
  const auto beyond = [&](const std::string& table, const std::string& rows, std::int64_t kept) {
    return std::max<std::int64_t>(0, figure("SELECT count(*) FROM " + table + rows) - kept);
  };
  MaintenanceGain gain;
  if (keep_resolved > 0) {
    gain.rows = beyond("incidents", " WHERE status IN ('resolved','auto_resolved')", keep_resolved);
  }
  if (max_bytes == 0 || local_size_bytes() <= max_bytes) return gain;

  gain.rows +=
      beyond("check_results", "", rows_kept_by_stage_2) +
      beyond("agent_journal", "", rows_kept_by_stage_2) +
      beyond("incident_events", " WHERE incident_id NOT IN (SELECT id FROM incidents)", 0) +
      beyond("notification_queue", " WHERE status!='pending'", 0) +
      beyond("vorn_sync_queue", " WHERE status='sent'", 0);
  gain.free_bytes = static_cast<std::uint64_t>(figure("PRAGMA freelist_count")) *
                    static_cast<std::uint64_t>(figure("PRAGMA page_size"));
  return gain;
}

}  // namespace zunol_monitoring
