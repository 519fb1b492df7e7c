// Section checks, the blocks about what runs on the host: units, containers, processes, updates,
// logs, backups, and a synthetic check for trying out the incident path.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zunol_monitoring {

struct SystemdCheckConfig {
  bool enabled = false;
  std::string interval = "30s";
  std::vector<std::string> units;
  friend bool operator==(const SystemdCheckConfig&, const SystemdCheckConfig&) = default;
};

struct UbuntuHealthCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<std::string> important_services = {"nginx", "postgresql", "docker", "redis-server",
                                                 "zunol-monitoring-agent"};
  int restart_warning_count = 5;
  int restart_critical_count = 10;
  std::string restart_window = "10m";
  int security_updates_warning_count = 5;
  int security_updates_critical_count = 25;
  bool fail2ban = true;
  friend bool operator==(const UbuntuHealthCheckConfig&, const UbuntuHealthCheckConfig&) = default;
};

struct DockerContainerItem {
  std::string name;
  std::string required_status = "running";
  friend bool operator==(const DockerContainerItem&, const DockerContainerItem&) = default;
};

struct DockerCheckConfig {
  bool enabled = false;
  std::string interval = "30s";
  std::vector<DockerContainerItem> containers;
  bool detect_restart_loop = true;
  int restart_loop_threshold = 5;
  friend bool operator==(const DockerCheckConfig&, const DockerCheckConfig&) = default;
};

struct ContainersHealthCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  bool docker = true;  ///< a switch of its own, without a link to the block docker
  std::vector<std::string> important_containers;
  int restart_warning_count = 5;
  int restart_critical_count = 10;
  double cpu_warning_percent = 85;
  double cpu_critical_percent = 95;
  double ram_warning_percent = 85;
  double ram_critical_percent = 95;
  friend bool operator==(const ContainersHealthCheckConfig&,
                         const ContainersHealthCheckConfig&) = default;
};

struct ProcessItem {
  std::string name;
  std::string match;
  int min_count = 1;
  int max_count = -1;
  friend bool operator==(const ProcessItem&, const ProcessItem&) = default;
};

struct ProcessesCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<ProcessItem> items;
  friend bool operator==(const ProcessesCheckConfig&, const ProcessesCheckConfig&) = default;
};

struct OsUpdatesCheckConfig {
  bool enabled = false;
  std::string interval = "12h";
  bool security_updates_warning = true;
  bool reboot_required_critical = false;
  friend bool operator==(const OsUpdatesCheckConfig&, const OsUpdatesCheckConfig&) = default;
};

struct LogPatternItem {
  std::string level = "warning";
  std::string regex;
  int threshold = 1;
  std::string window = "5m";
  friend bool operator==(const LogPatternItem&, const LogPatternItem&) = default;
};

struct LogFileItem {
  std::string path;
  std::vector<LogPatternItem> patterns;
  friend bool operator==(const LogFileItem&, const LogFileItem&) = default;
};

struct LogsCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<LogFileItem> files;
  friend bool operator==(const LogsCheckConfig&, const LogsCheckConfig&) = default;
};

struct LogsHealthCheckConfig {
  bool enabled = false;
  std::string interval = "5m";
  std::string window = "10m";
  int warning_error_count = 50;
  int critical_error_count = 250;
  double warning_ratio = 5;
  double critical_ratio = 15;
  std::uint64_t journald_warning_bytes = 1073741824;   ///< 1 GiB
  std::uint64_t journald_critical_bytes = 5368709120;  ///< 5 GiB
  friend bool operator==(const LogsHealthCheckConfig&, const LogsHealthCheckConfig&) = default;
};

struct BackupItem {
  std::string name;
  std::string type = "file";
  std::string path;
  std::string command;
  std::string max_age = "24h";
  double min_size_mb = 0;
  friend bool operator==(const BackupItem&, const BackupItem&) = default;
};

struct BackupsCheckConfig {
  bool enabled = false;
  std::string interval = "10m";
  std::vector<BackupItem> items;
  friend bool operator==(const BackupsCheckConfig&, const BackupsCheckConfig&) = default;
};

/// A synthetic check: its result comes from `mode`, not from the host.
struct TestIncidentCheckConfig {
  bool enabled = false;
  std::string interval = "10s";
  std::string mode = "always_fail";  ///< "always_ok", "always_fail", "flap", "fail_then_recover"
  std::string level = "critical";    ///< "warning" or "critical"
  friend bool operator==(const TestIncidentCheckConfig&, const TestIncidentCheckConfig&) = default;
};

}  // namespace zunol_monitoring
