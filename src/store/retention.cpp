// What leaves the store, and when: resolved incidents beyond a fixed number on every run, all else
// only when the store has outgrown its limit.
#include <string>
#include <system_error>

#include "store/sqlite_store.h"
#include "store/statement.h"

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

std::uint64_t SqliteStore::local_size_bytes() const {
  std::uint64_t size = 0;
  for (const char* suffix : {"", "-wal", "-shm"}) {
    size += regular_file_size(path.string() + suffix);
  }
  return size;
}

void SqliteStore::run_maintenance(int keep_resolved, std::uint64_t max_bytes) {
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

}  // namespace zunol_monitoring
