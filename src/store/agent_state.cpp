// The agent's small state, a text for each key: the table agent_state. Retention leaves it alone.
#include "store/statement.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {

void SqliteStore::set_state(const std::string& key, const std::string& value) {
  Statement(db,
            "INSERT INTO agent_state(key, value, updated_at) VALUES(?, ?, ?) "
            "ON CONFLICT(key) DO UPDATE SET value=excluded.value, updated_at=excluded.updated_at")
      .bind(key, value, utc_timestamp_iso())
      .run();
}

std::string SqliteStore::get_state(const std::string& key, const std::string& fallback) {
  return Statement(db, "SELECT value FROM agent_state WHERE key=?")
      .bind(key)
      .first([](const Statement& row) { return row.text(0); })
      .value_or(fallback);
}

}  // namespace zunol_monitoring
