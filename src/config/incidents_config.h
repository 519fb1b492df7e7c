// Section incidents: when incidents resolve by themselves and how often they are repeated.
#pragma once

#include <string>
#include <vector>

#include "config/visit.h"

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentRepeatStep> auto& step) {
  v.duration("after", step.after);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentRepeatConfig> auto& repeat) {
  v.field("enabled", repeat.enabled);
  std::vector<IncidentRepeatStep> steps;
  for (const std::string& after : repeat.schedule) steps.push_back({after});
  v.bare_records("schedule", steps);
  if constexpr (Visitor::reading) {
    repeat.schedule.clear();
    for (IncidentRepeatStep& step : steps) repeat.schedule.push_back(std::move(step.after));
  }
  v.field("critical_repeat_until_ack", repeat.critical_repeat_until_ack);
  v.duration("critical_repeat_interval", repeat.critical_repeat_interval);
}

struct IncidentsConfig {
  std::string auto_resolve_after_success = "2m";
  IncidentRepeatConfig repeat;
  friend bool operator==(const IncidentsConfig&, const IncidentsConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentsConfig> auto& incidents) {
  v.duration("auto_resolve_after_success", incidents.auto_resolve_after_success);
  v.block("repeat", incidents.repeat);
}

}  // namespace zunol_monitoring
