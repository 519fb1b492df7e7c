// Section vorn: the link to the history service.
#pragma once

#include <filesystem>
#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

struct VornConfig {
  bool enabled = true;    ///< false: nothing is queued or flushed, and the append command fails
  std::string relay_url;  ///< for the agent
  std::string storage_ws_url;  ///< for the agent
  std::filesystem::path wallet_file = "/etc/zunol/monitoring-agent/agent.vorn";
  std::string history_block_id;        ///< the append command needs it
  bool append_mode = true;             ///< for the agent
  std::string flush_interval = "30s";  ///< for the agent
  bool queue_only = true;              ///< true: events are queued, and nothing leaves the host
  std::string transport = "queue";     ///< "queue", "spool" or "command"
  std::filesystem::path export_dir = "/var/lib/zunol/monitoring-agent/vorn-export";
  std::string append_command;  ///< shell line of the transport "command"
  std::string bridge_command;  ///< shell line of the append command's backend
  int max_batch = 100;         ///< rows of one flush
  friend bool operator==(const VornConfig&, const VornConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<VornConfig> auto& vorn) {
  v.field("enabled", vorn.enabled);
  v.field("relay_url", vorn.relay_url);
  v.field("storage_ws_url", vorn.storage_ws_url);
  v.field("wallet_file", vorn.wallet_file);
  v.field("history_block_id", vorn.history_block_id);
  v.field("append_mode", vorn.append_mode);
  v.duration("flush_interval", vorn.flush_interval);
  v.field("queue_only", vorn.queue_only);
  v.field("transport", vorn.transport);
  v.field("export_dir", vorn.export_dir);
  v.field("append_command", vorn.append_command);
  v.field("bridge_command", vorn.bridge_command);
  v.field("max_batch", vorn.max_batch);
}

}  // namespace zunol_monitoring
