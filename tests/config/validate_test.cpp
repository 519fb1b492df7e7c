#include "config/validate.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/files.h"
#include "tests/support.h"

using namespace zunol_monitoring;

namespace {

using Messages = std::vector<std::string>;
using Change = void (*)(Config&);

struct Row {
  const char* name;
  Change change;
  Messages messages;
};

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

void spool(Config& c) { c.vorn.queue_only = false, c.vorn.transport = "spool"; }
void command(Config& c) {
  c.vorn.queue_only = false, c.vorn.transport = "command", c.vorn.append_command = "append";
}
void service(Config& c) {
  c.telegram.enabled = true;
  c.telegram.api_base = c.telegram.project_id = c.telegram.integration_id = "x";
  c.telegram.recipient_ref = "x";
  c.telegram.service_key_file = "/";  // existence is all that is asked
}
void bot(Config& c) {
  c.telegram.enabled = true, c.telegram.transport = "bot";
  c.telegram.bot_token = c.telegram.bot_chat_id = "x";
}
void commands(Config& c) {
  c.telegram_commands.enabled = true;
  c.telegram.api_base = c.telegram.project_id = c.telegram.integration_id = "x";
}
void quota(Config& c) { c.checks.network.enabled = c.checks.network.traffic_quota_enabled = true; }
void health(Config& c) { c.checks.disk_health.enabled = true; }

// In the order of the rule book; every row breaks its rules and no other.
const Row broken[] = {
    {"1", [](Config& c) { c.version = 2; }, {"version must be 1"}},
    {"2", [](Config& c) { c.agent.id = ""; }, {"agent.id is required"}},
    {"3", [](Config& c) { c.agent.server_name = ""; }, {"agent.server_name is required"}},
    {"4", [](Config& c) { c.agent.project_id = ""; }, {"agent.project_id is required"}},
    {"5", [](Config& c) { c.storage.local_db = ""; }, {"storage.local_db is required"}},
    {"6",
     [](Config& c) { c.storage.max_local_incidents = 0; },
     {"storage.max_local_incidents must be positive"}},
    {"7",
     [](Config& c) { c.vorn.wallet_file = ""; },
     {"vorn.wallet_file is required when vorn.enabled=true"}},
    {"8 low",
     [](Config& c) { c.vorn.max_batch = 0; },
     {"vorn.max_batch must be between 1 and 1000"}},
    {"8 high",
     [](Config& c) { c.vorn.max_batch = 1001; },
     {"vorn.max_batch must be between 1 and 1000"}},
    {"9",
     [](Config& c) { c.vorn.transport = "Queue", c.vorn.queue_only = false; },
     {"vorn.transport must be queue, spool or command"}},
    {"10",
     [](Config& c) { c.vorn.queue_only = false; },
     {"vorn.transport must be spool or command when vorn.queue_only=false"}},
    {"11",
     [](Config& c) { spool(c), c.vorn.export_dir = ""; },
     {"vorn.export_dir is required when vorn.transport=spool"}},
    {"12",
     [](Config& c) { command(c), c.vorn.append_command = ""; },
     {"vorn.append_command is required when vorn.transport=command"}},
    {"13",
     [](Config& c) { command(c), c.vorn.append_command = "/a/zunol-vorn-append-event -x"; },
     {"vorn.bridge_command is required when append_command uses zunol-vorn-append-event"}},
    {"14",
     [](Config& c) { bot(c), c.telegram.message_detail = ""; },
     {"telegram.message_detail must be compact, normal or verbose"}},
    {"15",
     [](Config& c) { bot(c), c.telegram.alert_mode = "x"; },
     {"telegram.alert_mode must be edit or send"}},
    {"16",
     [](Config& c) { bot(c), c.telegram.alert_min_edit_interval_sec = -1; },
     {"telegram.alert_min_edit_interval_sec must be non-negative"}},
    {"17",
     [](Config& c) { bot(c), c.telegram.alert_group_window_sec = -1; },
     {"telegram.alert_group_window_sec must be non-negative"}},
    {"18 low",
     [](Config& c) { bot(c), c.telegram.top_processes_limit = -1; },
     {"telegram.top_processes_limit must be between 0 and 20"}},
    {"18 high",
     [](Config& c) { bot(c), c.telegram.top_processes_limit = 21; },
     {"telegram.top_processes_limit must be between 0 and 20"}},
    {"19 and the service",
     [](Config& c) { service(c), c.telegram.transport = "smtp", c.telegram.api_base = ""; },
     {"telegram.transport must be service, bot or direct",
      "telegram.api_base is required when telegram.enabled=true"}},
    {"20",
     [](Config& c) { bot(c), c.telegram.bot_api_base = ""; },
     {"telegram.bot_api_base is required when telegram.transport=bot"}},
    {"21, direct",
     [](Config& c) { bot(c), c.telegram.transport = "direct", c.telegram.bot_token = ""; },
     {"telegram.bot_token is required when telegram.transport=bot"}},
    {"22",
     [](Config& c) { bot(c), c.telegram.bot_chat_id = ""; },
     {"telegram.bot_chat_id is required when telegram.transport=bot"}},
    {"23",
     [](Config& c) { service(c), c.telegram.api_base = ""; },
     {"telegram.api_base is required when telegram.enabled=true"}},
    {"24 once",
     [](Config& c) { service(c), c.telegram.project_id = "", c.telegram.recipient_ref = ""; },
     {"telegram project_id, integration_id and recipient_ref are required when enabled"}},
    {"24",
     [](Config& c) { service(c), c.telegram.integration_id = ""; },
     {"telegram project_id, integration_id and recipient_ref are required when enabled"}},
    {"25",
     [](Config& c) { service(c), c.telegram.payment_mode = "DSR"; },
     {"telegram.payment_mode must be dsr"}},
    {"26",
     [](Config& c) { service(c), c.telegram.service_key_file = ""; },
     {"telegram.service_key_file is required when telegram.transport=service"}},
    {"27",
     [](Config& c) { service(c), c.telegram.service_key_file = "/nowhere/key"; },
     {"telegram.service_key_file not found: /nowhere/key"}},
    {"28",
     [](Config& c) { commands(c), c.telegram.api_base = ""; },
     {"telegram.api_base is required when telegram_commands.enabled=true"}},
    {"29",
     [](Config& c) { commands(c), c.telegram.project_id = ""; },
     {"telegram.project_id is required when telegram_commands.enabled=true"}},
    {"30",
     [](Config& c) { commands(c), c.telegram.integration_id = ""; },
     {"telegram.integration_id is required when telegram_commands.enabled=true"}},
    {"31",
     [](Config& c) { commands(c), c.telegram_commands.executor_key = ""; },
     {"telegram_commands.executor_key is required when enabled"}},
    {"32",
     [](Config& c) { commands(c), c.telegram_commands.poll_interval_sec = 0; },
     {"telegram_commands.poll_interval_sec must be positive"}},
    {"33 low",
     [](Config& c) { commands(c), c.telegram_commands.poll_limit = 0; },
     {"telegram_commands.poll_limit must be between 1 and 100"}},
    {"33 high",
     [](Config& c) { commands(c), c.telegram_commands.poll_limit = 101; },
     {"telegram_commands.poll_limit must be between 1 and 100"}},
    {"34 low",
     [](Config& c) { commands(c), c.monitoring_commands.timeout_sec = 0; },
     {"monitoring_commands.timeout_sec must be between 1 and 300"}},
    {"34 high",
     [](Config& c) { commands(c), c.monitoring_commands.timeout_sec = 301; },
     {"monitoring_commands.timeout_sec must be between 1 and 300"}},
    {"35 low",
     [](Config& c) { commands(c), c.monitoring_commands.max_output_chars = 499; },
     {"monitoring_commands.max_output_chars must be between 500 and 20000"}},
    {"35 high",
     [](Config& c) { commands(c), c.monitoring_commands.max_output_chars = 20001; },
     {"monitoring_commands.max_output_chars must be between 500 and 20000"}},
    {"36",
     [](Config& c) { commands(c), c.monitoring_commands.allow_dangerous_actions = true; },
     {"monitoring_commands.allow_dangerous_actions requires allow_actions=true"}},
    {"37",
     [](Config& c) { c.reports.daily.time = "24:00"; },
     {"reports.daily.time must use HH:MM format"}},
    {"38 low",
     [](Config& c) { c.reports.daily.send_window_minutes = 0, c.reports.daily.enabled = false; },
     {"reports.daily.send_window_minutes must be between 1 and 1440"}},
    {"38 high",
     [](Config& c) { c.reports.daily.send_window_minutes = 1441; },
     {"reports.daily.send_window_minutes must be between 1 and 1440"}},
    {"39",
     [](Config& c) { c.reports.daily.language = "de", c.reports.daily.enabled = false; },
     {"reports.daily.language must be ru or en"}},
    {"40",
     [](Config& c) { c.summary.mode = "x", c.summary.enabled = false; },
     {"summary.mode must be compact, normal or detailed"}},
    {"41",
     [](Config& c) {
       c.anomaly_detection.ssh_failed_logins.window = "0s", c.anomaly_detection.enabled = false;
     },
     {"anomaly_detection.ssh_failed_logins.window must be a positive duration"}},
    {"42",
     [](Config& c) { c.anomaly_detection.ssh_failed_logins.cooldown = "5 m"; },
     {"anomaly_detection.ssh_failed_logins.cooldown must be a positive duration"}},
    {"43",
     [](Config& c) { c.anomaly_detection.ssh_failed_logins.critical_absolute_count = 99; },
     {"anomaly_detection.ssh_failed_logins.critical_absolute_count must be greater than or equal "
      "to "
      "min_absolute_count"}},
    {"44",
     [](Config& c) { c.anomaly_detection.ssh_failed_logins.warning_ratio = 15.1; },
     {"anomaly_detection.ssh_failed_logins.critical_ratio must be greater than or equal to "
      "warning_ratio"}},
    {"45 and 46",
     [](Config& c) { c.updates.base_url = ""; },
     {"updates.base_url is required when updates.enabled=true",
      "updates.base_url must use https://"}},
    {"46",
     [](Config& c) { c.updates.base_url = "HTTPS://x"; },
     {"updates.base_url must use https://"}},
    {"47",
     [](Config& c) { c.updates.channel = "beta"; },
     {"updates.channel must be latest or stable"}},
    {"48",
     [](Config& c) { c.diagnostics.default_redaction = "null"; },
     {"diagnostics.default_redaction must be strict, normal or off"}},
    {"49",
     [](Config& c) { c.diagnostics.public_base_url = "http://x"; },
     {"diagnostics.public_base_url must use https://"}},
    {"50",
     [](Config& c) { c.diagnostics.archive.format = "zip"; },
     {"diagnostics.archive.format must be tar.zst or tar.gz"}},
    {"51 low",
     [](Config& c) { c.diagnostics.archive.max_part_mb = 0; },
     {"diagnostics.archive.max_part_mb must be between 1 and 2000"}},
    {"51 high",
     [](Config& c) { c.diagnostics.archive.max_part_mb = 2001; },
     {"diagnostics.archive.max_part_mb must be between 1 and 2000"}},
    {"52 low",
     [](Config& c) { c.diagnostics.archive.max_parts_auto_send = 0; },
     {"diagnostics.archive.max_parts_auto_send must be between 1 and 50"}},
    {"52 high",
     [](Config& c) { c.diagnostics.archive.max_parts_auto_send = 51; },
     {"diagnostics.archive.max_parts_auto_send must be between 1 and 50"}},
    {"53",
     [](Config& c) { c.diagnostics.disk.paths = {}; },
     {"diagnostics.disk.paths must not be empty"}},
    {"54 low",
     [](Config& c) { c.diagnostics.disk.max_depth = 0; },
     {"diagnostics.disk.max_depth must be between 1 and 5"}},
    {"54 high",
     [](Config& c) { c.diagnostics.disk.max_depth = 6; },
     {"diagnostics.disk.max_depth must be between 1 and 5"}},
    {"55 low",
     [](Config& c) { c.diagnostics.disk.max_entries = 9; },
     {"diagnostics.disk.max_entries must be between 10 and 10000"}},
    {"55 high",
     [](Config& c) { c.diagnostics.disk.max_entries = 10001; },
     {"diagnostics.disk.max_entries must be between 10 and 10000"}},
    {"56 low",
     [](Config& c) { c.diagnostics.logs.max_lines_per_file = 9; },
     {"diagnostics.logs.max_lines_per_file must be between 10 and 20000"}},
    {"56 high",
     [](Config& c) { c.diagnostics.logs.max_lines_per_file = 20001; },
     {"diagnostics.logs.max_lines_per_file must be between 10 and 20000"}},
    {"57 low",
     [](Config& c) { c.diagnostics.docker.logs_tail_lines = 9; },
     {"diagnostics.docker.logs_tail_lines must be between 10 and 10000"}},
    {"57 high",
     [](Config& c) { c.diagnostics.docker.logs_tail_lines = 10001; },
     {"diagnostics.docker.logs_tail_lines must be between 10 and 10000"}},
    {"58",
     [](Config& c) { c.diagnostics.docker.include_env = "on"; },
     {"diagnostics.docker.include_env must be masked or off"}},
    {"59 low",
     [](Config& c) { c.diagnostics.network.curl_timeout_sec = 0; },
     {"diagnostics.network.curl_timeout_sec must be between 1 and 120"}},
    {"59 high",
     [](Config& c) { c.diagnostics.network.curl_timeout_sec = 121; },
     {"diagnostics.network.curl_timeout_sec must be between 1 and 120"}},
    {"60 low",
     [](Config& c) { c.diagnostics.retention.max_age_days = 0; },
     {"diagnostics.retention.max_age_days must be between 1 and 365"}},
    {"60 high",
     [](Config& c) { c.diagnostics.retention.max_age_days = 366; },
     {"diagnostics.retention.max_age_days must be between 1 and 365"}},
    {"61",
     [](Config& c) { c.checks.disk.paths = {}; },
     {"checks.disk.paths must not be empty when disk check is enabled"}},
    {"62",
     [](Config& c) { c.checks.inodes.paths = {}; },
     {"checks.inodes.paths must not be empty when inode check is enabled"}},
    {"63",
     [](Config& c) {
       c.checks.disk_trend.enabled = true, c.checks.disk.enabled = false, c.checks.disk.paths = {};
     },
     {"checks.disk_trend needs paths or checks.disk.paths"}},
    {"64 and 65",
     [](Config& c) { c.checks.disk_trend.warning_days_left = -1; },
     {"checks.disk_trend warning_days_left and critical_days_left must be positive",
      "checks.disk_trend critical_days_left must be less than or equal to warning_days_left"}},
    {"64",
     [](Config& c) { c.checks.disk_trend.critical_days_left = 0; },
     {"checks.disk_trend warning_days_left and critical_days_left must be positive"}},
    {"66",
     [](Config& c) { c.checks.disk_io.enabled = true, c.checks.disk_io.warning_util_percent = 96; },
     {"checks.disk_io critical_util_percent must be greater than or equal to "
      "warning_util_percent"}},
    {"67 once",
     [](Config& c) {
       c.checks.disk_io.enabled = true, c.checks.disk_io.warning_read_mb_s = 301,
       c.checks.disk_io.warning_write_mb_s = 301;
     },
     {"checks.disk_io critical throughput thresholds must be greater than or equal to warning "
      "thresholds"}},
    {"68 and on",
     [](Config& c) {
       health(c), c.checks.disk_health.paths = {}, c.checks.disk_health.auto_mounts = false,
                  c.checks.disk_health.inode_warning_percent = 91;
     },
     {"checks.disk_health needs paths or auto_mounts=true",
      "checks.disk_health inode_critical_percent must be greater than or equal to "
      "inode_warning_percent"}},
    {"69 before 70 in one item",
     [](Config& c) {
       health(c), c.checks.disk_health.paths[1] = {"/", 99, 97};
     },
     {"checks.disk_health path critical_percent must be greater than or equal to "
      "warning_percent"}},
    {"70 of an earlier item",
     [](Config& c) {
       health(c), c.checks.disk_health.paths[0] = {"/", 1, 96},
                  c.checks.disk_health.paths[1] = {"/", 99, 1};
     },
     {"checks.disk_health emergency_percent must be greater than or equal to path "
      "critical_percent"}},
    {"71",
     [](Config& c) { health(c), c.checks.disk_health.inode_warning_percent = 90.5; },
     {"checks.disk_health inode_critical_percent must be greater than or equal to "
      "inode_warning_percent"}},
    {"72",
     [](Config& c) { health(c), c.checks.disk_health.temperature_warning_celsius = 71; },
     {"checks.disk_health temperature_critical_celsius must be greater than or equal to "
      "temperature_warning_celsius"}},
    {"73 low",
     [](Config& c) { health(c), c.checks.disk_health.io_probe.max_test_size_mb = 0; },
     {"checks.disk_health.io_probe.max_test_size_mb must be between 1 and 64"}},
    {"73 high",
     [](Config& c) { health(c), c.checks.disk_health.io_probe.max_test_size_mb = 65; },
     {"checks.disk_health.io_probe.max_test_size_mb must be between 1 and 64"}},
    {"74",
     [](Config& c) { c.checks.ubuntu_health.restart_critical_count = 4; },
     {"checks.ubuntu_health restart_critical_count must be greater than or equal to "
      "restart_warning_count"}},
    {"75",
     [](Config& c) { c.checks.containers_health.restart_critical_count = 4; },
     {"checks.containers_health restart_critical_count must be greater than or equal to "
      "restart_warning_count"}},
    {"76",
     [](Config& c) { c.checks.network.enabled = true, c.checks.network.warning_tx_mbps = 501; },
     {"checks.network critical throughput thresholds must be greater than or equal to warning "
      "thresholds"}},
    {"77",
     [](Config& c) { quota(c), c.checks.network.traffic_quota_window = ""; },
     {"checks.network traffic_quota_window must be a positive duration"}},
    {"78",
     [](Config& c) {
       quota(c), c.checks.network.warning_total_gb = 0, c.checks.network.critical_total_gb = 0;
     },
     {"checks.network critical_total_gb must be positive when traffic quota is enabled"}},
    {"79",
     [](Config& c) { quota(c), c.checks.network.warning_total_gb = 251; },
     {"checks.network critical_total_gb must be greater than or equal to warning_total_gb"}},
    {"80",
     [](Config& c) { c.checks.domains.enabled = true, c.checks.domains.soft_fail_attempts = 0; },
     {"checks.domains.soft_fail_attempts must be positive"}},
    {"81 once",
     [](Config& c) { c.checks.http.enabled = true, c.checks.http.items.resize(2); },
     {"checks.http items require name and url"}},
    {"82",
     [](Config& c) { c.checks.ssl.enabled = true, c.checks.ssl.items.resize(1); },
     {"checks.ssl items require host"}},
    {"83",
     [](Config& c) { c.checks.dns.enabled = true, c.checks.dns.items.resize(1); },
     {"checks.dns items require domain"}},
    {"84",
     [](Config& c) { c.checks.domains.enabled = true, c.checks.domains.items.resize(1); },
     {"checks.domains items require domain"}},
    {"85",
     [](Config& c) { c.checks.logs.enabled = true, c.checks.logs.files.resize(1); },
     {"checks.logs files require path"}},
    {"86",
     [](Config& c) {
       c.checks.backups.enabled = true, c.checks.backups.items.resize(1);
       c.checks.backups.items[0].name = "x";
     },
     {"checks.backups items require name and path or command"}},
    {"87",
     [](Config& c) { c.checks.test_incident.enabled = true, c.checks.test_incident.mode = "x"; },
     {"checks.test_incident.mode must be always_ok, always_fail, flap or fail_then_recover"}},
    {"88",
     [](Config& c) {
       c.checks.test_incident.enabled = true, c.checks.test_incident.level = "info";
     },
     {"checks.test_incident.level must be warning or critical"}},
};

// Values just inside the bound, and faults behind a closed gate.
const Row sound[] = {
    {"default", [](Config&) {}, {}},
    {"8", [](Config& c) { c.vorn.max_batch = 1; }, {}},
    {"8", [](Config& c) { c.vorn.max_batch = 1000; }, {}},
    {"7 to 9 gate",
     [](Config& c) {
       c.vorn = {.enabled = false,
                 .wallet_file = "",
                 .queue_only = false,
                 .transport = "x",
                 .max_batch = 0};
     },
     {}},
    {"10 to 13 gate", [](Config& c) { c.vorn.transport = "spool", c.vorn.export_dir = ""; }, {}},
    {"11", [](Config& c) { spool(c); }, {}},
    {"12", [](Config& c) { command(c); }, {}},
    {"13",
     [](Config& c) {
       command(c), c.vorn.append_command = "zunol-vorn-append-event", c.vorn.bridge_command = "x";
     },
     {}},
    {"14 to 27 gate", [](Config& c) { c.telegram.transport = c.telegram.alert_mode = "x"; }, {}},
    {"16 to 18",
     [](Config& c) {
       bot(c), c.telegram.top_processes_limit = 0, c.telegram.alert_group_window_sec = 0,
               c.telegram.alert_min_edit_interval_sec = 0;
     },
     {}},
    {"18", [](Config& c) { bot(c), c.telegram.top_processes_limit = 20; }, {}},
    {"20 to 22", [](Config& c) { bot(c), c.telegram.transport = "direct"; }, {}},
    {"23 to 27", [](Config& c) { service(c); }, {}},
    {"28 to 36 gate",
     [](Config& c) { c.telegram_commands.poll_limit = 0, c.monitoring_commands.timeout_sec = 0; },
     {}},
    {"32 to 35 low",
     [](Config& c) {
       commands(c), c.telegram_commands.poll_interval_sec = 1, c.telegram_commands.poll_limit = 1,
                    c.monitoring_commands.timeout_sec = 1,
                    c.monitoring_commands.max_output_chars = 500;
     },
     {}},
    {"33 to 36 high",
     [](Config& c) {
       commands(c), c.telegram_commands.poll_limit = 100, c.monitoring_commands.timeout_sec = 300,
                    c.monitoring_commands.max_output_chars = 20000,
                    c.monitoring_commands.allow_actions = true,
                    c.monitoring_commands.allow_dangerous_actions = true;
     },
     {}},
    {"37 gate", [](Config& c) { c.reports.daily.time = "x", c.reports.daily.enabled = false; }, {}},
    {"38 low", [](Config& c) { c.reports.daily.send_window_minutes = 1; }, {}},
    {"38 high", [](Config& c) { c.reports.daily.send_window_minutes = 1440; }, {}},
    {"41 to 44",
     [](Config& c) {
       auto& l = c.anomaly_detection.ssh_failed_logins;
       l.window = "1", l.cooldown = "250ms", l.critical_absolute_count = 100, l.warning_ratio = 15;
     },
     {}},
    {"41 to 44 gate",
     [](Config& c) {
       auto& l = c.anomaly_detection.ssh_failed_logins;
       l.enabled = false, l.window = "", l.warning_ratio = 99;
     },
     {}},
    {"46", [](Config& c) { c.updates.base_url = "https://"; }, {}},
    {"45 to 47 gate",
     [](Config& c) { c.updates = {.enabled = false, .base_url = "", .channel = ""}; },
     {}},
    {"48 to 60 low",
     [](Config& c) {
       auto& d = c.diagnostics;
       d.archive.max_part_mb = d.archive.max_parts_auto_send = 1, d.disk.max_depth = 1,
       d.disk.max_entries = 10, d.logs.max_lines_per_file = d.docker.logs_tail_lines = 10,
       d.network.curl_timeout_sec = d.retention.max_age_days = 1;
     },
     {}},
    {"48 to 60 high",
     [](Config& c) {
       auto& d = c.diagnostics;
       d.public_base_url = "https://x", d.archive.max_part_mb = 2000,
       d.archive.max_parts_auto_send = 50, d.disk.max_depth = 5, d.disk.max_entries = 10000,
       d.logs.max_lines_per_file = 20000, d.docker.logs_tail_lines = 10000,
       d.network.curl_timeout_sec = 120, d.retention.max_age_days = 365;
     },
     {}},
    {"48 to 60 gate",
     [](Config& c) { c.diagnostics.enabled = false, c.diagnostics.disk.max_depth = 99; },
     {}},
    {"61 to 63 gate",
     [](Config& c) {
       c.checks.disk.enabled = c.checks.inodes.enabled = false,
       c.checks.disk.paths = c.checks.inodes.paths = {};
     },
     {}},
    {"63", [](Config& c) { c.checks.disk_trend.enabled = true; }, {}},
    {"64 and 65", [](Config& c) { c.checks.disk_trend.critical_days_left = 14; }, {}},
    {"64 and 65, not a number",
     [](Config& c) {
       c.checks.disk_trend.critical_days_left = nan, c.checks.disk_trend.warning_days_left = nan;
     },
     {}},
    {"66 and 67",
     [](Config& c) {
       c.checks.disk_io.enabled = true, c.checks.disk_io.warning_util_percent = 95,
       c.checks.disk_io.warning_read_mb_s = nan;
     },
     {}},
    {"66 and 67 gate", [](Config& c) { c.checks.disk_io.warning_util_percent = 99; }, {}},
    {"68", [](Config& c) { health(c), c.checks.disk_health.paths = {}; }, {}},
    {"69 to 73",
     [](Config& c) {
       health(c), c.checks.disk_health.paths = {{"/", 95, 95}},
                  c.checks.disk_health.io_probe.max_test_size_mb = 64;
     },
     {}},
    {"68 to 73 gate", [](Config& c) { c.checks.disk_health.io_probe.max_test_size_mb = 0; }, {}},
    {"74 and 75",
     [](Config& c) {
       c.checks.ubuntu_health.restart_critical_count = 5,
       c.checks.containers_health.restart_critical_count = 5;
     },
     {}},
    {"77 to 79",
     [](Config& c) {
       quota(c), c.checks.network.warning_total_gb = 0, c.checks.network.critical_total_gb = 5;
     },
     {}},
    {"77 to 79 gate",
     [](Config& c) {
       c.checks.network.traffic_quota_enabled = true, c.checks.network.critical_total_gb = 0;
     },
     {}},
    {"80 to 88 gate",
     [](Config& c) {
       c.checks.http.items.resize(1), c.checks.domains.soft_fail_attempts = 0,
                                      c.checks.test_incident.mode = "x";
     },
     {}},
    {"81 to 88, no items",
     [](Config& c) {
       c.checks.http.enabled = c.checks.ssl.enabled = true,
       c.checks.dns.enabled = c.checks.domains.enabled = true,
       c.checks.logs.enabled = c.checks.backups.enabled = true,
       c.checks.test_incident.enabled = true;
     },
     {}},
    {"86",
     [](Config& c) {
       c.checks.backups.enabled = true;
       c.checks.backups.items.push_back({.name = "x", .command = "y"});
     },
     {}},
};

}  // namespace

