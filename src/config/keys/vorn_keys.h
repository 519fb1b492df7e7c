// The keys of vorn_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/vorn_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<VornConfig> auto& vorn) {
  v.field("enabled", vorn.enabled,
          "Whether events are queued and delivered; without it the append command fails");
  v.field("relay_url", vorn.relay_url, "Address of the relay; only carried for the agent");
  v.field("storage_ws_url", vorn.storage_ws_url,
          "WebSocket address of the storage; only carried for the agent");
  v.field("wallet_file", vorn.wallet_file,
          "Wallet that the backend is told of; its mode is judged with the secret files");
  v.field("history_block_id", vorn.history_block_id,
          "Block of the history that events are appended to; the append command needs it");
  v.field("append_mode", vorn.append_mode,
          "Whether the history is only appended to; only carried for the agent");
  v.duration("flush_interval", vorn.flush_interval,
             "Time between two deliveries of waiting events; the agent keeps it");
  v.field("queue_only", vorn.queue_only,
          "Whether events stay in the queue, so that nothing leaves the host");
  v.field("transport", vorn.transport,
          "Way of delivery: none, a file for each event, or a command for each event");
  v.field("export_dir", vorn.export_dir, "Directory of the event files of transport spool");
  v.field("append_command", vorn.append_command,
          "Shell line that transport command runs for each event");
  v.field("bridge_command", vorn.bridge_command,
          "Backend of the append command, a shell text that appends the event");
  v.field("max_batch", vorn.max_batch, "Events that one flush delivers at most");
}

}  // namespace zunol_monitoring
