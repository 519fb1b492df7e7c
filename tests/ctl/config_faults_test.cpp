// What one run of `config check` tells of a file with many faults.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/ctl/ctl_scene.h"

namespace {

/// What `config check` says, without the file's name. The temporary path is in no message.
std::string findings(const CtlScene& scene, const std::string& yaml) {
  scene.write("c.yaml", yaml);
  return scene.sh("cd \"$dir\" && \"$ctl\" config check c.yaml | sed 's/^c.yaml://'").out;
}

}  // namespace

TEST(ConfigFaults, AreAllToldAtOnce) {
  const CtlScene scene;
  const char* yaml = R"(agent:
  id: ""
  tags: [web, [a]]
vorn:
  enabled: perhaps
  max_batch: many
  transport: quick
  histroy_block_id: x
summary: off
checks:
  cpu:
    enabled: yes
    warning: {usage_percent: 99, duration: 5 m}
    critical: 95
  open_files: {warning_percent: 99}
  ssl:
    enabled: yes
    items:
      - {port: https}
      - www.example
      - {host: www.example, critical_days: 45}
  dns:
    items: [{domain: a, type: AAA, timeout: 5s}]
  logs:
    files: [{path: /a, patterns: [{level: warn}, {threshold: ~}]}]
  docker:
    containers: {name: a}
storage: {max_local_bytes: -1, max_local_incidents: 0}
reports: {daily: {time: "8:00"}}
)";
  EXPECT_EQ(findings(scene, yaml),
            "3:15: error: agent.tags[] must be a text, and is a list\n"
            "28:28: error: storage.max_local_bytes must be a whole number of 64 bits without a "
            "sign, and is \"-1\"\n"
            "5:12: error: vorn.enabled must be true or false, and is \"perhaps\"\n"
            "6:14: error: vorn.max_batch must be a whole number of 32 bits, and is \"many\"\n"
            "9:10: error: summary must be a block of keys, and is \"off\"\n"
            "14:15: error: checks.cpu.critical must be a block of keys, and is \"95\"\n"
            "19:16: error: checks.ssl.items[].port must be a whole number of 32 bits, and is "
            "\"https\"\n"
            "20:9: error: checks.ssl.items[] must be a block of keys, and is \"www.example\"\n"
            "25:62: error: checks.logs.files[].patterns[].threshold must be a whole number of 32 "
            "bits, and has no value\n"
            "2:3: error: agent.id is required\n"
            "28:32: error: storage.max_local_incidents must be positive\n"
            "7:3: error: vorn.transport must be queue, spool or command\n"
            "29:19: error: reports.daily.time must use HH:MM format\n"
            "19:9: error: checks.ssl items require host\n"
            "8:3: warning: vorn.histroy_block_id is unknown and ignored; did you mean "
            "history_block_id?\n"
            "13:34: warning: checks.cpu.warning.duration is no duration, such as 90, 30s, 5m, 6h "
            "or 7d\n"
            "23:25: warning: checks.dns.items[].type is none of the known words A, AAAA, CAA, "
            "CNAME, MX, NS, PTR, SOA, SRV or TXT; did you mean AAAA?\n"
            "23:36: warning: checks.dns.items[].timeout is unknown and ignored\n"
            "25:36: warning: checks.logs.files[].patterns[].level is none of the known words "
            "info, warning or critical; did you mean warning?\n"
            "27:5: warning: checks.docker.containers is no list and reads as an empty one\n"
            "15:16: warning: checks.open_files.critical_percent is 95 and reached before "
            "checks.open_files.warning_percent, which is 99\n"
            "21:9: warning: checks.ssl.items[].critical_days is 45 and reached before "
            "checks.ssl.items[].warning_days, which is 30\n");
  const auto verdict = nlohmann::json::parse(scene.out("config check --json ${dir}c.yaml", 1));
  EXPECT_EQ(verdict["loaded"], false);
  EXPECT_EQ(verdict["valid"], false);
  EXPECT_EQ(verdict["errors"].size(), 14U);
  EXPECT_EQ(verdict["warnings"].size(), 8U);
}

