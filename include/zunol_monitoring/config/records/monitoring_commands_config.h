// Section monitoring_commands, what remote commands may do on this host, and section
// remote_actions, a second way to write four of its fields.
#pragma once

#include <string>
#include <vector>

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

}  // namespace zunol_monitoring
