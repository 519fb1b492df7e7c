// Section checks, the blocks about the host itself: load on the processor and memory, space and
// health of the disks, network traffic, uptime, open files and temperatures.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "zunol_monitoring/config/records/usage_threshold.h"

namespace zunol_monitoring {

/// The blocks cpu, ram, swap and load.
struct ThresholdCheckConfig {
  bool enabled = true;
  std::string interval = "30s";
  UsageThreshold warning;
  UsageThreshold critical;
  friend bool operator==(const ThresholdCheckConfig&, const ThresholdCheckConfig&) = default;
};

/// An item of the lists of paths.
struct PathThreshold {
  std::string path = "/";
  double warning_percent = 80;
  double critical_percent = 90;
  friend bool operator==(const PathThreshold&, const PathThreshold&) = default;
};

/// The blocks disk and inodes. A block that is present without paths has none.
struct PathUsageCheckConfig {
  bool enabled = true;
  std::string interval = "1m";
  std::vector<PathThreshold> paths = {PathThreshold{}};
  friend bool operator==(const PathUsageCheckConfig&, const PathUsageCheckConfig&) = default;
};

struct DiskTrendCheckConfig {
  bool enabled = false;
  std::string interval = "6h";
  std::string min_history = "6h";
  double warning_days_left = 14;
  double critical_days_left = 3;
  std::vector<std::string> paths;  ///< may be empty where the block disk has paths
  friend bool operator==(const DiskTrendCheckConfig&, const DiskTrendCheckConfig&) = default;
};

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

struct UptimeCheckConfig {
  bool enabled = false;
  std::string interval = "5m";
  int warning_min_seconds = 300;
  friend bool operator==(const UptimeCheckConfig&, const UptimeCheckConfig&) = default;
};

struct OpenFilesCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  double warning_percent = 80;
  double critical_percent = 95;
  friend bool operator==(const OpenFilesCheckConfig&, const OpenFilesCheckConfig&) = default;
};

struct TemperaturesCheckConfig {
  bool enabled = false;
  std::string interval = "1m";
  double warning_celsius = 75;
  double critical_celsius = 90;
  friend bool operator==(const TemperaturesCheckConfig&, const TemperaturesCheckConfig&) = default;
};

struct IoProbeConfig {
  bool enabled = false;
  std::string interval = "15m";
  std::filesystem::path test_file_dir = "/var/lib/zunol/monitoring-agent/probe";
  int max_test_size_mb = 8;
  double warning_ms = 200;
  double critical_ms = 1000;
  friend bool operator==(const IoProbeConfig&, const IoProbeConfig&) = default;
};

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

}  // namespace zunol_monitoring
