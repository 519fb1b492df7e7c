// Section checks, the blocks about what runs on the host: units, containers, processes, updates,
// logs, backups, and a synthetic check for trying out the incident path.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/visit.h"

namespace zunol_monitoring {

struct SystemdCheckConfig {
  bool enabled = false;
  std::string interval = "30s";
  std::vector<std::string> units;
  friend bool operator==(const SystemdCheckConfig&, const SystemdCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SystemdCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.list_always("units", check.units);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UbuntuHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.list("important_services", check.important_services);
  v.field("restart_warning_count", check.restart_warning_count);
  v.field("restart_critical_count", check.restart_critical_count);
  v.duration("restart_window", check.restart_window);
  v.field("security_updates_warning_count", check.security_updates_warning_count);
  v.field("security_updates_critical_count", check.security_updates_critical_count);
  v.field("fail2ban", check.fail2ban);
}

struct DockerContainerItem {
  std::string name;
  std::string required_status = "running";
  friend bool operator==(const DockerContainerItem&, const DockerContainerItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DockerContainerItem> auto& item) {
  v.field("name", item.name);
  v.field("required_status", item.required_status);
}

struct DockerCheckConfig {
  bool enabled = false;
  std::string interval = "30s";
  std::vector<DockerContainerItem> containers;
  bool detect_restart_loop = true;
  int restart_loop_threshold = 5;
  friend bool operator==(const DockerCheckConfig&, const DockerCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DockerCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("containers", check.containers);
  v.field("detect_restart_loop", check.detect_restart_loop);
  v.field("restart_loop_threshold", check.restart_loop_threshold);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContainersHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("docker", check.docker);
  v.list("important_containers", check.important_containers);
  v.field("restart_warning_count", check.restart_warning_count);
  v.field("restart_critical_count", check.restart_critical_count);
  v.field("cpu_warning_percent", check.cpu_warning_percent);
  v.field("cpu_critical_percent", check.cpu_critical_percent);
  v.field("ram_warning_percent", check.ram_warning_percent);
  v.field("ram_critical_percent", check.ram_critical_percent);
}

struct ProcessItem {
  std::string name;
  std::string match;
  int min_count = 1;
  int max_count = -1;
  friend bool operator==(const ProcessItem&, const ProcessItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ProcessItem> auto& item) {
  v.field("name", item.name);
  v.field("match", item.match);
  v.field("min_count", item.min_count);
  v.field("max_count", item.max_count);
}

struct ProcessesCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<ProcessItem> items;
  friend bool operator==(const ProcessesCheckConfig&, const ProcessesCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ProcessesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

struct OsUpdatesCheckConfig {
  bool enabled = false;
  std::string interval = "12h";
  bool security_updates_warning = true;
  bool reboot_required_critical = false;
  friend bool operator==(const OsUpdatesCheckConfig&, const OsUpdatesCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<OsUpdatesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("security_updates_warning", check.security_updates_warning);
  v.field("reboot_required_critical", check.reboot_required_critical);
}

struct LogPatternItem {
  std::string level = "warning";
  std::string regex;
  int threshold = 1;
  std::string window = "5m";
  friend bool operator==(const LogPatternItem&, const LogPatternItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogPatternItem> auto& pattern) {
  v.field("level", pattern.level);
  v.field("regex", pattern.regex);
  v.field("threshold", pattern.threshold);
  v.duration("window", pattern.window);
}

struct LogFileItem {
  std::string path;
  std::vector<LogPatternItem> patterns;
  friend bool operator==(const LogFileItem&, const LogFileItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogFileItem> auto& file) {
  v.field("path", file.path);
  v.records("patterns", file.patterns);
}

struct LogsCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<LogFileItem> files;
  friend bool operator==(const LogsCheckConfig&, const LogsCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("files", check.files);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogsHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.duration("window", check.window);
  v.field("warning_error_count", check.warning_error_count);
  v.field("critical_error_count", check.critical_error_count);
  v.field("warning_ratio", check.warning_ratio);
  v.field("critical_ratio", check.critical_ratio);
  v.field("journald_warning_bytes", check.journald_warning_bytes);
  v.field("journald_critical_bytes", check.journald_critical_bytes);
}

struct BackupItem {
  std::string name;
  std::string type = "file";
  std::string path;
  std::string command;
  std::string max_age = "24h";
  double min_size_mb = 0;
  friend bool operator==(const BackupItem&, const BackupItem&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<BackupItem> auto& item) {
  v.field("name", item.name);
  v.field("type", item.type);
  v.field("path", item.path);
  v.field("command", item.command);
  v.duration("max_age", item.max_age);
  v.field("min_size_mb", item.min_size_mb);
}

struct BackupsCheckConfig {
  bool enabled = false;
  std::string interval = "10m";
  std::vector<BackupItem> items;
  friend bool operator==(const BackupsCheckConfig&, const BackupsCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<BackupsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

/// A synthetic check: its result comes from `mode`, not from the host.
struct TestIncidentCheckConfig {
  bool enabled = false;
  std::string interval = "10s";
  std::string mode = "always_fail";  ///< "always_ok", "always_fail", "flap", "fail_then_recover"
  std::string level = "critical";    ///< "warning" or "critical"
  friend bool operator==(const TestIncidentCheckConfig&, const TestIncidentCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TestIncidentCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("mode", check.mode);
  v.field("level", check.level);
}

}  // namespace zunol_monitoring
