// The keys of checks_config.h.
#pragma once

#include "config/keys/checks_endpoints_keys.h"
#include "config/keys/checks_host_keys.h"
#include "config/keys/checks_services_keys.h"
#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/checks_config.h"

namespace zunol_monitoring {

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
