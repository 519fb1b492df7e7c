// Section reports: the daily report.
#pragma once

#include <string>

namespace zunol_monitoring {

struct DailyReportConfig {
  bool enabled = true;
  std::string time = "08:00";  ///< HH:MM
  int send_window_minutes = 60;
  std::string language = "ru";  ///< "ru" or "en"
  friend bool operator==(const DailyReportConfig&, const DailyReportConfig&) = default;
};

struct ReportsConfig {
  DailyReportConfig daily;
  friend bool operator==(const ReportsConfig&, const ReportsConfig&) = default;
};

}  // namespace zunol_monitoring
