// The keys of checks_host_config.h.
#pragma once

#include "config/keys/usage_threshold_keys.h"
#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_host_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ThresholdCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.flow_block("warning", check.warning, warning_block);
  v.flow_block("critical", check.critical, critical_block);
}

/// A block warning or critical inside load, where per_core wins over usage_percent.
template <class Visitor>
void visit_load_threshold_keys(Visitor& v, MaybeConst<UsageThreshold> auto& threshold) {
  v.field("usage_percent", threshold.usage_percent,
          "Load for each processor core from which it counts, no percentage");
  v.alias("per_core", threshold.usage_percent);
  v.duration("duration", threshold.duration, threshold_duration);
}

/// The block load. Its flat keys are read numbers first and then durations, and rendered threshold
/// by threshold; the blocks that win over them are never rendered.
template <class Visitor>
void visit_load_keys(Visitor& v, MaybeConst<ThresholdCheckConfig> auto& load) {
  v.field("enabled", load.enabled, check_enabled);
  v.duration("interval", load.interval, check_interval);
  const auto critical_per_core = [&] {
    v.field("critical_per_core", load.critical.usage_percent,
            "Load for each processor core from which it is critical");
  };
  const auto warning_duration = [&] {
    v.duration("warning_duration", load.warning.duration,
               "Time the load must last before the warning comes");
  };
  v.field("warning_per_core", load.warning.usage_percent,
          "Load for each processor core from which a warning comes");
  if constexpr (Visitor::rendering) {
    warning_duration();
    critical_per_core();
  } else {
    critical_per_core();
    warning_duration();
  }
  v.duration("critical_duration", load.critical.duration,
             "Time the load must last before it is critical");
  v.alias(
      "warning", [&](auto& block) { visit_load_threshold_keys(block, load.warning); },
      "The keys of the warning as a block, which beats the single keys");
  v.alias(
      "critical", [&](auto& block) { visit_load_threshold_keys(block, load.critical); },
      "The keys of the critical level as a block, which beats the single keys");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<PathThreshold> auto& item) {
  v.field("path", item.path, "Mount point or directory whose file system is looked at");
  v.field("warning_percent", item.warning_percent, used_warning);
  v.field("critical_percent", item.critical_percent, used_critical);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<PathUsageCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.bare_records("paths", check.paths, "The file systems to look at, with their limits");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskTrendCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.duration("min_history", check.min_history,
             "Time over which use must have been recorded before a forecast is made");
  v.field("warning_days_left", check.warning_days_left,
          "Days until the disk is full, as forecast, below which a warning comes");
  v.field("critical_days_left", check.critical_days_left,
          "Days until the disk is full, as forecast, below which it is critical");
  v.list_always("paths", check.paths, "Where to forecast; empty means the paths of checks.disk");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskIoCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.list_always("devices", check.devices, "Block devices to watch; none are named by default");
  v.field("warning_util_percent", check.warning_util_percent,
          "Percent of the time that a device is busy from which a warning comes");
  v.field("critical_util_percent", check.critical_util_percent,
          "Percent of the time that a device is busy from which it is critical");
  v.field("warning_read_mb_s", check.warning_read_mb_s,
          "Megabytes read in a second from which a warning comes");
  v.field("critical_read_mb_s", check.critical_read_mb_s,
          "Megabytes read in a second from which it is critical");
  v.field("warning_write_mb_s", check.warning_write_mb_s,
          "Megabytes written in a second from which a warning comes");
  v.field("critical_write_mb_s", check.critical_write_mb_s,
          "Megabytes written in a second from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<NetworkCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.list_always("interfaces", check.interfaces,
                "Network interfaces to watch; none are named by default");
  v.field("ignore_loopback", check.ignore_loopback, "Whether the loopback interface is left out");
  v.field("warning_rx_mbps", check.warning_rx_mbps,
          "Megabits received in a second from which a warning comes");
  v.field("critical_rx_mbps", check.critical_rx_mbps,
          "Megabits received in a second from which it is critical");
  v.field("warning_tx_mbps", check.warning_tx_mbps,
          "Megabits sent in a second from which a warning comes");
  v.field("critical_tx_mbps", check.critical_tx_mbps,
          "Megabits sent in a second from which it is critical");
  v.field("traffic_quota_enabled", check.traffic_quota_enabled,
          "Whether the traffic of a longer time is held against a quota");
  v.duration("traffic_quota_window", check.traffic_quota_window,
             "Time over which the traffic is summed up for the quota");
  v.field("warning_total_gb", check.warning_total_gb,
          "Gigabytes within the quota's window from which a warning comes; 0 is no warning");
  v.field("critical_total_gb", check.critical_total_gb,
          "Gigabytes within the quota's window from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UptimeCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("warning_min_seconds", check.warning_min_seconds,
          "Seconds since the start of the host below which a warning comes");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<OpenFilesCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("warning_percent", check.warning_percent,
          "Percent of the kernel's open files in use from which a warning comes");
  v.field("critical_percent", check.critical_percent,
          "Percent of the kernel's open files in use from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TemperaturesCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("warning_celsius", check.warning_celsius, "Degrees Celsius from which a warning comes");
  v.field("critical_celsius", check.critical_celsius, "Degrees Celsius from which it is critical");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IoProbeConfig> auto& probe) {
  v.field("enabled", probe.enabled,
          "Whether the agent times the writing and reading of a test file");
  v.duration("interval", probe.interval, "Time between two test files");
  v.field("test_file_dir", probe.test_file_dir, "Directory in which the test file is made");
  v.field("max_test_size_mb", probe.max_test_size_mb, "Megabytes that the test file has at most");
  v.field("warning_ms", probe.warning_ms, "Milliseconds for the test from which a warning comes");
  v.field("critical_ms", probe.critical_ms, "Milliseconds for the test from which it is critical");
}

/// The list of places and the block io_probe are read last but rendered in their place in the
/// record, and the two
/// temperatures are read but never rendered. An empty list of paths is rendered as a bare key, so
/// that it comes back as the four defaults.
template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled, check_enabled);
  v.duration("interval", check.interval, check_interval);
  v.field("auto_mounts", check.auto_mounts,
          "Whether the mounted file systems are found without being named in paths");
  v.field("smart", check.smart, "Whether the SMART state of the disks is read");
  v.field("inode", check.inode, "Whether the use of inodes is looked at");
  v.field("temperatures", check.temperatures, "Whether the temperatures of the disks are read");
  const auto io_probe = [&] {
    v.block("io_probe", check.io_probe, "A test file, written and read to time the disk");
  };
  const auto paths = [&] {
    v.kept_records("paths", check.paths, "The file systems to look at, with their limits");
  };
  if constexpr (Visitor::rendering) {
    io_probe();
    paths();
  }
  v.field("emergency_percent", check.emergency_percent,
          "Percent in use from which it is worse than critical");
  v.field("inode_warning_percent", check.inode_warning_percent,
          "Percent of the inodes in use from which a warning comes");
  v.field("inode_critical_percent", check.inode_critical_percent,
          "Percent of the inodes in use from which it is critical");
  if constexpr (!Visitor::rendering) {
    v.field("temperature_warning_celsius", check.temperature_warning_celsius,
            "Degrees Celsius of a disk from which a warning comes");
    v.field("temperature_critical_celsius", check.temperature_critical_celsius,
            "Degrees Celsius of a disk from which it is critical");
    paths();
    io_probe();
  }
}

}  // namespace zunol_monitoring
