// Where an event goes in the spool.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string_view>

#include "zunol_monitoring/config/records/vorn_config.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring {

/// The bytes of an id, at most, with which a file system takes the file's temporary name: 255 less
/// a time, "_", ".json.tmp." and an id of its own.
inline constexpr std::size_t longest_spool_id = 186;

/// How the name of every complete file ends; that of a temporary one ends otherwise.
inline constexpr std::string_view spool_name_end = ".json";

/// The final name that export_spool_file gives the event.
std::filesystem::path spool_file_path(const VornConfig& config, const VornSyncItem& item);

}  // namespace zunol_monitoring
