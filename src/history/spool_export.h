// Delivery through a directory from which some other process collects events.
#pragma once

#include "config/vorn_config.h"
#include "store/sync_queue.h"

namespace zunol_monitoring {

/// Writes the row's payload and a line feed as one file into vorn.export_dir, which is created
/// where missing and gets mode 0750; it must be readable, or it could not be synced. The name is
/// the time of queueing (of the export, where the row has none), "_", the event id and ".json",
/// both parts sanitised, so that names sort by that time and a second export of a row replaces the
/// first. The file takes this name only when it is complete and
/// on the disk; its mode is 0640 then, and 0600 until then. On return the name is on the disk too.
///
/// Raises std::runtime_error with "cannot write " and the path of the temporary file (or of a
/// parent of a new directory that cannot be synced), and the file-system library's error when the
/// directory cannot be made or the file not renamed. A temporary file that a failure leaves has
/// ".tmp." in its name and is not removed.
void export_spool_file(const VornConfig& config, const VornSyncItem& item);

}  // namespace zunol_monitoring
