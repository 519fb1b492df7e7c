// The keys of reports_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/reports_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DailyReportConfig> auto& daily) {
  v.field("enabled", daily.enabled, "Whether a report is sent each day");
  v.field("time", daily.time, "Time of day at which the report is due, as HH:MM");
  v.field("send_window_minutes", daily.send_window_minutes,
          "Minutes from that time on in which the report may still be sent");
  v.field("language", daily.language, "Language of the report: ru for Russian, en for English");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ReportsConfig> auto& reports) {
  v.block("daily", reports.daily, "The report of the day");
}

}  // namespace zunol_monitoring
