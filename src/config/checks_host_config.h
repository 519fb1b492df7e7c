// Section checks, the blocks about the host itself: load on the processor and memory, space and
// health of the disks, network traffic, uptime, open files and temperatures.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "config/usage_threshold.h"
#include "config/visit.h"

namespace zunol_monitoring {

/// The blocks cpu, ram, swap and load.
struct ThresholdCheckConfig {
  bool enabled = true;
  std::string interval = "30s";
  UsageThreshold warning;
  UsageThreshold critical;
  friend bool operator==(const ThresholdCheckConfig&, const ThresholdCheckConfig&) = default;
};

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

/// An item of the lists of paths.
struct PathThreshold {
  std::string path = "/";
  double warning_percent = 80;
  double critical_percent = 90;
  friend bool operator==(const PathThreshold&, const PathThreshold&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<PathThreshold> auto& item) {
  v.field("path", item.path);
  v.field("warning_percent", item.warning_percent);
  v.field("critical_percent", item.critical_percent);
}

/// The blocks disk and inodes. A block that is present without paths has none.
struct PathUsageCheckConfig {
  bool enabled = true;
  std::string interval = "1m";
  std::vector<PathThreshold> paths = {PathThreshold{}};
  friend bool operator==(const PathUsageCheckConfig&, const PathUsageCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<PathUsageCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.bare_records("paths", check.paths);
}

struct DiskTrendCheckConfig {
  bool enabled = false;
  std::string interval = "6h";
  std::string min_history = "6h";
  double warning_days_left = 14;
  double critical_days_left = 3;
  std::vector<std::string> paths;  ///< may be empty where the block disk has paths
  friend bool operator==(const DiskTrendCheckConfig&, const DiskTrendCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiskTrendCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.duration("min_history", check.min_history);
  v.field("warning_days_left", check.warning_days_left);
  v.field("critical_days_left", check.critical_days_left);
  v.list_always("paths", check.paths);
}

struct DiskIoCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<std::string> devices;
  double warning_util_percent = 80;
  double critical_util_percent = 95;
  double warning_read_mb_s = 100;
  double critical_read_mb_s = 300;
  double warning_write_mb_s = 100;
  double critical_write_mb_s = 300;
  friend bool operator==(const DiskIoCheckConfig&, const DiskIoCheckConfig&) = default;
};

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

struct NetworkCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  std::vector<std::string> interfaces;
  bool ignore_loopback = true;
  double warning_rx_mbps = 100;
  double critical_rx_mbps = 500;
  double warning_tx_mbps = 100;
  double critical_tx_mbps = 500;
  bool traffic_quota_enabled = false;
  std::string traffic_quota_window = "30d";
  double warning_total_gb = 225;  ///< 0 or less: no warning level
  double critical_total_gb = 250;
  friend bool operator==(const NetworkCheckConfig&, const NetworkCheckConfig&) = default;
};

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

struct UptimeCheckConfig {
  bool enabled = false;
  std::string interval = "5m";
  int warning_min_seconds = 300;
  friend bool operator==(const UptimeCheckConfig&, const UptimeCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<UptimeCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("warning_min_seconds", check.warning_min_seconds);
}

struct OpenFilesCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  double warning_percent = 80;
  double critical_percent = 95;
  friend bool operator==(const OpenFilesCheckConfig&, const OpenFilesCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<OpenFilesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("warning_percent", check.warning_percent);
  v.field("critical_percent", check.critical_percent);
}

struct TemperaturesCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  double warning_celsius = 75;
  double critical_celsius = 90;
  friend bool operator==(const TemperaturesCheckConfig&, const TemperaturesCheckConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<TemperaturesCheckConfig> auto& check) {
  v.field("enabled", check.enabled);
  v.duration("interval", check.interval);
  v.field("warning_celsius", check.warning_celsius);
  v.field("critical_celsius", check.critical_celsius);
}

struct IoProbeConfig {
  bool enabled = false;
  std::string interval = "15m";
  std::filesystem::path test_file_dir = "/var/lib/zunol/monitoring-agent/probe";
  int max_test_size_mb = 8;
  double warning_ms = 200;
  double critical_ms = 1000;
  friend bool operator==(const IoProbeConfig&, const IoProbeConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<IoProbeConfig> auto& probe) {
  v.field("enabled", probe.enabled);
  v.duration("interval", probe.interval);
  v.field("test_file_dir", probe.test_file_dir);
  v.field("max_test_size_mb", probe.max_test_size_mb);
  v.field("warning_ms", probe.warning_ms);
  v.field("critical_ms", probe.critical_ms);
}

/// Unlike those of disk, its default paths go only when the file has a sequence of others.
struct DiskHealthCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  bool auto_mounts = true;
  bool smart = true;
  bool inode = true;
  bool temperatures = true;
  IoProbeConfig io_probe;
  std::vector<PathThreshold> paths = {
      {.path = "/"}, {.path = "/var"}, {.path = "/home"}, {.path = "/opt"}};
  double emergency_percent = 95;
  double inode_warning_percent = 80;
  double inode_critical_percent = 90;
  double temperature_warning_celsius = 60;
  double temperature_critical_celsius = 70;
  friend bool operator==(const DiskHealthCheckConfig&, const DiskHealthCheckConfig&) = default;
};

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
