// SQLite connections: how one is opened, and that of a store, for what the product asks beyond the
// operations of a daemon.
#pragma once

#include <filesystem>
#include <memory>

#include "zunol_monitoring/store/sqlite_store.h"

struct sqlite3;

namespace zunol_monitoring {

/// Milliseconds that a statement waits for other connections.
inline constexpr int busy_timeout_ms = 10000;

/// A new connection with the busy timeout set. `flags` are those of sqlite3_open_v2. Raises
/// StoreError with SQLite's text, or with "cannot open sqlite database" if it has none.
sqlite3* open_connection(const std::string& name, int flags);

struct ConnectionCloser {
  void operator()(sqlite3* db) const;
};
using Connection = std::unique_ptr<sqlite3, ConnectionCloser>;

struct StoreConnection {
  /// Raises StoreError with "the store is closed".
  static sqlite3* of(const SqliteStore& store);
};

}  // namespace zunol_monitoring
