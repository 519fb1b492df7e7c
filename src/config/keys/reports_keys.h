// The keys of reports_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/reports_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DailyReportConfig> auto& daily) {
  v.field("enabled", daily.enabled);
  v.field("time", daily.time);
  v.field("send_window_minutes", daily.send_window_minutes);
  v.field("language", daily.language);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ReportsConfig> auto& reports) {
  v.block("daily", reports.daily);
}

}  // namespace zunol_monitoring
