// The keys of incidents_config.h.
#pragma once

#include <string>

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/incidents_config.h"

namespace zunol_monitoring {

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentsConfig> auto& incidents) {
  v.duration("auto_resolve_after_success", incidents.auto_resolve_after_success);
  v.block("repeat", incidents.repeat);
}

}  // namespace zunol_monitoring
