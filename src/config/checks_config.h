// Section checks: which checks the agent runs, how often, and against which thresholds. Only cpu,
// ram, swap, load, disk and inodes are on by default.
#pragma once

#include "config/checks_endpoints_config.h"
#include "config/checks_host_config.h"
#include "config/checks_services_config.h"
#include "config/visit.h"

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

/// The block disk_health is rendered beside the other disk checks, but read in its place.
template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<ChecksConfig> auto& checks) {
  const auto disk_health = [&] { v.block("disk_health", checks.disk_health); };
  v.block("cpu", checks.cpu);
  v.block("ram", checks.ram);
  v.block("swap", checks.swap);
  v.block("load", [&](auto& block) { visit_load_keys(block, checks.load); });
  v.block("disk", checks.disk);
  v.block("inodes", checks.inodes);
  v.block("disk_trend", checks.disk_trend);
  v.block("disk_io", checks.disk_io);
  if constexpr (Visitor::rendering) disk_health();
  v.block("network", checks.network);
  v.block("uptime", checks.uptime);
  v.block("open_files", checks.open_files);
  v.block("temperatures", checks.temperatures);
  v.block("systemd", checks.systemd);
  v.block("ubuntu_health", checks.ubuntu_health);
  v.block("docker", checks.docker);
  v.block("containers_health", checks.containers_health);
  v.block("processes", checks.processes);
  v.block("ssl", checks.ssl);
  v.block("dns", checks.dns);
  v.block("domains", checks.domains);
  v.block("os_updates", checks.os_updates);
  v.block("logs", checks.logs);
  v.block("logs_health", checks.logs_health);
  if constexpr (!Visitor::rendering) disk_health();
  v.block("http", checks.http);
  v.block("content_change", checks.content_change);
  v.block("backups", checks.backups);
  v.block("test_incident", checks.test_incident);
}

}  // namespace zunol_monitoring
