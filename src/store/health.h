// What can be wrong with a store and with the events in it. All of these are for StoreView::look;
// they raise StoreError when a read fails. None holds more in memory than a row without its texts.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/inspection.h"

namespace zunol_monitoring {

/// The columns, as "table.column", and the indexes that the schema has and this database lacks.
std::vector<std::string> missing_schema(sqlite3* db);

/// Every table of the database.
std::vector<std::string> table_names(sqlite3* db);
/// SQLite's first complaint about the pages of a table and its indexes; "" for none.
std::string damage_of(sqlite3* db, const std::string& table);

/// The newest time at which anything was queued or recorded; "" for none.
std::string newest_time(sqlite3* db);

/// Pending events that have a fault in common.
struct FaultyEvents {
  std::int64_t count = 0;
  std::string example;  ///< the id of one of them, at most its first 200 characters
};
/// Those that share their marker with another event, which counts as appended once the other is.
FaultyEvents events_sharing_markers(sqlite3* db);
/// Another event with the same marker, or "".
std::string event_sharing_marker(sqlite3* db, const std::string& event_id);
struct MarkerPair {
  std::string first;
  std::string second;
};
/// Neighbours among the events, of any state, that share a marker; at most `limit` pairs.
std::vector<MarkerPair> events_with_one_marker(sqlite3* db, int limit);
/// Those whose id has more than so many bytes.
FaultyEvents events_with_long_ids(sqlite3* db, std::size_t longest_bytes);
/// Those of the rows whose payload has more than so many bytes; payloads are not read.
FaultyEvents large_events(sqlite3* db, std::span<const std::int64_t> ids, std::size_t most_bytes);

}  // namespace zunol_monitoring
