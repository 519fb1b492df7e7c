// Section incidents: when incidents resolve by themselves and how often they are repeated.
#pragma once

#include <string>
#include <vector>

namespace zunol_monitoring {

struct IncidentRepeatConfig {
  bool enabled = true;
  std::vector<std::string> schedule = {"5m", "15m", "1h"};  ///< durations
  bool critical_repeat_until_ack = true;
  std::string critical_repeat_interval = "30m";
  friend bool operator==(const IncidentRepeatConfig&, const IncidentRepeatConfig&) = default;
};

/// One step of the schedule as the file has it: a map, whose text is all that the record keeps.
struct IncidentRepeatStep {
  std::string after = "5m";
};

struct IncidentsConfig {
  std::string auto_resolve_after_success = "2m";
  IncidentRepeatConfig repeat;
  friend bool operator==(const IncidentsConfig&, const IncidentsConfig&) = default;
};

}  // namespace zunol_monitoring
