// The keys of agent_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/agent_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<AgentConfig> auto& agent) {
  v.field("id", agent.id);
  v.field("server_name", agent.server_name);
  v.field("environment", agent.environment);
  v.field("project_id", agent.project_id);
  v.list_always("tags", agent.tags);
}

}  // namespace zunol_monitoring
