#include "append/marker.h"

#include <stdexcept>

#include "zunol_monitoring/base/files.h"

namespace zunol_monitoring {

std::filesystem::path marker_path(const StorageConfig& storage, const std::string& event_id) {
  if (storage.local_db.native().find('\0') != std::string::npos) {
    throw std::runtime_error("storage.local_db holds a zero byte");
  }
  const std::filesystem::path state_directory = storage.local_db.has_parent_path()
                                                    ? storage.local_db.parent_path()
                                                    : StorageConfig{}.local_db.parent_path();
  return state_directory / "vorn-bridge-ledger" / (sanitize_path_component(event_id) + ".ok");
}

void write_marker(const std::filesystem::path& marker, const std::string& event_id) {
  write_text_file(marker, event_id + '\n');
  set_owner_only_mode(marker);
}

}  // namespace zunol_monitoring
