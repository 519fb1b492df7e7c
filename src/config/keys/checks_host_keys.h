// The keys of checks_host_config.h.
#pragma once

#include "config/keys/usage_threshold_keys.h"
#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_host_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ThresholdCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.flow_block("warning", check.warning);
  v.flow_block("critical", check.critical);
}

/// A block warning or critical inside load, where per_core wins over usage_percent.
template <class Visitor>
void visit_load_threshold_keys(Visitor& v, MaybeConst<UsageThreshold> auto& threshold) {
  v.field("usage_percent", threshold.usage_percent);
  v.alias("per_core", threshold.usage_percent);
  v.duration("duration", threshold.duration);
}

/// The block load. Its flat keys are read numbers first and then durations, and rendered threshold
/// by threshold; the blocks that win over them are never rendered.
template <class Visitor>
void visit_load_keys(Visitor& v, MaybeConst<ThresholdCheckConfig> auto& load) {
  v.field("enabled", load.enabled);
  v.duration("interval", load.interval);
  const auto critical_per_core = [&] { v.field("critical_per_core", load.critical.usage_percent); };
  const auto warning_duration = [&] { v.duration("warning_duration", load.warning.duration); };
  v.field("warning_per_core", load.warning.usage_percent);
  if constexpr (Visitor::rendering) {
    warning_duration();
    critical_per_core();
  } else {
    critical_per_core();
    warning_duration();
  }
  v.duration("critical_duration", load.critical.duration);
  v.alias("warning", [&](auto& block) { visit_load_threshold_keys(block, load.warning); });
  v.alias("critical", [&](auto& block) { visit_load_threshold_keys(block, load.critical); });
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<PathThreshold> auto& item) {
  v.field("path", item.path);
  v.field("warning_percent", item.warning_percent);
  v.field("critical_percent", item.critical_percent);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<PathUsageCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.bare_records("paths", check.paths);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskTrendCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.duration("min_history", check.min_history);
  v.field("warning_days_left", check.warning_days_left);
  v.field("critical_days_left", check.critical_days_left);
  v.list_always("paths", check.paths);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskIoCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.list_always("devices", check.devices);
  v.field("warning_util_percent", check.warning_util_percent);
  v.field("critical_util_percent", check.critical_util_percent);
  v.field("warning_read_mb_s", check.warning_read_mb_s);
  v.field("critical_read_mb_s", check.critical_read_mb_s);
  v.field("warning_write_mb_s", check.warning_write_mb_s);
  v.field("critical_write_mb_s", check.critical_write_mb_s);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<NetworkCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.list_always("interfaces", check.interfaces);
  v.field("ignore_loopback", check.ignore_loopback);
  v.field("warning_rx_mbps", check.warning_rx_mbps);
  v.field("critical_rx_mbps", check.critical_rx_mbps);
  v.field("warning_tx_mbps", check.warning_tx_mbps);
  v.field("critical_tx_mbps", check.critical_tx_mbps);
  v.field("traffic_quota_enabled", check.traffic_quota_enabled);
  v.duration("traffic_quota_window", check.traffic_quota_window);
  v.field("warning_total_gb", check.warning_total_gb);
  v.field("critical_total_gb", check.critical_total_gb);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UptimeCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("warning_min_seconds", check.warning_min_seconds);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<OpenFilesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("warning_percent", check.warning_percent);
  v.field("critical_percent", check.critical_percent);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TemperaturesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("warning_celsius", check.warning_celsius);
  v.field("critical_celsius", check.critical_celsius);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IoProbeConfig> auto& probe) {
  v.field("enabled", probe.enabled);
  v.duration("interval", probe.interval);
  v.field("test_file_dir", probe.test_file_dir);
  v.field("max_test_size_mb", probe.max_test_size_mb);
  v.field("warning_ms", probe.warning_ms);
  v.field("critical_ms", probe.critical_ms);
}

/// The list of places and the block io_probe are read last but rendered in their place in the
/// record, and the two
/// temperatures are read but never rendered. An empty list of paths is rendered as a bare key, so
/// that it comes back as the four defaults.
template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskHealthCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("auto_mounts", check.auto_mounts);
  v.field("smart", check.smart);
  v.field("inode", check.inode);
  v.field("temperatures", check.temperatures);
  const auto io_probe = [&] { v.block("io_probe", check.io_probe); };
  const auto paths = [&] { v.kept_records("paths", check.paths); };
  if constexpr (Visitor::rendering) {
    io_probe();
    paths();
  }
  v.field("emergency_percent", check.emergency_percent);
  v.field("inode_warning_percent", check.inode_warning_percent);
  v.field("inode_critical_percent", check.inode_critical_percent);
  if constexpr (!Visitor::rendering) {
    v.field("temperature_warning_celsius", check.temperature_warning_celsius);
    v.field("temperature_critical_celsius", check.temperature_critical_celsius);
    paths();
    io_probe();
  }
}

}  // namespace zunol_monitoring
