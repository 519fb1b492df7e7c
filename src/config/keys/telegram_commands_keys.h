// The keys of telegram_commands_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/telegram_commands_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TelegramCommandsConfig> auto& commands) {
  v.field("enabled", commands.enabled,
          "Whether the agent takes commands from the Telegram service");
  v.field("register_manifest", commands.register_manifest,
          "Whether the agent tells the service which commands it knows");
  v.field("ack_enabled", commands.ack_enabled,
          "Whether the agent acknowledges each command that it took");
  v.field("poll_interval_sec", commands.poll_interval_sec,
          "Seconds between two questions for new commands");
  v.field("poll_limit", commands.poll_limit, "Commands that are fetched at once at most");
  v.field("executor_key", commands.executor_key,
          "Name under which the service addresses this executor");
  v.field("agent_id", commands.agent_id,
          "Name of this agent towards the service; not taken from agent.id");
  v.field("server_name", commands.server_name,
          "Name of this host towards the service; not taken from agent.server_name");
}

}  // namespace zunol_monitoring
