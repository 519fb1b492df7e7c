// The store that the configuration names.
#pragma once

#include "store/store_view.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring::ctl {

/// A look at the store. Raises std::runtime_error with "no store at " and the path where there is
/// no regular file, and the path, ": " and SQLite's text, or "it has no store in it", where that is
/// none.
StoreView look_at_store(const Config& config);

/// The store with its schema brought up to date, a first start that was cut short finished; but
/// never a new one. Raises as look_at_store does.
SqliteStore open_to_change(const Config& config);

/// The same, but makes the store where nothing is. Raises also "storage.local_db names no file"
/// where the events would go with the process.
SqliteStore open_or_make(const Config& config);

}  // namespace zunol_monitoring::ctl
