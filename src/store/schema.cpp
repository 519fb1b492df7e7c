// The schema: nine tables and five indexes, and how an older database gets what it lacks.
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "store/connection.h"
#include "store/statement.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {
namespace {

struct Column {
  std::string_view declaration;  ///< its name first
  bool added_later = false;      ///< older databases have the table without it

  std::string_view name() const { return declaration.substr(0, declaration.find(' ')); }
};

constexpr Column added_later(std::string_view declaration) { return {declaration, true}; }

bool table_has_column(sqlite3* db, const std::string& table, std::string_view column) {
  Statement columns(db, ("PRAGMA table_info(" + table + ")").c_str());
  while (columns.next()) {
    if (columns.text(1) == column) return true;
  }
  return false;
}

/// Creates the table, or adds the columns that an older one lacks, behind those that it has. No
/// statement relies on the order of columns.
void create_table(SqliteStore& store, sqlite3* db, const std::string& table,
                  const std::vector<Column>& columns) {
  std::string declarations;
  for (const Column& column : columns) {
    if (!declarations.empty()) declarations += ", ";
    declarations += column.declaration;
  }
  store.exec("CREATE TABLE IF NOT EXISTS " + table + "(" + declarations + ")");
  for (const Column& column : columns) {
    if (!column.added_later || table_has_column(db, table, column.name())) continue;
    try {
      store.exec("ALTER TABLE " + table + " ADD COLUMN " + std::string(column.declaration));
    } catch (const std::runtime_error&) {
      // Another process may have added it since.
      if (!table_has_column(db, table, column.name())) throw;
    }
  }
}

void create_index(SqliteStore& store, const std::string& index, const std::string& on) {
  store.exec("CREATE INDEX IF NOT EXISTS " + index + " ON " + on);
}

}  // namespace

void SqliteStore::apply_schema() {
  StoreConnection::of(*this);  // the statements below could not say that there is none
  create_table(*this, db, "incidents",
               {{"id TEXT PRIMARY KEY"},
                {"fingerprint TEXT NOT NULL"},
                {"check_type TEXT NOT NULL"},
                {"check_name TEXT NOT NULL"},
                {"target TEXT NOT NULL"},
                {"level TEXT NOT NULL"},
                {"status TEXT NOT NULL"},
                {"title TEXT NOT NULL"},
                {"message TEXT NOT NULL"},
                {"current_value TEXT NOT NULL"},
                {"first_seen_at TEXT NOT NULL"},
                {"last_seen_at TEXT NOT NULL"},
                {"resolved_at TEXT NOT NULL DEFAULT ''"},
                {"repeat_count INTEGER NOT NULL DEFAULT 0"}});
  create_index(*this, "idx_incidents_fingerprint_status", "incidents(fingerprint, status)");
  create_index(*this, "idx_incidents_last_seen", "incidents(last_seen_at)");

  create_table(*this, db, "incident_events",
               {{"event_id TEXT PRIMARY KEY"},
                {"incident_id TEXT NOT NULL"},
                {"type TEXT NOT NULL"},
                {"created_at TEXT NOT NULL"},
                {"payload TEXT NOT NULL"}});

  create_table(*this, db, "check_results",
               {{"id INTEGER PRIMARY KEY AUTOINCREMENT"},
                {"check_type TEXT NOT NULL"},
                {"check_name TEXT NOT NULL"},
                {"target TEXT NOT NULL"},
                {"state TEXT NOT NULL"},
                {"level TEXT NOT NULL"},
                {"message TEXT NOT NULL"},
                {"value REAL NOT NULL"},
                {"created_at TEXT NOT NULL"},
                added_later("labels TEXT NOT NULL DEFAULT '{}'")});

  create_table(*this, db, "notification_queue",
               {{"id INTEGER PRIMARY KEY AUTOINCREMENT"},
                {"kind TEXT NOT NULL"},
                {"payload TEXT NOT NULL"},
                {"status TEXT NOT NULL DEFAULT 'pending'"},
                {"created_at TEXT NOT NULL"},
                added_later("attempt_count INTEGER NOT NULL DEFAULT 0"),
                added_later("last_error TEXT NOT NULL DEFAULT ''"),
                added_later("sent_at TEXT NOT NULL DEFAULT ''")});

  create_table(*this, db, "agent_journal",
               {{"id INTEGER PRIMARY KEY AUTOINCREMENT"},
                {"category TEXT NOT NULL"},
                {"action TEXT NOT NULL"},
                {"status TEXT NOT NULL"},
                {"message TEXT NOT NULL DEFAULT ''"},
                {"details TEXT NOT NULL DEFAULT ''"},
                {"created_at TEXT NOT NULL"}});
  create_index(*this, "idx_agent_journal_created_at", "agent_journal(created_at, id)");
  create_index(*this, "idx_agent_journal_category_created_at",
               "agent_journal(category, created_at, id)");

  create_table(*this, db, "vorn_sync_queue",
               {{"event_id TEXT PRIMARY KEY"},
                {"payload TEXT NOT NULL"},
                {"status TEXT NOT NULL DEFAULT 'pending'"},
                added_later("attempt_count INTEGER NOT NULL DEFAULT 0"),
                added_later("next_attempt_at TEXT NOT NULL DEFAULT ''"),
                added_later("last_error TEXT NOT NULL DEFAULT ''"),
                {"created_at TEXT NOT NULL"},
                added_later("sent_at TEXT NOT NULL DEFAULT ''")});
  // After the columns: it covers next_attempt_at.
  create_index(*this, "idx_vorn_sync_queue_pending",
               "vorn_sync_queue(status, next_attempt_at, created_at)");

  const std::vector<Column> keyed_values = {
      {"key TEXT PRIMARY KEY"}, {"value TEXT NOT NULL"}, {"updated_at TEXT NOT NULL"}};
  create_table(*this, db, "agent_state", keyed_values);
  // The rows of these two are the agent's own.
  create_table(*this, db, "telegram_actions_cursor", keyed_values);
  create_table(*this, db, "config_migrations",
               {{"version INTEGER PRIMARY KEY"}, {"applied_at TEXT NOT NULL"}});
}

}  // namespace zunol_monitoring
