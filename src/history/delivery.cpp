#include "history/delivery.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "base/limited_command.h"
#include "base/private_file.h"
#include "store/due_rows.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/base/command_runner.h"
#include "zunol_monitoring/history/spool_export.h"

namespace zunol_monitoring {
namespace fs = std::filesystem;

namespace {

using std::chrono::milliseconds;

/// The file that hands an event to the append command. It goes on every way out.
class EventFile {
 public:
  explicit EventFile(const std::string& payload)
      : path_(fs::temp_directory_path() / (make_id("vorn-event") + ".json")) {
    PrivateFile file(path_);
    try {
      file.write(payload + '\n');
    } catch (...) {
      remove();
      throw;
    }
  }
  ~EventFile() { remove(); }
  EventFile(const EventFile&) = delete;
  EventFile& operator=(const EventFile&) = delete;

  const fs::path& path() const { return path_; }

 private:
  void remove() const {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }

  fs::path path_;
};

CommandResult run_within(const std::string& line, milliseconds limit) {
  if (limit <= milliseconds(0)) return run_command({"/bin/sh", "-c", line});
  const auto result = run_limited_command(line, limit);
  if (result) return *result;
  throw std::runtime_error("append_command ended after its time limit of " +
                           std::to_string(limit.count()) + " ms");
}

void run_append_command(const Config& config, const VornSyncItem& item, milliseconds limit) {
  CommandResult result;
  {
    const EventFile file(item.payload);
    std::string line;
    if (!config.path.empty()) {
      line += shell_assignment("ZUNOL_MONITORING_CONFIG", config.path.string());
    }
    line += shell_assignment("ZUNOL_VORN_EVENT_FILE", file.path().string());
    line += shell_assignment("ZUNOL_VORN_EVENT_ID", item.event_id);
    result = run_within(line + config.vorn.append_command, limit);
  }
  if (result.exit_code != 0) throw std::runtime_error("append_command failed: " + result.error);
}

void deliver(const Config& config, const VornSyncItem& item, milliseconds limit) {
  if (config.vorn.transport == "spool") {
    export_spool_file(config.vorn, item);
  } else if (config.vorn.transport == "command") {
    run_append_command(config, item, limit);
  } else {
    throw std::runtime_error("vorn transport is queue-only");
  }
}

}  // namespace

int deliver_due_events(const Config& config, SqliteStore& store, const Delivery& delivery) {
  if (!config.vorn.enabled) return 0;
  const int limit = config.vorn.max_batch < 1 ? default_batch : config.vorn.max_batch;
  int sent = 0;
  for (const VornSyncItem& item : list_due_sync_events(store, limit, delivery.due_at)) {
    if (config.vorn.queue_only || delivery.limits.stop.stop_requested()) break;
    try {
      deliver(config, item, delivery.limits.command_time);
      store.mark_sync_event_sent(item.event_id);
    } catch (const std::exception& error) {
      const std::string reason = error.what();
      store.record_sync_failure(item.event_id, reason);
      delivery.tell(item, reason);
      continue;
    }
    ++sent;
    delivery.tell(item, std::nullopt);
  }
  return sent;
}

}  // namespace zunol_monitoring
