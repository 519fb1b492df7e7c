// The keys of telegram_commands_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/telegram_commands_config.h"

namespace zunol_monitoring {

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
