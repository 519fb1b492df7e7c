// The keys of summary_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/summary_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SummaryConfig> auto& summary) {
  v.field("enabled", summary.enabled, "Whether summaries are sent");
  v.field("mode", summary.mode, "How much a summary tells");
}

}  // namespace zunol_monitoring
