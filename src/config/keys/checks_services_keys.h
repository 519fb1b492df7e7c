// The keys of checks_services_config.h.
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_services_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<SystemdCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.list_always("units", check.units, "Systemd units to watch, by name");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UbuntuHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.list("important_services", check.important_services, "Services that must run");
  v.field("restart_warning_count", check.restart_warning_count, restart_warning);
  v.field("restart_critical_count", check.restart_critical_count, restart_critical);
  v.duration("restart_window", check.restart_window, "Time over which restarts are counted");
  v.field("security_updates_warning_count", check.security_updates_warning_count,
          "Security updates that wait, from which a warning comes");
  v.field("security_updates_critical_count", check.security_updates_critical_count,
          "Security updates that wait, from which it is critical");
  v.field("fail2ban", check.fail2ban, "Whether the state of fail2ban is looked at");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DockerContainerItem> auto& item) {
  v.field("name", item.name, "Name of the container");
  v.field("required_status", item.required_status,
          {"Status that the container must have",
           {"created", "running", "paused", "restarting", "removing", "exited", "dead"}});
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DockerCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("containers", check.containers, "The containers to watch");
  v.field("detect_restart_loop", check.detect_restart_loop,
          "Whether containers that start over and over are reported");
  v.field("restart_loop_threshold", check.restart_loop_threshold,
          "Restarts from which it counts as a loop");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ContainersHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("docker", check.docker,
          "Whether Docker containers are looked at; apart from the block checks.docker");
  v.list("important_containers", check.important_containers, "Containers that must run");
  v.field("restart_warning_count", check.restart_warning_count, restart_warning);
  v.field("restart_critical_count", check.restart_critical_count, restart_critical);
  v.field("cpu_warning_percent", check.cpu_warning_percent,
          "Percent of processor time of a container from which a warning comes");
  v.field("cpu_critical_percent", check.cpu_critical_percent,
          "Percent of processor time of a container from which it is critical");
  v.field("ram_warning_percent", check.ram_warning_percent,
          "Percent of memory of a container from which a warning comes");
  v.field("ram_critical_percent", check.ram_critical_percent,
          "Percent of memory of a container from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ProcessItem> auto& item) {
  v.field("name", item.name, item_name);
  v.field("match", item.match, "Text by which the processes are found");
  v.field("min_count", item.min_count, "Processes that must run at least");
  v.field("max_count", item.max_count, "Processes that may run at most; -1 is no limit");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ProcessesCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("items", check.items, "The processes to count");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<OsUpdatesCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("security_updates_warning", check.security_updates_warning,
          "Whether security updates that wait give a warning");
  v.field("reboot_required_critical", check.reboot_required_critical,
          "Whether a reboot that is due is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogPatternItem> auto& pattern) {
  v.field("level", pattern.level,
          {"Level of the incident when enough lines match", {"info", "warning", "critical"}});
  v.field("regex", pattern.regex,
          "Regular expression that a line must match; it is not tried out on loading");
  v.field("threshold", pattern.threshold, "Matching lines within the window from which it counts");
  v.duration("window", pattern.window, "Time over which matching lines are counted");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogFileItem> auto& file) {
  v.field("path", file.path, "Log file to read");
  v.records("patterns", file.patterns, "What to look for in the file");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogsCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("files", check.files, "The log files to read");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<LogsHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.duration("window", check.window, "Time over which errors are counted");
  v.field("warning_error_count", check.warning_error_count,
          "Errors within the window from which a warning comes");
  v.field("critical_error_count", check.critical_error_count,
          "Errors within the window from which it is critical");
  v.field("warning_ratio", check.warning_ratio,
          "Times the usual number of errors from which a warning comes");
  v.field("critical_ratio", check.critical_ratio,
          "Times the usual number of errors from which it is critical");
  v.field("journald_warning_bytes", check.journald_warning_bytes,
          "Bytes of the systemd journal from which a warning comes");
  v.field("journald_critical_bytes", check.journald_critical_bytes,
          "Bytes of the systemd journal from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<BackupItem> auto& item) {
  v.field("name", item.name, item_name);
  v.field("type", item.type, {"What the backup is", {"file", "directory", "command"}});
  v.field("path", item.path, "File or directory of the backup");
  v.field("command", item.command,
          "Command that tells whether the backup is there, where it has no path");
  v.duration("max_age", item.max_age, "Age of the backup from which it is too old");
  v.field("min_size_mb", item.min_size_mb, "Megabytes that the backup must have at least");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<BackupsCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.records("items", check.items, "The backups to look at");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TestIncidentCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("mode", check.mode,
          "Result of the check: always good, always failing, in turn, or failing first");
  v.field("level", check.level, "Level of the incident when the check fails");
}

}  // namespace zunol_monitoring
