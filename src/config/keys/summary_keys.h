// The keys of summary_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/summary_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SummaryConfig> auto& summary) {
  v.field("enabled", summary.enabled);
  v.field("mode", summary.mode);
}

}  // namespace zunol_monitoring