TEST(ConfigFaults, OfOneKindLeaveTheOthersAlone) {
  const CtlScene scene;
  const struct {
    const char* yaml;
    const char* said;
  } rows[] = {
      // No rule speaks of a value that is not of its type.
      {"vorn: {wallet_file: [a]}", "1:21: error: vorn.wallet_file must be a path, and is a list\n"},
      {"checks: {disk: {paths: [5]}}",
       "1:25: error: checks.disk.paths[] must be a block of keys, and is \"5\"\n"},
      {"diagnostics: {disk: {paths: [[a]]}}",
       "1:30: error: diagnostics.disk.paths[] must be a text, and is a list\n"},
      {"checks: {disk_health: {enabled: y, paths: [{warning_percent: x, critical_percent: 1}]}}",
       "1:62: error: checks.disk_health.paths[].warning_percent must be a number, and is \"x\"\n"},
      {"checks: {http: {enabled: y, items: [{name: [a], url: b}]}}",
       "1:44: error: checks.http.items[].name must be a text, and is a list\n"},
      {"checks: {uptime: {}, disk_trend: {warning_days_left: x, critical_days_left: 20}}",
       "1:54: error: checks.disk_trend.warning_days_left must be a number, and is \"x\"\n"},
      // But of the value that a second key gives in its stead.
      {"monitoring_commands: {timeout_sec: x}\nremote_actions: {ttl_seconds: 0}\n"
       "telegram: {api_base: a, project_id: b, integration_id: c}\ntelegram_commands: {enabled: y}",
       "1:36: error: monitoring_commands.timeout_sec must be a whole number of 32 bits, and is "
       "\"x\"\n"
       "2:18: error: monitoring_commands.timeout_sec must be between 1 and 300 (from "
       "remote_actions.ttl_seconds)\n"
       "1:23: warning: monitoring_commands.timeout_sec has no effect, as "
       "remote_actions.ttl_seconds beats it\n"},
      {"telegram: {actions_poll_interval_sec: 5s}",
       "1:39: error: telegram.actions_poll_interval_sec must be a whole number of 32 bits, and is "
       "\"5s\"\n"},
      {"5", "1:1: error: the document must be a block of keys, and is \"5\"\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(findings(scene, row.yaml), row.said) << row.yaml;
}

TEST(ConfigFaults, AreLimitsInTheWrongOrderAndUnknownWords) {
  const CtlScene scene;
  const struct {
    const char* yaml;
    const char* said;  ///< behind "warning: ", "" for none
  } rows[] = {
      {"checks: {ram: {critical: {usage_percent: 60}}}",
       "1:27: warning: checks.ram.critical.usage_percent is 60 and reached before "
       "checks.ram.warning.usage_percent, which is 85\n"},
      {"checks: {load: {critical: {per_core: 1}}}",
       "1:28: warning: checks.load.critical_per_core is 1 and reached before "
       "checks.load.warning_per_core, which is 1.5\n"},
      {"checks: {disk: {paths: [{path: /}, {critical_percent: 70}]}}",
       "1:36: warning: checks.disk.paths[].critical_percent is 70 and reached before "
       "checks.disk.paths[].warning_percent, which is 80\n"},
      {"checks: {domains: {items: [{domain: a, warning_days: 5}]}}",
       "1:28: warning: checks.domains.items[].critical_days is 7 and reached before "
       "checks.domains.items[].warning_days, which is 5\n"},
      {"checks: {logs_health: {journald_critical_bytes: 9}}",
       "1:24: warning: checks.logs_health.journald_critical_bytes is 9 and reached before "
       "checks.logs_health.journald_warning_bytes, which is 1073741824\n"},
      {"checks: {ubuntu_health: {security_updates_critical_count: 4}}",
       "1:26: warning: checks.ubuntu_health.security_updates_critical_count is 4 and reached "
       "before checks.ubuntu_health.security_updates_warning_count, which is 5\n"},
      // Equal limits, none, those that a rule holds together, and those with a wrong value.
      {"checks: {domains: {items: [{domain: a, warning_days: 7}, {warning_days: 0}]}}", ""},
      {"checks: {network: {warning_rx_mbps: 900}, disk_health: {paths: [{critical_percent: 1}]}}",
       ""},
      {"checks: {http: {items: [{method: get}]}}",
       "1:26: warning: checks.http.items[].method is none of the known words GET, HEAD, POST, "
       "PUT, PATCH, DELETE or OPTIONS; did you mean GET?\n"},
      {"diagnostics: {redaction: {mode: strikt}, default_redaction: off}",
       "1:27: warning: diagnostics.redaction.mode is none of the known words strict, normal or "
       "off; did you mean strict?\n"},
      {"diagnostics: {profiles: {full: {required_role: root}}}",
       "1:33: warning: diagnostics.profiles.full.required_role is none of the known words viewer "
       "or admin\n"},
      {"checks: {backups: {items: [{type: directory}]}, docker: {containers: [{required_status: "
       "exited}]}}",
       ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(findings(scene, row.yaml), std::string(row.said) + " valid\n") << row.yaml;
  }
}
