// The markers of finished events, one file for each in the directory "vorn-bridge-ledger".
//
// An event has no marker, then one, and keeps it: nothing here removes a marker. It is written
// after the backend's success and never before, so that a crash before it repeats the backend call
// and loses nothing. Its being there, with any file type, is all that counts; its content is for
// people.
#pragma once

#include <filesystem>
#include <string>

#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

/// The marker of an event: in the state directory (that of the database, or the default one when
/// storage.local_db names no directory), "vorn-bridge-ledger", and the sanitised id with ".ok"
/// behind it. Ids that differ only in bytes that a file name cannot carry share one marker. Raises
/// std::runtime_error with "storage.local_db holds a zero byte": the system would see another path.
std::filesystem::path marker_path(const StorageConfig& storage, const std::string& event_id);

/// Leaves the marker: the id and a line feed, with mode 0600. Raises the error of write_text_file.
void write_marker(const std::filesystem::path& marker, const std::string& event_id);

}  // namespace zunol_monitoring
