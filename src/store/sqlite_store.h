// The agent's local database: one connection, and one operation for each SQL statement.
//
// An operation prepares its statement, binds, steps and finalises it; nothing is cached and every
// statement commits by itself. Times are UTC text in the form of utc_timestamp_iso(), and the empty
// text where the moment has not come. Failures raise std::runtime_error with SQLite's text. A
// listing that meets one while it steps ends there and returns the rows so far, and a lookup then
// finds nothing.
//
// Other connections on the same file are waited for, 10 seconds at most. One object serves one
// thread at a time.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "store/sync_queue.h"

struct sqlite3;

namespace zunol_monitoring {

class SqliteStore {
 public:
  /// A closed store. Every operation but open and close needs an open one.
  SqliteStore() = default;
  /// Opens the database and applies the schema.
  explicit SqliteStore(const std::filesystem::path& file);
  ~SqliteStore();
  SqliteStore(const SqliteStore&) = delete;
  SqliteStore& operator=(const SqliteStore&) = delete;

  /// Opens the database `file`, creating it and its directories where missing, after closing the
  /// present one. Raises the file-system library's error, or std::runtime_error with SQLite's text
  /// or "cannot open sqlite database"; the store is closed then, but stays open when only a pragma
  /// fails.
  void open(const std::filesystem::path& file);
  /// Closes the connection, if one is open.
  void close();
  /// Creates the tables, indexes and columns that are missing. What exists is left alone.
  void apply_schema();
  /// Runs SQL text that has no result. Raises SQLite's text, or "sqlite exec failed" if it has
  /// none.
  void exec(const std::string& sql);

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
  sqlite3* db = nullptr;
  std::filesystem::path path;  ///< given to the latest open
};

}  // namespace zunol_monitoring
