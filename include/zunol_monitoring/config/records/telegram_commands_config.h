// Section telegram_commands: the command channel through the Telegram service.
#pragma once

#include <string>

namespace zunol_monitoring {

struct TelegramCommandsConfig {
  bool enabled = false;
  bool register_manifest = true;
  bool ack_enabled = false;
  int poll_interval_sec = 5;
  int poll_limit = 20;
  std::string executor_key = "monitoring-agent";
  std::string agent_id;     ///< independent of agent.id
  std::string server_name;  ///< independent of agent.server_name
  friend bool operator==(const TelegramCommandsConfig&, const TelegramCommandsConfig&) = default;
};

}  // namespace zunol_monitoring
