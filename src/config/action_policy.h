// A named action block: who may run a diagnostic profile, and under which conditions.
#pragma once

#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

struct ActionPolicy {
  bool enabled = true;
  std::string required_role = "viewer";
  bool require_confirmation = false;
  bool archive = true;
  int max_runtime_sec = 180;
  friend bool operator==(const ActionPolicy&, const ActionPolicy&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ActionPolicy> auto& policy) {
  v.field("enabled", policy.enabled);
  v.field("required_role", policy.required_role);
  v.field("require_confirmation", policy.require_confirmation);
  v.field("archive", policy.archive);
  v.field("max_runtime_sec", policy.max_runtime_sec);
}

}  // namespace zunol_monitoring
