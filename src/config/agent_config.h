// Section agent: who this host is.
#pragma once

#include <string>
#include <vector>

#include "config/visit.h"

namespace zunol_monitoring {

struct AgentConfig {
  std::string id = "agent_local";
  std::string server_name = "localhost";
  std::string environment = "production";
  std::string project_id = "project_local";  ///< independent of telegram.project_id
  std::vector<std::string> tags;             ///< default_config() adds "monitoring"
  friend bool operator==(const AgentConfig&, const AgentConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<AgentConfig> auto& agent) {
  v.field("id", agent.id);
  v.field("server_name", agent.server_name);
  v.field("environment", agent.environment);
  v.field("project_id", agent.project_id);
  v.list_always("tags", agent.tags);
}

}  // namespace zunol_monitoring
