// The keys of monitoring_commands_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/monitoring_commands_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<MonitoringCommandsConfig> auto& commands) {
  v.field("allow_actions", commands.allow_actions, "Whether remote commands may change anything");
  v.field("allow_dangerous_actions", commands.allow_dangerous_actions,
          "Whether they may also do what can interrupt a service; needs allow_actions");
  v.field("timeout_sec", commands.timeout_sec, "Seconds after which a command is ended");
  v.field("max_output_chars", commands.max_output_chars,
          "Characters of a command's output that are sent at most");
  v.list("allowed_systemd_services", commands.allowed_systemd_services,
         "Systemd services that commands may act on");
  v.list("allowed_docker_containers", commands.allowed_docker_containers,
         "Docker containers that commands may act on");
}

/// Section remote_actions. Read after monitoring_commands, it wins where both name a field.
template <class Visitor>
void visit_remote_actions_keys(Visitor& v, MaybeConst<MonitoringCommandsConfig> auto& commands) {
  v.field("enabled", commands.allow_actions);
  v.literal("require_confirmation", "true", "Stands as true in each file that is written");
  v.field("ttl_seconds", commands.timeout_sec);
  v.list("allowed_services", commands.allowed_systemd_services);
  v.list("allowed_containers", commands.allowed_docker_containers);
}

}  // namespace zunol_monitoring
