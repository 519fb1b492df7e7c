// Section vorn: the link to the history service.
#pragma once

#include <filesystem>
#include <string>

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

}  // namespace zunol_monitoring
