// The keys of anomaly_detection_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/anomaly_detection_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SshFailedLoginsAnomalyConfig> auto& logins) {
  v.field("enabled", logins.enabled,
          "Whether failed SSH logins are compared with their number in the window");
  v.duration("window", logins.window, "Time over which failed logins are counted");
  v.field("min_absolute_count", logins.min_absolute_count,
          "Failed logins in the window below which nothing is reported, whatever the ratio");
  v.field("critical_absolute_count", logins.critical_absolute_count,
          "Failed logins in the window that are critical, whatever the ratio");
  v.field("warning_ratio", logins.warning_ratio,
          "Times the usual number of failed logins from which a warning comes");
  v.field("critical_ratio", logins.critical_ratio,
          "Times the usual number of failed logins from which it is critical");
  v.duration("cooldown", logins.cooldown, "Time after a report in which the next one is held back");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<AnomalyDetectionConfig> auto& anomalies) {
  v.field("enabled", anomalies.enabled, "Whether the agent looks for unusual activity");
  v.block("ssh_failed_logins", anomalies.ssh_failed_logins,
          "Failed SSH logins far above the usual number");
}

}  // namespace zunol_monitoring
