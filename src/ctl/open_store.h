// The store that the configuration names.
#pragma once

#include "config/config.h"
#include "store/sqlite_store.h"

namespace zunol_monitoring::ctl {

/// Opens the store for looking only. Raises std::runtime_error with "no store at " and the path
/// where there is none, and the path, ": " and SQLite's text when it cannot be read.
void open_to_look(SqliteStore& store, const Config& config);

/// Opens the store and brings its schema up to date, but never makes a new one. Raises as
/// open_to_look does.
void open_to_change(SqliteStore& store, const Config& config);

}  // namespace zunol_monitoring::ctl
