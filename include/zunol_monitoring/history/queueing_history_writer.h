// The history writer over the local store: events survive a restart and a history service that is
// away.
#pragma once

#include <chrono>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stop_token>
#include <string>

#include "zunol_monitoring/config/config.h"
#include "zunol_monitoring/history/history_writer.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring {

/// The rows of a flush where vorn.max_batch is below 1.
inline constexpr int default_batch = 100;

/// What became of an event: its id, or why it is not queued.
struct EnqueueResult {
  std::string event_id;
  std::optional<std::string> refusal;
};

/// What ends a flush before its batch does.
struct FlushLimits {
  std::stop_token stop;  ///< once requested, the row on its way is the last one
  /// How long vorn.append_command may take for one event; 0 is no limit. Then its process group is
  /// ended, with SIGTERM and two seconds later SIGKILL, and the row counts as failed.
  std::chrono::milliseconds command_time{0};
};

/// All operations do nothing while vorn.enabled is false. It may be used by one thread at a time,
/// as the store may.
class QueueingVornHistoryWriter : public VornHistoryWriter {
 public:
  /// Remembers both, which stay the caller's and must outlive the writer. The configuration's
  /// present values count at each call.
  QueueingVornHistoryWriter(const Config& settings, SqliteStore& queue)
      : config(&settings), store(&queue) {
    require_same_json_library(nullptr);
  }
  QueueingVornHistoryWriter(const Config&& temporary, SqliteStore& queue) = delete;

  /// Builds the event (build_event), judges it and queues its compact JSON text; an id that is
  /// queued already changes nothing. An event that the judge refuses is dropped with the log line
  /// "invalid vorn history event: " and the reason at level Error. Raises "event_id holds a
  /// zero byte" and what build_event, the JSON library (text that is no UTF-8) and the store raise;
  /// the event is then not queued.
  void enqueue(const std::string& type, const nlohmann::json& data) override;

  /// The same, but returns the event's id, or the judge's reason in place of the log line. With
  /// vorn.enabled false the refusal is "vorn.enabled=false".
  EnqueueResult try_enqueue(const std::string& type, const nlohmann::json& data);

  /// Hands at most vorn.max_batch due rows to the transport, oldest first, and marks each delivered
  /// one sent. A row that fails is scheduled anew with the reason, which is logged at level Warn,
  /// and the next one is tried. With vorn.queue_only nothing is delivered. Delivery is at least
  /// once.
  ///
  /// A batch below 1 counts as default_batch. Raises what the store raises when it cannot list rows
  /// or record a failure, and what log_message raises; the rows behind that one wait for the next
  /// flush.
  int flush() override;
  /// The same within limits.
  int flush(const FlushLimits& limits);

 private:
  /// Defined with the JSON library as this one was built with: a host that configures it otherwise
  /// (JSON_DIAGNOSTICS) fails to link instead of misreading data.
  static void require_same_json_library(const nlohmann::json* no_value);

  const Config* config;
  SqliteStore* store;
};

}  // namespace zunol_monitoring
