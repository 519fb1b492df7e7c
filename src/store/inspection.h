// What a person wants to know of a store: which events wait and for how long, what the agent
// recorded, and how full it is. All of these are for StoreView::look; they raise StoreError when a
// read fails.
//
// A listing has two steps: the row ids of all that it lists, in its order, and then the rows, some
// at a time. So no statement stays open while a page is printed, and the memory is that of a page.
// Of texts the rows have the first `longest_text` characters, or all for 0.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "zunol_monitoring/store/check_results.h"
#include "zunol_monitoring/store/incidents.h"
#include "zunol_monitoring/store/journal.h"
#include "zunol_monitoring/store/sync_queue.h"

struct sqlite3;

namespace zunol_monitoring {

using RowIds = std::vector<std::int64_t>;

/// One event that waits, without its payload.
struct PendingSyncRow {
  std::string event_id;
  std::string created_at;
  int attempt_count = 0;
  std::string next_attempt_at;  ///< empty: due
  std::string last_error;
};

/// Which pending rows are meant; the defaults mean all.
struct PendingFilter {
  int attempts = 0;   ///< so many failures or more
  std::string since;  ///< queued at this time or later
  std::string error;  ///< with this text in the last error
  std::string type;   ///< events of this type
};

/// The first `limit` of these rows, oldest first.
RowIds pending_row_ids(sqlite3* db, const PendingFilter& filter, int limit);
/// Those of the rows that are still pending, in the order of the ids.
std::vector<PendingSyncRow> pending_rows(sqlite3* db, std::span<const std::int64_t> ids,
                                         int longest_text);

/// One row whole.
struct SyncRow {
  VornSyncItem item;
  std::string next_attempt_at;
  std::string sent_at;
};
std::optional<SyncRow> find_sync_row(sqlite3* db, const std::string& event_id);

/// A reason for which events wait, and how many.
struct ErrorCount {
  std::string error;  ///< at most its first 200 characters
  std::int64_t rows = 0;
  std::string oldest_at;
};
/// Those with most rows first, at most `limit`.
std::vector<ErrorCount> count_sync_errors(sqlite3* db, int limit);

/// The key of agent_state under which the tool keeps the time of its last maintenance.
inline constexpr const char* last_maintenance_key = "zunol-monitoring-ctl.last_maintenance_at";
std::string last_maintenance_at(sqlite3* db);

/// When the last event was delivered, as far as the queue still knows; "" for never.
std::string last_success_at(sqlite3* db);

/// All incidents, those seen last first.
RowIds incident_ids(sqlite3* db);
std::vector<Incident> incidents(sqlite3* db, std::span<const std::int64_t> ids, int longest_text);
std::optional<Incident> find_incident(sqlite3* db, const std::string& id);

/// What happened to an incident.
struct TrailEvent {
  IncidentEvent event;
  std::string queue_status;  ///< of the event in the queue; empty where it is not there
};
/// All events of an incident, newest first.
RowIds incident_event_ids(sqlite3* db, const std::string& incident_id);
std::vector<TrailEvent> incident_events(sqlite3* db, std::span<const std::int64_t> ids,
                                        int longest_text);

/// The newest entries of the category, or of all for the empty one.
RowIds journal_ids(sqlite3* db, const std::string& category, int limit);
/// All entries that name an incident, newest first.
RowIds journal_ids_about(sqlite3* db, const std::string& incident_id);
std::vector<JournalEntry> journal_entries(sqlite3* db, std::span<const std::int64_t> ids,
                                          int longest_text);

/// Which results are meant; the defaults mean all.
struct ResultFilter {
  std::string check_type;
  std::string state;  ///< "ok" or "failed"
  std::string since;  ///< of this time or later
};
/// The newest of these results.
RowIds check_result_ids(sqlite3* db, const ResultFilter& filter, int limit);
std::vector<CheckResult> check_results(sqlite3* db, std::span<const std::int64_t> ids,
                                       int longest_text);

/// The results of one check on one target, of those whose time is one.
struct ResultSeries {
  std::string check_name;
  std::string check_type;  ///< it and the target: at most the first 200 characters
  std::string target;
  std::string since;  ///< only those of this time or later
  std::int64_t results = 0;
  double least = 0;
  double greatest = 0;
  std::int64_t from_sec = 0;  ///< the oldest, in seconds since 1970
  std::int64_t until_sec = 0;
};
std::vector<ResultSeries> result_series(sqlite3* db, const std::string& check_name,
                                        const std::string& since, int limit);
/// The mean of the results in each of so many equal spans of a time; nothing where there is none.
std::vector<std::optional<double>> result_means(sqlite3* db, const ResultSeries& series,
                                                std::int64_t from_sec, std::int64_t until_sec,
                                                int spans);

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
  std::string next_attempt_at;    ///< the first one of what is not due; empty where all is
  /// Pending rows by age: below each of sync_age_bounds_sec, and the rest.
  std::array<std::int64_t, sync_age_bounds_sec.size() + 1> by_age = {};
  std::int64_t failed = 0;        ///< rows whose last attempt failed
  std::int64_t failed_often = 0;  ///< rows with many_sync_failures or more
  /// Rows that wait for more than an hour, which the schedule never gives: the clock was put back.
  std::int64_t beyond_schedule = 0;
};

SyncQueueStats sync_queue_stats(sqlite3* db);
std::int64_t count_pending_sync_rows(sqlite3* db);
std::int64_t count_open_incidents(sqlite3* db);

struct TableRows {
  std::string table;
  std::int64_t rows = 0;
};

std::int64_t count_rows(sqlite3* db, const std::string& table);
/// Every table, in the order of their names.
std::vector<TableRows> count_table_rows(sqlite3* db);

/// Bytes of the database `file` and its -wal and -shm files together; 0 for what is missing,
/// unreadable or no regular file.
std::uint64_t store_size_bytes(const std::filesystem::path& file);

/// What a database is to the product.
enum class StoreKind {
  whole,    ///< it has the outbox and the incidents with the columns that they always had
  partial,  ///< some of the store's tables, or none, and nothing of others: a first start cut short
  foreign
};
StoreKind store_kind(sqlite3* db);

}  // namespace zunol_monitoring
