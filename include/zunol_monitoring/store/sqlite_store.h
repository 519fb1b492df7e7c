// The agent's local database: one connection, and one operation for each SQL statement.
//
// An operation prepares its statement, binds, steps and finalises it; nothing is cached and every
// statement commits by itself. Times are UTC text in the form of utc_timestamp_iso(), and the empty
// text where the moment has not come.
//
// Failures raise StoreError with SQLite's text; "the store is closed" without a connection. A
// listing that meets one while it steps logs "store listing cut short: " and the text at level
// Error and returns the rows so far; a lookup then finds nothing.
//
// A statement that finds the database locked waits for the other connection, 10 seconds at most in
// most cases; SQLite refuses at once where waiting could not help. One object serves one thread at
// a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "zunol_monitoring/store/check_results.h"
#include "zunol_monitoring/store/incidents.h"
#include "zunol_monitoring/store/journal.h"
#include "zunol_monitoring/store/notification_queue.h"
#include "zunol_monitoring/store/store_error.h"
#include "zunol_monitoring/store/sync_queue.h"

struct sqlite3;

namespace zunol_monitoring {

/// What a maintenance would free.
struct MaintenanceGain {
  std::int64_t rows = 0;  ///< that it would delete at most, without the trails of its incidents
  std::uint64_t free_bytes = 0;  ///< of the database file, which hold nothing and would go
};

class SqliteStore {
 public:
  /// A closed store.
  SqliteStore() = default;
  /// Opens the database and applies the schema.
  explicit SqliteStore(const std::filesystem::path& file);
  ~SqliteStore();
  /// The other store is closed then.
  SqliteStore(SqliteStore&& other) noexcept;
  SqliteStore& operator=(SqliteStore&& other) noexcept;

  /// Opens the database `file`, creating it and its directories where missing, after closing the
  /// present one, and turns it to write-ahead mode. Raises the file-system library's error, or
  /// StoreError with SQLite's text or "cannot open sqlite database"; the store is closed then, but
  /// stays open when only a pragma fails.
  void open(const std::filesystem::path& file);
  /// Closes the connection, if one is open.
  void close();
  /// Creates the tables and indexes that are missing, and adds the columns that older databases
  /// lack. What exists is left alone.
  void apply_schema();
  /// Runs SQL text that has no result. Raises SQLite's text, or "sqlite exec failed" if it has
  /// none, as on a closed store.
  void exec(const std::string& sql);

  // Incidents and their trail (store/incidents.h).

  /// Raises when the id exists.
  void insert_incident(const Incident& incident);
  /// An incident was seen again: takes its level, title, message, current value and last_seen_at,
  /// and counts one repeat more than the store has. No row is no error.
  void update_incident_occurrence(const Incident& incident);
  /// Sets the status and resolved_at, and last_seen_at to the present. No row is no error.
  void set_incident_status(const std::string& id, IncidentStatus status,
                           const std::string& resolved_at);
  int count_open_incidents();
  std::optional<Incident> find_incident(const std::string& id);
  /// The open incident of this fingerprint that was seen last.
  std::optional<Incident> find_open_incident(const std::string& fingerprint);
  /// Open and resolved ones, those seen last first. In this and all other listings but the journal,
  /// a negative limit is no limit.
  std::vector<Incident> list_incidents(int limit);
  /// An event id that exists keeps its first event.
  void insert_incident_event(const IncidentEvent& event);
  /// Newest first.
  std::vector<IncidentEvent> list_incident_events(const std::string& incident_id, int limit);

  // Notifications (store/notification_queue.h). An id without a row is no error.

  void enqueue_notification(const std::string& kind, const std::string& payload);
  void mark_notification_sent(int id);
  /// Counts a failed attempt; the row stays pending.
  void record_notification_failure(int id, const std::string& error);
  /// Gives a notification up, for this reason; sent_at becomes the time of giving up.
  void expire_notification(int id, const std::string& error);
  /// Oldest first.
  std::vector<NotificationQueueItem> list_pending_notifications(int limit);

  // The agent's journal (store/journal.h).

  void append_journal(const std::string& category, const std::string& action,
                      const std::string& status, const std::string& message,
                      const std::string& details);
  /// The entries of the category, or all for the empty one, in the order of writing, the newest
  /// first. A limit outside 1 to max_journal_listing becomes the nearer of the two.
  std::vector<JournalEntry> list_journal(int limit, const std::string& category);

  // The agent's state, a text for each key.

  void set_state(const std::string& key, const std::string& value);
  /// `fallback` for a key without a row; a row's value may be empty.
  std::string get_state(const std::string& key, const std::string& fallback);

  // Results of checks (store/check_results.h).

  /// Raises the JSON library's error for a label that is no UTF-8.
  void insert_check_result(const CheckResult& result);
  /// The results of the type, or all for the empty one, by created_at, the newest first.
  std::vector<CheckResult> list_check_results(int limit, const std::string& check_type);
  // Over the values of a check on all its targets, from the time `since` on; nothing where there is
  // none.
  std::optional<double> average_check_value(const std::string& check_type,
                                            const std::string& check_name,
                                            const std::string& since);
  std::optional<double> max_check_value(const std::string& check_type,
                                        const std::string& check_name, const std::string& since);

  // Retention (store/retention.cpp).

  /// Deletes the resolved incidents but the `keep` ones seen last; none when `keep` is not
  /// positive.
  void prune_resolved_incidents(int keep);
  /// Bytes of the database file and its -wal and -shm files together, by the path given to open.
  std::uint64_t local_size_bytes() const;
  /// Prunes the resolved incidents and, when the store is larger than max_bytes (0: no limit), cuts
  /// it down in two stages. Stage 1 keeps the newest 10,000 results and journal entries, and drops
  /// the events of deleted incidents, notifications that are not pending and sync rows that are
  /// sent. If that is not enough, stage 2 keeps 1,000. What is pending or open is never given up.
  ///
  /// A stage ends in a checkpoint and a VACUUM, whose result stands in the -wal file at first. So
  /// the size after stage 1 counts the remaining data once more, and where that is little, the
  /// database file even at its old size: stage 2 can follow although the data would fit. A reader
  /// in the way makes the checkpoint wait its 10 seconds and go without it. Each statement commits
  /// by itself: after a failure the next run does the rest.
  void run_maintenance(int keep_resolved, std::uint64_t max_bytes);
  /// What run_maintenance would free now: with nothing to free it would rewrite the database for
  /// nothing, and others would wait for it. Within the limit these are the resolved incidents only.
  MaintenanceGain maintenance_gain(int keep_resolved, std::uint64_t max_bytes);

  // The outbox of the history writer (store/sync_queue.h).

  /// Queues an event. An id that is in the queue already, pending or sent, changes nothing.
  void enqueue_sync_event(const std::string& event_id, const std::string& payload);
  /// Pending rows, oldest first, at most `limit`: those that are due, or all of them.
  std::vector<VornSyncItem> list_sync_events(int limit, bool include_not_due);
  /// Marks a row sent and clears its schedule and error; its attempts stay. No row is no error.
  void mark_sync_event_sent(const std::string& event_id);
  /// Counts a failed attempt and schedules the next one. No row is no error.
  void record_sync_failure(const std::string& event_id, const std::string& error);

 private:
  friend struct StoreConnection;

  sqlite3* db = nullptr;
  std::filesystem::path path;  ///< given to the latest open
};

}  // namespace zunol_monitoring
