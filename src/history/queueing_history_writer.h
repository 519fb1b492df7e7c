// The history writer over the local store: events survive a restart and a history service that is
// away.
#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "config/config.h"
#include "history/history_writer.h"
#include "store/sqlite_store.h"

namespace zunol_monitoring {

/// The rows of a flush where vorn.max_batch is below 1.
inline constexpr int default_batch = 100;

/// Both operations do nothing while vorn.enabled is false. It may be used by one thread at a time,
/// as the store may.
class QueueingVornHistoryWriter : public VornHistoryWriter {
 public:
  /// Remembers both, which stay the caller's and must outlive the writer. The configuration's
  /// present values count at each call.
  QueueingVornHistoryWriter(const Config& settings, SqliteStore& queue)
      : config(&settings), store(&queue) {}

  /// Builds the event (build_event), judges it and queues its compact JSON text; an id that is
  /// queued already changes nothing. An event that the judge refuses is dropped with the log line
  /// "invalid vorn history event: " and the reason at level Error. Raises "event_id holds a
  /// zero byte" and what build_event, the JSON library (text that is no UTF-8) and the store raise;
  /// the event is then not queued.
  void enqueue(const std::string& type, const nlohmann::json& data) override;
  void enqueue(const std::string& type, nlohmann::json&& data) override;

  /// Hands at most vorn.max_batch due rows to the transport, oldest first, and marks each delivered
  /// one sent. A row that fails is scheduled anew with the reason, which is logged at level Warn,
  /// and the next one is tried. With vorn.queue_only nothing is delivered. Delivery is at least
  /// once.
  ///
  /// A batch below 1 counts as default_batch. Raises what the store raises when it cannot list rows
  /// or record a failure, and what log_message raises; the rows behind that one wait for the next
  /// flush.
  int flush() override;

  /// What became of a row: delivered (no failure) or not, for this reason.
  using Outcome = std::function<void(const VornSyncItem& row, const std::string* failure)>;
  /// The same for the rows that are due at the time `due_at`, but tells each row's outcome in place
  /// of the log line. A row that fails is not due at that time any more. What `tell` raises ends
  /// the flush behind that row.
  int flush(const Outcome& tell, const std::string& due_at);

 private:
  void queue_event(const nlohmann::json& event) const;
  void deliver(const VornSyncItem& item) const;
  void run_append_command(const VornSyncItem& item) const;

  const Config* config;
  SqliteStore* store;
};

}  // namespace zunol_monitoring
