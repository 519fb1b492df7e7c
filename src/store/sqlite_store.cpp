#include "store/sqlite_store.h"

#include <sqlite3.h>

#include <stdexcept>

#include "base/files.h"

namespace zunol_monitoring {
namespace {

/// Milliseconds that a statement waits for other connections.
constexpr int busy_timeout_ms = 10000;

}  // namespace

// Delegates, so that the destructor closes the connection when a later step fails.
SqliteStore::SqliteStore(const std::filesystem::path& file) : SqliteStore() {
  open(file);
  apply_schema();
}

SqliteStore::~SqliteStore() { close(); }

void SqliteStore::open(const std::filesystem::path& file) {
  close();
  path = file;
  ensure_parent_directory(path);
  if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) {
    const std::string reason = db != nullptr ? sqlite3_errmsg(db) : "cannot open sqlite database";
    close();
    throw std::runtime_error(reason);
  }
  sqlite3_busy_timeout(db, busy_timeout_ms);
  exec("PRAGMA journal_mode=WAL");
  exec("PRAGMA busy_timeout=" + std::to_string(busy_timeout_ms));
  exec("PRAGMA foreign_keys=ON");
}

void SqliteStore::close() {
  if (db == nullptr) return;
  sqlite3_close(db);
  db = nullptr;
}

void SqliteStore::exec(const std::string& sql) {
  char* text = nullptr;
  if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &text) == SQLITE_OK) return;
  const std::string reason = text != nullptr ? text : "sqlite exec failed";
  sqlite3_free(text);
  throw std::runtime_error(reason);
}

}  // namespace zunol_monitoring
