#include "ctl/open_store.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace zunol_monitoring::ctl {
namespace fs = std::filesystem;

void open_to_look(SqliteStore& store, const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (!fs::is_regular_file(file)) throw std::runtime_error("no store at " + file.string());
  try {
    store.open_read_only(file);
    // The columns that every store has: another program's database is left alone.
    store.exec("SELECT event_id, payload, status, created_at FROM vorn_sync_queue LIMIT 0");
    store.exec("SELECT id, fingerprint, last_seen_at FROM incidents LIMIT 0");
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
}

void open_to_change(SqliteStore& store, const Config& config) {
  open_to_look(store, config);
  store.open(config.storage.local_db);
  store.apply_schema();
}

void open_or_make(SqliteStore& store, const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (file.empty() || file == ":memory:") {
    throw std::runtime_error("storage.local_db names no file");
  }
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::seconds(2);
  while (fs::exists(file) && fs::file_size(file) > 0) {
    try {
      return open_to_change(store, config);
    } catch (const std::runtime_error&) {
      // Another process may be making it at this moment.
      if (steady_clock::now() > deadline) throw;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  store.open(file);
  store.apply_schema();
}

}  // namespace zunol_monitoring::ctl
