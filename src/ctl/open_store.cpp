#include "ctl/open_store.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <stdexcept>

#include "ctl/output.h"
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

bool database_is_there(const fs::path& file) {
  for (const char* suffix : {"-wal", "-shm", "-journal", ""}) {
    const fs::path path = fs::weakly_canonical(file).string() + suffix;
    const fs::file_status status = fs::status(path);
    if (fs::exists(status) && !fs::is_regular_file(status)) fail_at(path, "it is no regular file");
  }
  return fs::exists(file);
}

void tell_absent_store(const Tool& tool, const Config& config) {
  if (!tool.json) print_error("no store at " + config.storage.local_db.string() + " yet");
}

StoreView look_at_store(const Tool& tool, const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (!database_is_there(file)) {
    tell_absent_store(tool, config);
    return StoreView::of_nothing();
  }
  try {
    StoreView view(file);
    const StoreKind kind = view.look(store_kind);
    require_store(file, kind != StoreKind::foreign);
    if (kind == StoreKind::whole) return view;
    tell_absent_store(tool, config);  // a first start was cut short
    return StoreView::of_nothing();
  } catch (const StoreError& error) {
    fail_at(file, error.what());
  }
}

std::optional<SqliteStore> open_to_change(const Config& config) {
  if (!database_is_there(config.storage.local_db)) return std::nullopt;
  return open_or_make(config);
}

SqliteStore open_or_make(const Config& config) {
  const fs::path& file = config.storage.local_db;
  if (file.empty() || file == ":memory:") {
    throw std::runtime_error("storage.local_db names no file");
  }
  try {
    if (database_is_there(file)) require_own_database(file);
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
