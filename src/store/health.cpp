#include "store/health.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>

#include "store/connection.h"
#include "store/statement.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

std::vector<std::string> texts(Statement& rows) {
  std::vector<std::string> found;
  while (rows.next_or_raise()) found.push_back(rows.text(0));
  return found;
}

/// In order, so that two of them can be compared.
std::vector<std::string> schema_parts(sqlite3* db) {
  Statement parts(db,
                  "SELECT tables.name || '.' || columns.name FROM sqlite_schema AS tables "
                  "JOIN pragma_table_info(tables.name) AS columns WHERE tables.type='table' AND "
                  "tables.name<>'sqlite_sequence' UNION ALL SELECT name FROM sqlite_schema WHERE "
                  "type='index' AND sql IS NOT NULL ORDER BY 1");
  return texts(parts);
}

/// marker_name(id): the name that ids have in common whose marker is the same.
void marker_name(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  const auto* id = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
  const std::string name = sanitize_path_component(id == nullptr ? "" : id);
  sqlite3_result_text64(context, name.c_str(), name.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void require(sqlite3* db, int result) {
  if (result != SQLITE_OK) throw StoreError(sqlite3_errmsg(db), result);
}

void add_marker_name(sqlite3* db) {
  require(db, sqlite3_create_function_v2(db, "marker_name", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                         nullptr, marker_name, nullptr, nullptr, nullptr));
}

/// An id of which marker_name is another text. All that share a marker but one are such.
const std::string odd_id = "event_id GLOB '*[^-.0-9A-Z_a-z]*'";

FaultyEvents read_faulty(Statement& query) {
  if (!query.next_or_raise()) return {};
  return {.count = query.integer64(0), .example = query.text(1)};
}

struct BlobCloser {
  void operator()(sqlite3_blob* blob) const { sqlite3_blob_close(blob); }
};

/// The length of payloads without reading them.
class PayloadSizes {
 public:
  explicit PayloadSizes(sqlite3* db) : db_(db) {}

  /// 0 for a payload that is no text, and for a row that has gone.
  std::size_t of(std::int64_t row) {
    if (!blob_ || sqlite3_blob_reopen(blob_.get(), row) != SQLITE_OK) open(row);
    return blob_ ? static_cast<std::size_t>(sqlite3_blob_bytes(blob_.get())) : 0;
  }

 private:
  void open(std::int64_t row) {
    blob_.reset();
    sqlite3_blob* blob = nullptr;
    const int result = sqlite3_blob_open(db_, "main", "vorn_sync_queue", "payload", row, 0, &blob);
    if (result == SQLITE_OK) {
      blob_.reset(blob);
    } else if (result != SQLITE_ERROR) {  // which says that the row has no such value
      require(db_, result);
    }
  }

  sqlite3* db_;
  std::unique_ptr<sqlite3_blob, BlobCloser> blob_;
};

}  // namespace

std::vector<std::string> missing_schema(sqlite3* db) {
  const SqliteStore fresh(":memory:");
  const auto wanted = schema_parts(StoreConnection::of(fresh));
  const auto there = schema_parts(db);
  std::vector<std::string> missing;
  std::ranges::set_difference(wanted, there, std::back_inserter(missing));
  return missing;
}

std::vector<std::string> table_names(sqlite3* db) {
  Statement names(db, "SELECT name FROM sqlite_schema WHERE type='table' ORDER BY name");
  return texts(names);
}

std::string damage_of(sqlite3* db, const std::string& table) {
  Statement check(db, "SELECT quick_check FROM pragma_quick_check(?)");
  if (!check.bind(table).next_or_raise()) return "";
  const std::string complaint = check.text(0);
  return complaint == "ok" ? "" : complaint;
}

std::string newest_time(sqlite3* db) {
  // Each maximum is the end of an index. What begins with no digit is no time.
  Statement newest(db,
                   "SELECT max(at) FROM (SELECT max(created_at) AS at FROM vorn_sync_queue WHERE "
                   "created_at<':' UNION ALL SELECT max(created_at) FROM agent_journal WHERE "
                   "created_at<':' UNION ALL SELECT max(last_seen_at) FROM incidents WHERE "
                   "last_seen_at<':')");
  return newest.next_or_raise() ? newest.text(0) : "";
}

FaultyEvents events_sharing_markers(sqlite3* db) {
  add_marker_name(db);
  const std::string plain = "FROM vorn_sync_queue WHERE event_id=name";
  Statement shared(
      db,
      "SELECT sum(pending), substr(min(example), 1, 200) FROM (SELECT events + (SELECT count(*) " +
          plain + ") AS events, pending + (SELECT count(*) " + plain +
          " AND status='pending') AS pending, coalesce(example, name) AS example FROM (SELECT "
          "marker_name(event_id) AS name, count(*) AS events, sum(status='pending') AS pending, "
          "min(iif(status='pending', event_id, NULL)) AS example FROM vorn_sync_queue WHERE " +
          odd_id + " GROUP BY 1)) WHERE events>1 AND pending>0");
  return read_faulty(shared);
}

std::string event_sharing_marker(sqlite3* db, const std::string& event_id) {
  add_marker_name(db);
  Statement other(db,
                  "SELECT event_id FROM vorn_sync_queue WHERE event_id<>?1 AND (event_id="
                  "marker_name(?1) OR (" +
                      odd_id + " AND marker_name(event_id)=marker_name(?1))) LIMIT 1");
  return other.bind(event_id).next_or_raise() ? other.text(0) : "";
}

std::vector<MarkerPair> events_with_one_marker(sqlite3* db, int limit) {
  add_marker_name(db);
  const std::string odd = "FROM vorn_sync_queue WHERE " + odd_id;
  Statement pair(
      db,
      "SELECT before, event_id FROM (SELECT event_id, lag(event_id) OVER (PARTITION BY "
      "name ORDER BY event_id) AS before FROM (SELECT event_id, marker_name(event_id) AS "
      "name " +
          odd +
          " UNION ALL SELECT event_id, event_id FROM vorn_sync_queue WHERE event_id IN "
          "(SELECT marker_name(event_id) " +
          odd + "))) WHERE before IS NOT NULL LIMIT ?");
  std::vector<MarkerPair> pairs;
  for (pair.bind(limit); pair.next_or_raise();) pairs.push_back({pair.text(0), pair.text(1)});
  return pairs;
}

FaultyEvents events_with_long_ids(sqlite3* db, std::size_t longest_bytes) {
  Statement longer(db,
                   "SELECT count(*), substr(min(event_id), 1, 200) FROM vorn_sync_queue WHERE "
                   "status='pending' AND length(CAST(event_id AS BLOB))>?");
  longer.bind(static_cast<std::int64_t>(longest_bytes));
  return read_faulty(longer);
}

FaultyEvents large_events(sqlite3* db, std::span<const std::int64_t> ids, std::size_t most_bytes) {
  PayloadSizes sizes(db);
  FaultyEvents large;
  for (const std::int64_t id : ids) {
    if (sizes.of(id) <= most_bytes) continue;
    if (++large.count > 1) continue;
    Statement row(db, "SELECT substr(event_id, 1, 200) FROM vorn_sync_queue WHERE rowid=?");
    if (row.bind(id).next_or_raise()) large.example = row.text(0);
  }
  return large;
}

}  // namespace zunol_monitoring