TEST(Validate, EachBrokenRuleGivesItsMessage) {
  for (const Row& row : broken) {
    Config config = default_config();
    row.change(config);
    EXPECT_EQ(validate_config(config), row.messages) << "rule " << row.name;
  }
}

TEST(Validate, WhatIsJustInsideGivesNone) {
  for (const Row& row : sound) {
    Config config = default_config();
    row.change(config);
    EXPECT_EQ(validate_config(config), Messages{}) << "rule " << row.name;
  }
}

// Every fault at once: no rule hides another, and the messages keep the order of the rule book.
// What contradicts the rest (a second bound, another transport) is left out.
TEST(Validate, AllMessagesComeInOrder) {
  const std::string apart[] = {"8 high",  "10",         "11",
                               "12",      "13",         "18 high",
                               "20",      "21, direct", "22",
                               "23",      "24",         "26",
                               "28",      "29",         "30",
                               "33 high", "34 high",    "35 high",
                               "37",      "38 high",    "45 and 46",
                               "51 high", "52 high",    "54 high",
                               "55 high", "56 high",    "57 high",
                               "59 high", "60 high",    "63",
                               "64",      "68 and on",  "70 of an earlier item",
                               "73 high", "78"};
  Config config = default_config();
  Messages expected;
  bool service_before = false;
  for (const Row& row : broken) {
    if (std::ranges::find(apart, row.name) != std::end(apart)) continue;
    const bool is_service = config.telegram.transport == "smtp";
    row.change(config);
    if (is_service) config.telegram.transport = "smtp";
    service_before = service_before || is_service;
    expected.insert(expected.end(), row.messages.begin(), row.messages.end());
  }
  ASSERT_TRUE(service_before);
  config.telegram.api_base = "";  // a row of the commands has set it
  config.telegram.project_id = "";
  config.telegram.integration_id = "";
  const auto behind = [&](const char* message) {
    return std::next(std::ranges::find(expected, message));
  };
  const Messages commands_need = {
      "telegram.api_base is required when telegram_commands.enabled=true",
      "telegram.project_id is required when telegram_commands.enabled=true",
      "telegram.integration_id is required when telegram_commands.enabled=true"};
  expected.insert(behind("telegram.service_key_file not found: /nowhere/key"),
                  commands_need.begin(), commands_need.end());
  EXPECT_EQ(validate_config(config), expected);
}

