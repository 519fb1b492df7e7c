// Section agent: who this host is.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring {

struct AgentConfig {
  std::string id = "agent_local";
  std::string server_name = "localhost";
  std::string environment = "production";
  std::string project_id = "project_local";  ///< independent of telegram.project_id
  std::vector<std::string> tags;             ///< default_config() adds "monitoring"
  friend bool operator==(const AgentConfig&, const AgentConfig&) = default;
};

}  // namespace zunol_monitoring
