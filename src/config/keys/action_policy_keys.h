// The keys of action_policy.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/action_policy.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ActionPolicy> auto& policy) {
  v.field("enabled", policy.enabled, "Whether anybody may ask for this profile");
  v.field("required_role", policy.required_role,
          {"Role that a person needs to ask for it", {"viewer", "admin"}});
  v.field("require_confirmation", policy.require_confirmation,
          "Whether the request must be confirmed before it runs");
  v.field("archive", policy.archive, "Whether the result is packed into an archive");
  v.field("max_runtime_sec", policy.max_runtime_sec, "Seconds after which a run is ended");
}

}  // namespace zunol_monitoring
