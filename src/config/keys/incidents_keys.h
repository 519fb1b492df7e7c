// The keys of incidents_config.h.
#pragma once

#include <string>

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/incidents_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentRepeatStep> auto& step) {
  v.duration("after", step.after, "Time after the incident's begin at which it is reported again");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentRepeatConfig> auto& repeat) {
  v.field("enabled", repeat.enabled, "Whether open incidents are reported again");
  std::vector<IncidentRepeatStep> steps;
  for (const std::string& after : repeat.schedule) steps.push_back({after});
  v.bare_records("schedule", steps, "The times at which an open incident is reported again");
  if constexpr (Visitor::reading) {
    repeat.schedule.clear();
    for (IncidentRepeatStep& step : steps) repeat.schedule.push_back(std::move(step.after));
  }
  v.field("critical_repeat_until_ack", repeat.critical_repeat_until_ack,
          "Whether critical incidents are reported until somebody acknowledges them");
  v.duration("critical_repeat_interval", repeat.critical_repeat_interval,
             "Time between two such reports of a critical incident");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IncidentsConfig> auto& incidents) {
  v.duration("auto_resolve_after_success", incidents.auto_resolve_after_success,
             "Time that a check must succeed before its incident ends");
  v.block("repeat", incidents.repeat, "How often open incidents are reported");
}

}  // namespace zunol_monitoring
