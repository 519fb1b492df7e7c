#include "ctl/open_store.h"

#include <filesystem>
#include <stdexcept>

namespace zunol_monitoring::ctl {

void open_to_look(SqliteStore& store, const Config& config) {
  const std::filesystem::path& file = config.storage.local_db;
  if (!std::filesystem::exists(file)) throw std::runtime_error("no store at " + file.string());
  try {
    store.open_read_only(file);
    store.exec("SELECT 1 FROM sqlite_schema");  // opening alone does not read the file
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
}

void open_to_change(SqliteStore& store, const Config& config) {
  open_to_look(store, config);
  store.open(config.storage.local_db);
  store.apply_schema();
}

}  // namespace zunol_monitoring::ctl