TEST(Validate, TimeOfDay) {
  const struct {
    const char* time;
    bool good;
  } rows[] = {{"00:00", true},  {"08:00", true},   {"19:59", true},  {"23:59", true},
              {"24:00", false}, {"12:60", false},  {"8:00", false},  {"08-00", false},
              {"0a:00", false}, {"08:000", false}, {"", false},      {"08:0", false},
              {" 8:00", false}, {"3/:00", false},  {"2::00", false}, {"-1:00", false}};
  for (const auto& row : rows) {
    Config config = default_config();
    config.reports.daily.time = row.time;
    EXPECT_EQ(validate_config(config).empty(), row.good) << row.time;
  }
}

TEST(Validate, SecretFilesAreLooseWhenOthersReachThem) {
  namespace fs = std::filesystem;
  const TempDir dir;
  const fs::path wallet = dir / "wallet";
  write_text_file(wallet, "");
  fs::create_symlink(wallet, dir / "link");
  fs::create_symlink(dir / "nowhere", dir / "dangling");
  const auto messages = [&](const fs::path& path) {
    Config config = default_config();
    config.security.fail_on_loose_secrets = true;
    config.vorn.enabled = false;  // plays no part
    config.vorn.wallet_file = path;
    return validate_config(config);
  };
  for (const int mode : {0640, 0604, 0610, 0601, 0620, 0602, 0777}) {
    fs::permissions(wallet, static_cast<fs::perms>(mode));
    for (const fs::path& path : {wallet, dir / "link"}) {
      EXPECT_EQ(messages(path),
                Messages{"secret file permissions must be 0600 or stricter: " + path.string()})
          << mode;
    }
  }
  for (const int mode : {0600, 0400, 0700, 04700}) {
    fs::permissions(wallet, static_cast<fs::perms>(mode));
    EXPECT_EQ(messages(wallet), Messages{}) << mode;
  }
  for (const char* name : {"dangling", "missing", "."}) {
    EXPECT_EQ(messages(dir / name), Messages{}) << name;
  }
}

TEST(Validate, WhatCannotBeFoundOutRaises) {
  Config config = default_config();
  service(config);
  config.telegram.service_key_file = std::string(300, 'x');
  EXPECT_THROW(validate_config(config), std::filesystem::filesystem_error);
  config = default_config();
  config.anomaly_detection.ssh_failed_logins.window = "99999999999999999999s";
  EXPECT_EQ(error_of([&] { validate_config(config); }), "stoll");
}
