// Section monitoring_commands, what remote commands may do on this host, and section
// remote_actions, a second way to write four of its fields.
#pragma once

#include <string>
#include <vector>

#include "config/visit.h"

namespace zunol_monitoring {

struct MonitoringCommandsConfig {
  bool allow_actions = false;
  bool allow_dangerous_actions = false;
  int timeout_sec = 15;
  int max_output_chars = 3500;
  std::vector<std::string> allowed_systemd_services = {"zunol-monitoring-agent", "nginx", "docker"};
  std::vector<std::string> allowed_docker_containers;
  friend bool operator==(const MonitoringCommandsConfig&,
                         const MonitoringCommandsConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<MonitoringCommandsConfig> auto& commands) {
  v.field("allow_actions", commands.allow_actions);
  v.field("allow_dangerous_actions", commands.allow_dangerous_actions);
  v.field("timeout_sec", commands.timeout_sec);
  v.field("max_output_chars", commands.max_output_chars);
  v.list("allowed_systemd_services", commands.allowed_systemd_services);
  v.list("allowed_docker_containers", commands.allowed_docker_containers);
}

/// Section remote_actions. Read after monitoring_commands, it wins where both name a field.
template <class Visitor>
void visit_remote_actions_keys(Visitor& v, MaybeConst<MonitoringCommandsConfig> auto& commands) {
  v.field("enabled", commands.allow_actions);
  v.literal("require_confirmation", "true");
  v.field("ttl_seconds", commands.timeout_sec);
  v.list("allowed_services", commands.allowed_systemd_services);
  v.list("allowed_containers", commands.allowed_docker_containers);
}

}  // namespace zunol_monitoring
