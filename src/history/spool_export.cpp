#include "history/spool_export.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "base/clock.h"
#include "base/files.h"
#include "base/private_file.h"

namespace zunol_monitoring {
namespace {

/// As ensure_group_directory; and the names of new directories are on the disk then.
void ensure_durable_group_directory(const std::filesystem::path& directory) {
  std::vector<std::filesystem::path> parents_of_new;
  std::error_code unknown;
  for (auto path = std::filesystem::absolute(directory);
       path.has_relative_path() && !std::filesystem::exists(path, unknown);
       path = path.parent_path()) {
    parents_of_new.push_back(path.parent_path());
  }
  ensure_group_directory(directory);
  for (const auto& parent : parents_of_new) {
    if (!sync_directory(parent)) throw std::runtime_error("cannot write " + parent.string());
  }
}

}  // namespace

void export_spool_file(const VornConfig& config, const VornSyncItem& item) {
  ensure_durable_group_directory(config.export_dir);
  const std::string stamp = item.created_at.empty() ? utc_timestamp_compact() : item.created_at;
  const std::filesystem::path final_path =
      config.export_dir /
      (sanitize_path_component(stamp) + '_' + sanitize_path_component(item.event_id) + ".json");
  const std::filesystem::path temporary_path = final_path.string() + ".tmp." + make_id("vorn");

  // The row's copy of the event is given up once this returns: it must outlast a power failure.
  {
    PrivateFile file(temporary_path);
    file.write(item.payload + '\n');
    file.sync();
  }
  std::filesystem::rename(temporary_path, final_path);
  set_owner_group_read_mode(final_path);
  if (!sync_directory(config.export_dir)) {
    throw std::runtime_error("cannot write " + temporary_path.string());
  }
}

}  // namespace zunol_monitoring
