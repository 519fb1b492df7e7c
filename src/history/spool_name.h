// Where an event goes in the spool.
#pragma once

#include <filesystem>

#include "zunol_monitoring/config/records/vorn_config.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring {

/// The final name that export_spool_file gives the event.
std::filesystem::path spool_file_path(const VornConfig& config, const VornSyncItem& item);

}  // namespace zunol_monitoring
