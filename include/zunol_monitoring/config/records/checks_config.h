// Section checks: which checks the agent runs, how often, and against which thresholds. Only cpu,
// ram, swap, load, disk and inodes are on by default.
#pragma once

#include "zunol_monitoring/config/records/checks_endpoints_config.h"
#include "zunol_monitoring/config/records/checks_host_config.h"
#include "zunol_monitoring/config/records/checks_services_config.h"

namespace zunol_monitoring {

struct ChecksConfig {
  ThresholdCheckConfig cpu{.warning = {80, "5m"}, .critical = {95, "2m"}};
  ThresholdCheckConfig ram{.warning = {85, "5m"}, .critical = {95, "2m"}};
  ThresholdCheckConfig swap{.interval = "1m", .warning = {50, "5m"}, .critical = {80, "2m"}};
  ThresholdCheckConfig load{.warning = {1.5, "5m"}, .critical = {3, "2m"}};
  PathUsageCheckConfig disk;
  PathUsageCheckConfig inodes{.interval = "5m"};
  DiskTrendCheckConfig disk_trend;
  DiskIoCheckConfig disk_io;
  NetworkCheckConfig network;
  UptimeCheckConfig uptime;
  OpenFilesCheckConfig open_files;
  TemperaturesCheckConfig temperatures;
  SystemdCheckConfig systemd;
  UbuntuHealthCheckConfig ubuntu_health;
  DockerCheckConfig docker;
  ContainersHealthCheckConfig containers_health;
  ProcessesCheckConfig processes;
  SslCheckConfig ssl;
  DnsCheckConfig dns;
  DomainsCheckConfig domains;
  OsUpdatesCheckConfig os_updates;
  LogsCheckConfig logs;
  LogsHealthCheckConfig logs_health;
  DiskHealthCheckConfig disk_health;
  HttpCheckConfig http;
  ContentChangeCheckConfig content_change;
  BackupsCheckConfig backups;
  TestIncidentCheckConfig test_incident;
  friend bool operator==(const ChecksConfig&, const ChecksConfig&) = default;
};

}  // namespace zunol_monitoring
