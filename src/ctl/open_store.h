// The store that the configuration names.
#pragma once

#include <optional>

#include "ctl/tool.h"
#include "store/store_view.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring::ctl {

/// False where nothing is. Raises std::runtime_error with the path and ": it is no regular file" of
/// what is none there or beside it, and would hang SQLite.
bool database_is_there(const std::filesystem::path& file);

/// Says on standard error that there is no store yet, unless the tool prints JSON.
void tell_absent_store(const Tool& tool, const Config& config);

/// A look at the store, or at an empty one where none is yet, which is told. Raises
/// std::runtime_error with the path, ": " and SQLite's text, "it is no regular file", or "it has no
/// store in it".
StoreView look_at_store(const Tool& tool, const Config& config);

/// The store with its schema brought up to date, a first start that was cut short finished; nothing
/// where none is yet. Raises as look_at_store does.
std::optional<SqliteStore> open_to_change(const Config& config);

/// The same, but makes the store where nothing is. Raises also "storage.local_db names no file"
/// where the events would go with the process.
SqliteStore open_or_make(const Config& config);

}  // namespace zunol_monitoring::ctl
