#include "zunol_monitoring/store/sqlite_store.h"

#include <sqlite3.h>

#include <chrono>
#include <thread>
#include <utility>

#include "store/connection.h"
#include "zunol_monitoring/base/files.h"

namespace zunol_monitoring {
namespace {

/// Runs SQL text without a result; the text of a failure, or nothing.
int run_sql(sqlite3* db, const char* sql, std::string& failure) {
  char* text = nullptr;
  const int result = sqlite3_exec(db, sql, nullptr, nullptr, &text);
  failure = text != nullptr ? text : "sqlite exec failed";
  sqlite3_free(text);
  return result;
}

/// Of two connections that turn a new database to write-ahead mode at once, SQLite refuses one
/// without waiting. It waits here, as long as any statement would.
void turn_to_write_ahead_mode(sqlite3* db) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
  while (true) {
    std::string failure;
    const int result = run_sql(db, "PRAGMA journal_mode=WAL", failure);
    if (result == SQLITE_OK) return;
    if (result != SQLITE_BUSY || steady_clock::now() >= deadline) throw StoreError(failure, result);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace

sqlite3* open_connection(const std::string& name, int flags) {
  sqlite3* db = nullptr;
  const int result = sqlite3_open_v2(name.c_str(), &db, flags, nullptr);
  if (result != SQLITE_OK) {
    const std::string reason = db != nullptr ? sqlite3_errmsg(db) : "cannot open sqlite database";
    sqlite3_close(db);
    throw StoreError(reason, result);
  }
  sqlite3_busy_timeout(db, busy_timeout_ms);
  return db;
}

void ConnectionCloser::operator()(sqlite3* db) const { sqlite3_close(db); }

sqlite3* StoreConnection::of(const SqliteStore& store) {
  if (store.db == nullptr) throw StoreError("the store is closed", SQLITE_MISUSE);
  return store.db;
}

// Delegates, so that the destructor closes the connection when a later step fails.
SqliteStore::SqliteStore(const std::filesystem::path& file) : SqliteStore() {
  open(file);
  apply_schema();
}

SqliteStore::~SqliteStore() { close(); }

SqliteStore::SqliteStore(SqliteStore&& other) noexcept
    : db(std::exchange(other.db, nullptr)), path(std::move(other.path)) {}

SqliteStore& SqliteStore::operator=(SqliteStore&& other) noexcept {
  std::swap(db, other.db);
  std::swap(path, other.path);
  if (this != &other) other.close();
  return *this;
}

void SqliteStore::open(const std::filesystem::path& file) {
  close();
  path = file;
  ensure_parent_directory(path);
  db = open_connection(path.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  turn_to_write_ahead_mode(db);
  exec("PRAGMA busy_timeout=" + std::to_string(busy_timeout_ms));
  exec("PRAGMA foreign_keys=ON");
}

void SqliteStore::close() {
  if (db == nullptr) return;
  sqlite3_close(db);
  db = nullptr;
}

void SqliteStore::exec(const std::string& sql) {
  std::string failure;
  const int result = run_sql(db, sql.c_str(), failure);
  if (result != SQLITE_OK) throw StoreError(failure, result);
}

}  // namespace zunol_monitoring
