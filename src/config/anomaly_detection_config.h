// Section anomaly_detection.
#pragma once

#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

struct SshFailedLoginsAnomalyConfig {
  bool enabled = true;
  std::string window = "10m";
  int min_absolute_count = 100;
  int critical_absolute_count = 1000;
  double warning_ratio = 5.0;
  double critical_ratio = 15.0;
  std::string cooldown = "30m";
  friend bool operator==(const SshFailedLoginsAnomalyConfig&,
                         const SshFailedLoginsAnomalyConfig&) = default;
};

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

struct AnomalyDetectionConfig {
  bool enabled = true;
  SshFailedLoginsAnomalyConfig ssh_failed_logins;
  friend bool operator==(const AnomalyDetectionConfig&, const AnomalyDetectionConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<AnomalyDetectionConfig> auto& anomalies) {
  v.field("enabled", anomalies.enabled);
  v.block("ssh_failed_logins", anomalies.ssh_failed_logins);
}

}  // namespace zunol_monitoring
