// A named action block: who may run a diagnostic profile, and under which conditions.
#pragma once

#include <string>

namespace zunol_monitoring {

struct ActionPolicy {
  bool enabled = true;
  std::string required_role = "viewer";
  bool require_confirmation = false;
  bool archive = true;
  int max_runtime_sec = 180;
  friend bool operator==(const ActionPolicy&, const ActionPolicy&) = default;
};

}  // namespace zunol_monitoring
