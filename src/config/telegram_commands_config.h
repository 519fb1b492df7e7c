// Section telegram_commands: the command channel through the Telegram service.
#pragma once

#include <string>

#include "config/visit.h"

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TelegramCommandsConfig> auto& commands) {
  v.field("enabled", commands.enabled);
  v.field("register_manifest", commands.register_manifest);
  v.field("ack_enabled", commands.ack_enabled);
  v.field("poll_interval_sec", commands.poll_interval_sec);
  v.field("poll_limit", commands.poll_limit);
  v.field("executor_key", commands.executor_key);
  v.field("agent_id", commands.agent_id);
  v.field("server_name", commands.server_name);
}

}  // namespace zunol_monitoring
