// Delivery through a directory from which some other process collects events.
#pragma once

#include "zunol_monitoring/config/records/vorn_config.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring {

/// Writes the row's payload and a line feed as one file into vorn.export_dir, which is created
/// where missing and gets mode 0750. The name is the time of queueing (of the export, where the row
/// has none), "_", the event id and ".json", both parts sanitised, so that names sort by that time
/// and a second export of a row replaces the first. The file takes this name only when it is
/// complete and on the disk; its mode is 0600 until then, and 0640 afterwards. On return the name
/// is on the disk too.
///
/// Raises std::runtime_error with "cannot write " and the path of the temporary file, and the
/// file-system library's error when the directory cannot be made, the file not renamed, or the name
/// not synced. A temporary file that a failure leaves has ".tmp." in its name and is not removed.
void export_spool_file(const VornConfig& config, const VornSyncItem& item);

}  // namespace zunol_monitoring
