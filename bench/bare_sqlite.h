// The bare SQLite calls that the library's operations are compared with, and a place for databases.
#pragma once

#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

/// A directory that goes with the benchmark.
struct Directory {
  std::filesystem::path path;
  explicit Directory(const std::filesystem::path& below)
      : path(below / ("zunol-bench." + std::to_string(getpid()))) {
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~Directory() { std::filesystem::remove_all(path); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
};

/// A directory on a memory-backed file system.
inline const std::filesystem::path memory = "/dev/shm";

/// Opens a database as the store does.
inline sqlite3* bare_open(const std::filesystem::path& file) {
  sqlite3* db = nullptr;
  sqlite3_open(file.c_str(), &db);
  sqlite3_busy_timeout(db, 10000);
  sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
  return db;
}

inline void bare_exec(sqlite3* db, const std::string& sql) {
  if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(db));
  }
}

inline void bare_bind(sqlite3_stmt* statement, int index, const std::string& text) {
  sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}
inline void bare_bind(sqlite3_stmt* statement, int index, int number) {
  sqlite3_bind_int(statement, index, number);
}
inline void bare_bind(sqlite3_stmt* statement, int index, double number) {
  sqlite3_bind_double(statement, index, number);
}

/// Prepares, binds, hands each row to `take` and finalises.
template <class Take, class... Values>
void bare_rows(sqlite3* db, const std::string& sql, Take take, const Values&... values) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(db));
  }
  int index = 0;
  (bare_bind(statement, ++index, values), ...);
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement)) == SQLITE_ROW) take(statement);
  if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(db));
  sqlite3_finalize(statement);
}

template <class... Values>
void bare_write(sqlite3* db, const std::string& sql, const Values&... values) {
  bare_rows(
      db, sql, [](sqlite3_stmt*) {}, values...);
}

inline std::string bare_text(sqlite3_stmt* statement, int column) {
  return reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
}
