#include "store/sqlite_store.h"

#include <sqlite3.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "base/files.h"

namespace zunol_monitoring {
namespace {

/// Milliseconds that a statement waits for other connections.
constexpr int busy_timeout_ms = 10000;

/// The file as a database that does not change.
std::string immutable_uri(const std::filesystem::path& file) {
  std::string uri = "file:";
  for (const char byte : std::filesystem::absolute(file).string()) {
    if (byte == '%' || byte == '?' || byte == '#') {
      uri += byte == '%' ? "%25" : byte == '?' ? "%3f" : "%23";
    } else {
      uri += byte;
    }
  }
  return uri + "?immutable=1";
}

/// Of two connections that turn a new database to write-ahead mode at once, SQLite refuses one
/// without waiting. It waits here, as long as any statement would.
void wait_for_write_ahead_mode(sqlite3* db) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
  while (sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr) == SQLITE_BUSY &&
         steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

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
  connect(path.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  wait_for_write_ahead_mode(db);
  exec("PRAGMA journal_mode=WAL");
  exec("PRAGMA busy_timeout=" + std::to_string(busy_timeout_ms));
  exec("PRAGMA foreign_keys=ON");
}

void SqliteStore::open_read_only(const std::filesystem::path& file) {
  close();
  path = file;
  // Opened the usual way, SQLite would make the files of write-ahead mode, and they would be the
  // looking user's.
  const bool in_use = std::filesystem::exists(path.string() + "-wal");
  if (in_use) {
    connect(path.string(), SQLITE_OPEN_READONLY);
  } else {
    connect(immutable_uri(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  }
}

void SqliteStore::connect(const std::string& name, int flags) {
  if (sqlite3_open_v2(name.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    const std::string reason = db != nullptr ? sqlite3_errmsg(db) : "cannot open sqlite database";
    close();
    throw std::runtime_error(reason);
  }
  sqlite3_busy_timeout(db, busy_timeout_ms);
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
