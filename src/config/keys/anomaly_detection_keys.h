// The keys of anomaly_detection_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/anomaly_detection_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SshFailedLoginsAnomalyConfig> auto& logins) {
  v.field("enabled", logins.enabled);
  v.duration("window", logins.window);
  v.field("min_absolute_count", logins.min_absolute_count);
  v.field("critical_absolute_count", logins.critical_absolute_count);
  v.field("warning_ratio", logins.warning_ratio);
  v.field("critical_ratio", logins.critical_ratio);
  v.duration("cooldown", logins.cooldown);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<AnomalyDetectionConfig> auto& anomalies) {
  v.field("enabled", anomalies.enabled);
  v.block("ssh_failed_logins", anomalies.ssh_failed_logins);
}

}  // namespace zunol_monitoring
