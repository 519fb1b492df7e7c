// The keys of checks_services_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_services_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SystemdCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.list_always("units", check.units);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DockerContainerItem> auto& item) {
  v.field("name", item.name);
  v.field("required_status", item.required_status);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DockerCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("containers", check.containers);
  v.field("detect_restart_loop", check.detect_restart_loop);
  v.field("restart_loop_threshold", check.restart_loop_threshold);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ProcessItem> auto& item) {
  v.field("name", item.name);
  v.field("match", item.match);
  v.field("min_count", item.min_count);
  v.field("max_count", item.max_count);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ProcessesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<OsUpdatesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("security_updates_warning", check.security_updates_warning);
  v.field("reboot_required_critical", check.reboot_required_critical);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogPatternItem> auto& pattern) {
  v.field("level", pattern.level);
  v.field("regex", pattern.regex);
  v.field("threshold", pattern.threshold);
  v.duration("window", pattern.window);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogFileItem> auto& file) {
  v.field("path", file.path);
  v.records("patterns", file.patterns);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("files", check.files);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<BackupItem> auto& item) {
  v.field("name", item.name);
  v.field("type", item.type);
  v.field("path", item.path);
  v.field("command", item.command);
  v.duration("max_age", item.max_age);
  v.field("min_size_mb", item.min_size_mb);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<BackupsCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.records("items", check.items);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TestIncidentCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("mode", check.mode);
  v.field("level", check.level);
}

}  // namespace zunol_monitoring
