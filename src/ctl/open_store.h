// The store that the configuration names.
#pragma once

#include "config/config.h"
#include "store/sqlite_store.h"

namespace zunol_monitoring::ctl {

/// Opens the store for looking only. Raises std::runtime_error with "no store at " and the path
/// where there is no regular file, and the path, ": " and SQLite's text where that is no store.
void open_to_look(SqliteStore& store, const Config& config);

/// Opens the store and brings its schema up to date, but never makes a new one. Raises as
/// open_to_look does.
void open_to_change(SqliteStore& store, const Config& config);

/// The same, but makes the store where nothing is. Raises also "storage.local_db names no file"
/// where the events would go with the process.
void open_or_make(SqliteStore& store, const Config& config);

}  // namespace zunol_monitoring::ctl
