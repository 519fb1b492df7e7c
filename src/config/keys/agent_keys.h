// The keys of agent_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/agent_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<AgentConfig> auto& agent) {
  v.field("id", agent.id, "Name of this agent, which stands in every event");
  v.field("server_name", agent.server_name, "Name of this host, which stands in every event");
  v.field("environment", agent.environment,
          "What the host is used for, such as production; only carried for the agent");
  v.field("project_id", agent.project_id, "Project of this host, which stands in every event");
  v.list_always("tags", agent.tags, "Free words about the host; only carried for the agent");
}

}  // namespace zunol_monitoring
