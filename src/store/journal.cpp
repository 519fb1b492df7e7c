#include "zunol_monitoring/store/journal.h"

#include <algorithm>
#include <string>

#include "store/cut_columns.h"
#include "store/inspection.h"
#include "store/statement.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

const std::string entry_columns = "id, category, action, status, message, details, created_at";
const std::string select_entry = "SELECT " + entry_columns + " FROM agent_journal ";

JournalEntry read_entry(const Statement& row) {
  return {.id = row.integer(0),
          .category = row.text(1),
          .action = row.text(2),
          .status = row.text(3),
          .message = row.text(4),
          .details = row.text(5),
          .created_at = row.text(6)};
}

}  // namespace

void SqliteStore::append_journal(const std::string& category, const std::string& action,
                                 const std::string& status, const std::string& message,
                                 const std::string& details) {
  Statement(db,
            "INSERT INTO agent_journal(category, action, status, message, details, created_at) "
            "VALUES(?, ?, ?, ?, ?, ?)")
      .bind(category, action, status, message, details, utc_timestamp_iso())
      .run();
}

std::vector<JournalEntry> SqliteStore::list_journal(int limit, const std::string& category) {
  const int bounded = std::clamp(limit, 1, max_journal_listing);
  if (category.empty()) {
    return Statement(db, select_entry + "ORDER BY id DESC LIMIT ?").bind(bounded).all(read_entry);
  }
  return Statement(db, select_entry + "WHERE category=? ORDER BY id DESC LIMIT ?")
      .bind(category, bounded)
      .all(read_entry);
}

RowIds journal_ids(sqlite3* db, const std::string& category, int limit) {
  return Statement(db,
                   "SELECT id FROM agent_journal WHERE ?1='' OR category=?1 ORDER BY id DESC "
                   "LIMIT ?2")
      .bind(category, limit)
      .row_ids();
}

RowIds journal_ids_about(sqlite3* db, const std::string& incident_id) {
  return Statement(db,
                   "SELECT id FROM agent_journal WHERE instr(details, ?1)>0 OR "
                   "instr(message, ?1)>0 ORDER BY id DESC")
      .bind(incident_id)
      .row_ids();
}

std::vector<JournalEntry> journal_entries(sqlite3* db, std::span<const std::int64_t> ids,
                                          int longest_text) {
  return Statement(db, "SELECT " + cut_columns(entry_columns, longest_text) +
                           " FROM agent_journal WHERE id=?")
      .each(ids, read_entry);
}

}  // namespace zunol_monitoring
