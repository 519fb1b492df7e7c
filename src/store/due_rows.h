// The rows of the outbox by their row ids: what a drain asks beyond the operations of a daemon.
//
// Due rows without a time of a next attempt stand in the index of pending rows one behind the
// other, in the order of their queueing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {

/// Clears the time of the next attempt of at most `limit` pending rows for which it has come, or of
/// any with `all`. Returns how many it were.
int make_rows_due(SqliteStore& store, int limit, bool all);
/// Ends the waiting of one event; false where no pending row has this id.
bool make_event_due(SqliteStore& store, const std::string& event_id);
/// How many pending rows have no such time.
std::int64_t count_gathered_rows(SqliteStore& store);

/// A walk over these rows, as far as it has come. Rows that are queued later are not part of it.
struct DueRowCursor {
  std::string created_at;
  std::int64_t id = 0;
  std::int64_t last_id = 0;
};
DueRowCursor begin_due_rows(SqliteStore& store);
/// The next rows, at most `limit`, and the cursor behind them.
std::vector<std::int64_t> next_due_row_ids(SqliteStore& store, DueRowCursor& place, int limit);

struct DueRow {
  VornSyncItem item;
  /// The id is a text without a zero byte. Another hand can have put another one there, which would
  /// be taken for the event whose id it begins with.
  bool usable_id = true;
};
/// The row, where it is still pending.
std::optional<DueRow> find_due_row(SqliteStore& store, std::int64_t id);

/// As record_sync_failure, for a row without a usable id; nothing where the row has one.
void record_unusable_row(SqliteStore& store, std::int64_t id, const std::string& error);

}  // namespace zunol_monitoring
