#include <stdexcept>

#include "base/clock.h"
#include "base/command_runner.h"
#include "base/log.h"
#include "base/private_file.h"
#include "history/queueing_history_writer.h"
#include "history/spool_export.h"

namespace zunol_monitoring {
namespace fs = std::filesystem;

namespace {

/// The file that hands an event to the append command. It goes on every way out.
class EventFile {
 public:
  explicit EventFile(const std::string& payload)
      : path_(fs::temp_directory_path() / (make_id("vorn-event") + ".json")), file_(path_) {
    try {
      file_.write(payload + '\n');
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
  PrivateFile file_;
};

}  // namespace

int QueueingVornHistoryWriter::flush() {
  const auto log_failure = [](const VornSyncItem& row, const std::string* failure) {
    if (failure == nullptr) return;
    log_message(LogLevel::Warn,
                "vorn event flush failed event_id=" + row.event_id + " error=" + *failure);
  };
  return flush(log_failure, utc_timestamp_iso());
}

int QueueingVornHistoryWriter::flush(const Outcome& tell, const std::string& due_at) {
  if (!config->vorn.enabled) return 0;
  const int limit = config->vorn.max_batch < 1 ? default_batch : config->vorn.max_batch;
  int sent = 0;
  for (const VornSyncItem& item : store->list_sync_events_due(limit, due_at)) {
    if (config->vorn.queue_only) break;
    try {
      deliver(item);
      store->mark_sync_event_sent(item.event_id);
    } catch (const std::exception& error) {
      const std::string reason = error.what();
      store->record_sync_failure(item.event_id, reason);
      tell(item, &reason);
      continue;
    }
    ++sent;
    tell(item, nullptr);
  }
  return sent;
}

void QueueingVornHistoryWriter::deliver(const VornSyncItem& item) const {
  if (config->vorn.transport == "spool") {
    export_spool_file(config->vorn, item);
  } else if (config->vorn.transport == "command") {
    run_append_command(item);
  } else {
    throw std::runtime_error("vorn transport is queue-only");
  }
}

void QueueingVornHistoryWriter::run_append_command(const VornSyncItem& item) const {
  CommandResult result;
  {
    const EventFile file(item.payload);
    std::string line;
    if (!config->path.empty()) {
      line += shell_assignment("ZUNOL_MONITORING_CONFIG", config->path.string());
    }
    line += shell_assignment("ZUNOL_VORN_EVENT_FILE", file.path().string());
    line += shell_assignment("ZUNOL_VORN_EVENT_ID", item.event_id);
    result = run_command({"/bin/sh", "-c", line + config->vorn.append_command});
  }
  if (result.exit_code != 0) throw std::runtime_error("append_command failed: " + result.error);
}

}  // namespace zunol_monitoring
