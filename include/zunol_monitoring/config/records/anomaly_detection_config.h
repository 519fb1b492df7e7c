// Section anomaly_detection.
#pragma once

#include <string>

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

struct AnomalyDetectionConfig {
  bool enabled = true;
  SshFailedLoginsAnomalyConfig ssh_failed_logins;
  friend bool operator==(const AnomalyDetectionConfig&, const AnomalyDetectionConfig&) = default;
};

}  // namespace zunol_monitoring
