#include "zunol_monitoring/history/spool_export.h"

#include <filesystem>

#include "base/private_file.h"
#include "history/event_file.h"
#include "history/spool_name.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/base/files.h"

namespace zunol_monitoring {

std::filesystem::path spool_file_path(const VornConfig& config, const VornSyncItem& item) {
  const std::string stamp = item.created_at.empty() ? utc_timestamp_compact() : item.created_at;
  return config.export_dir / (sanitize_path_component(stamp) + '_' +
                              sanitize_path_component(item.event_id) + std::string(spool_name_end));
}

void export_spool_file(const VornConfig& config, const VornSyncItem& item) {
  ensure_group_directory(config.export_dir);
  const std::filesystem::path final_path = spool_file_path(config, item);
  const std::filesystem::path temporary_path = final_path.string() + ".tmp." + make_id("vorn");

  // The row's copy of the event is given up once this returns: it must outlast a power failure.
  PrivateFile file(temporary_path);
  file.write(event_file_text(item.payload));
  file.publish(final_path);
}

}  // namespace zunol_monitoring
