// The keys of action_policy.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/action_policy.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ActionPolicy> auto& policy) {
  v.field("enabled", policy.enabled);
  v.field("required_role", policy.required_role);
  v.field("require_confirmation", policy.require_confirmation);
  v.field("archive", policy.archive);
  v.field("max_runtime_sec", policy.max_runtime_sec);
}

}  // namespace zunol_monitoring
