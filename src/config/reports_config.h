// Section reports: the daily report.
#pragma once

#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

struct DailyReportConfig {
  bool enabled = true;
  std::string time = "08:00";  ///< HH:MM
  int send_window_minutes = 60;
  std::string language = "ru";  ///< "ru" or "en"
  friend bool operator==(const DailyReportConfig&, const DailyReportConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DailyReportConfig> auto& daily) {
  v.field("enabled", daily.enabled);
  v.field("time", daily.time);
  v.field("send_window_minutes", daily.send_window_minutes);
  v.field("language", daily.language);
}

struct ReportsConfig {
  DailyReportConfig daily;
  friend bool operator==(const ReportsConfig&, const ReportsConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ReportsConfig> auto& reports) {
  v.block("daily", reports.daily);
}

}  // namespace zunol_monitoring
