#include "ctl/open_store.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <stdexcept>

#include "store/inspection.h"

namespace zunol_monitoring::ctl {
namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail_at(const fs::path& file, const std::string& reason) {
  throw std::runtime_error(file.string() + ": " + reason);
}

void require_store(const fs::path& file, bool found) {
  if (!found) fail_at(file, "it has no store in it");
}

/// A database with tables of others is left alone: nothing is changed before this is known. The
/// connection is one that waits for writers and sees what they have written.
void require_own_database(const fs::path& file) {
  const Connection db(open_connection(file.string(), SQLITE_OPEN_READWRITE));
  require_store(file, store_kind(db.get()) != StoreKind::foreign);
}

/// Directories and files that are made get modes 0750 and 0640 at most, until the guard goes: they
/// hold events.
class PrivateUmask {
 public:
  PrivateUmask() { umask(before_ | 0027U); }
  ~PrivateUmask() { umask(before_); }
  PrivateUmask(const PrivateUmask&) = delete;
  PrivateUmask& operator=(const PrivateUmask&) = delete;

 private:
  const mode_t before_ = umask(0077);
};

/// In one transaction, so that a first start that is cut short leaves all or nothing of the schema.
void complete_schema(SqliteStore& store) {
  store.exec("BEGIN IMMEDIATE");
  try {
    store.apply_schema();
    store.exec("COMMIT");
  } catch (...) {
    store.close();  // which rolls back
    throw;
  }
}

}  // namespace

StoreView look_at_store(const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (!fs::is_regular_file(file)) throw std::runtime_error("no store at " + file.string());
  try {
    StoreView view(file);
    require_store(file, view.look(store_kind) == StoreKind::whole);
    return view;
  } catch (const StoreError& error) {
    fail_at(file, error.what());
  }
}

SqliteStore open_to_change(const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (!fs::is_regular_file(file)) throw std::runtime_error("no store at " + file.string());
  return open_or_make(config);
}

SqliteStore open_or_make(const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (file.empty() || file == ":memory:") {
    throw std::runtime_error("storage.local_db names no file");
  }
  try {
    if (fs::exists(file)) require_own_database(file);
    const PrivateUmask private_umask;
    SqliteStore store;
    store.open(file);
    complete_schema(store);
    return store;
  } catch (const StoreError& error) {
    fail_at(file, error.what());
  }
}

}  // namespace zunol_monitoring::ctl
