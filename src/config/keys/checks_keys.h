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
  const auto disk_health = [&] {
    v.block("disk_health", checks.disk_health,
            "State of the disks: space, inodes, SMART, temperature and speed");
  };
  v.block("cpu", checks.cpu, "Use of the processors");
  v.block("ram", checks.ram, "Use of the memory");
  v.block("swap", checks.swap, "Use of the swap space");
  v.block(
      "load", [&](auto& block) { visit_load_keys(block, checks.load); },
      "Load of the host for each processor core");
  v.block("disk", checks.disk, "Space in use on file systems");
  v.block("inodes", checks.inodes, "Inodes in use on file systems");
  v.block("disk_trend", checks.disk_trend,
          "Days until disks are full, as forecast from their past use");
  v.block("disk_io", checks.disk_io, "How busy disks are, and how much they read and write");
  if constexpr (Visitor::rendering) disk_health();
  v.block("network", checks.network, "Traffic of network interfaces");
  v.block("uptime", checks.uptime, "Time since the start of the host, to notice a restart");
  v.block("open_files", checks.open_files, "Open files of the whole host");
  v.block("temperatures", checks.temperatures, "Temperatures that the host's sensors tell");
  v.block("systemd", checks.systemd, "Systemd units that must be active");
  v.block("ubuntu_health", checks.ubuntu_health,
          "State of an Ubuntu host: services, restarts, security updates");
  v.block("docker", checks.docker, "Docker containers that must have a certain status");
  v.block("containers_health", checks.containers_health, "Restarts and use of containers");
  v.block("processes", checks.processes, "Processes that must run");
  v.block("ssl", checks.ssl, "TLS certificates and the days until they expire");
  v.block("dns", checks.dns, "DNS records and their answers");
  v.block("domains", checks.domains, "Domain registrations and the days until they end");
  v.block("os_updates", checks.os_updates, "Updates of the operating system that wait");
  v.block("logs", checks.logs, "Lines in log files that match a pattern");
  v.block("logs_health", checks.logs_health,
          "Number of errors in the logs, and size of the journal");
  if constexpr (!Visitor::rendering) disk_health();
  v.block("http", checks.http, "HTTP addresses and their answers");
  v.block("content_change", checks.content_change, "Web pages whose content must stay the same");
  v.block("backups", checks.backups, "Backups that must be young and large enough");
  v.block("test_incident", checks.test_incident,
          "A check whose result is made up, to try out incidents and messages");
}

}  // namespace zunol_monitoring
