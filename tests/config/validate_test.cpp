#include "zunol_monitoring/config/validate.h"

#include "config/fixed_secret_files.h"
#include "config/key_reader.h"
#include "config/keys/config_keys.h"
#include "tests/config/load_text.h"

using namespace zunol_monitoring;

namespace {

// The rule book by hand, in its order. A line at the margin is a configuration that breaks no rule;
// the rows below it change one key of it. A row: values that break the rule | values just inside |
// the messages, in full. The key is the first word of the message where the row does not name it.
const std::string rule_book = R"(
{}
  2, 0  | 1   | version must be 1
  ''    | ' ' | agent.id is required
  ''    | ' ' | agent.server_name is required
  ''    | ' ' | agent.project_id is required
  ''    | ' ' | storage.local_db is required
  0, -1 | 1   | storage.max_local_incidents must be positive
  ''    | ' ' | vorn.wallet_file is required when vorn.enabled=true
  0, 1001, -1 | 1, 1000 | vorn.max_batch must be between 1 and 1000
  Queue | queue, spool, command | vorn.transport must be queue, spool or command
{vorn: {enabled: false, wallet_file: '', queue_only: false, transport: x, max_batch: 0}}
{vorn: {transport: spool, export_dir: ''}}
{vorn: {queue_only: false, transport: spool}}
  Queue | | vorn.transport must be queue, spool or command
  vorn.transport = queue | | vorn.transport must be spool or command when vorn.queue_only=false
  ''    | ' ' | vorn.export_dir is required when vorn.transport=spool
{vorn: {queue_only: false, transport: command, append_command: append, export_dir: ''}}
  ''    | ' ' | vorn.append_command is required when vorn.transport=command
  vorn.append_command = /a/zunol-vorn-append-event -x, zunol-vorn-append-event | zunol-vorn-append | vorn.bridge_command is required when append_command uses zunol-vorn-append-event
{vorn: {queue_only: false, transport: command, append_command: zunol-vorn-append-event, bridge_command: x}}
{telegram: {enabled: true, transport: bot, bot_token: x, bot_chat_id: x, service_key_file: /}}
  '', x | compact, normal, verbose | telegram.message_detail must be compact, normal or verbose
  '', x | edit, send | telegram.alert_mode must be edit or send
  -1    | 0 | telegram.alert_min_edit_interval_sec must be non-negative
  -1    | 0 | telegram.alert_group_window_sec must be non-negative
  -1, 21 | 0, 20 | telegram.top_processes_limit must be between 0 and 20
  smtp  | direct | telegram.transport must be service, bot or direct; telegram.api_base is required when telegram.enabled=true; telegram project_id, integration_id and recipient_ref are required when enabled
  ''    | x | telegram.bot_api_base is required when telegram.transport=bot
{telegram: {enabled: true, transport: direct, bot_token: x, bot_chat_id: x}}
  ''    | x | telegram.bot_token is required when telegram.transport=bot
  ''    | x | telegram.bot_chat_id is required when telegram.transport=bot
{telegram: {enabled: true, api_base: x, project_id: x, integration_id: x, recipient_ref: x, service_key_file: /}}
  smtp  | service | telegram.transport must be service, bot or direct
  ''    | ' ' | telegram.api_base is required when telegram.enabled=true
  telegram.project_id = ''     | ' ' | telegram project_id, integration_id and recipient_ref are required when enabled
  telegram.integration_id = '' | ' ' | telegram project_id, integration_id and recipient_ref are required when enabled
  telegram.recipient_ref = ''  | ' ' | telegram project_id, integration_id and recipient_ref are required when enabled
  DSR, '' | dsr | telegram.payment_mode must be dsr
  ''    | . | telegram.service_key_file is required when telegram.transport=service
  /nowhere/key | | telegram.service_key_file not found: /nowhere/key
{telegram: {transport: x, alert_mode: x, message_detail: x, top_processes_limit: -1, service_key_file: ''}}
{telegram: {api_base: x, project_id: x, integration_id: x}, telegram_commands: {enabled: true}}
  ''    | ' ' | telegram.api_base is required when telegram_commands.enabled=true
  ''    | ' ' | telegram.project_id is required when telegram_commands.enabled=true
  ''    | ' ' | telegram.integration_id is required when telegram_commands.enabled=true
  ''    | ' ' | telegram_commands.executor_key is required when enabled
  0, -1 | 1 | telegram_commands.poll_interval_sec must be positive
  0, 101 | 1, 100 | telegram_commands.poll_limit must be between 1 and 100
  0, 301 | 1, 300 | monitoring_commands.timeout_sec must be between 1 and 300
  499, 20001 | 500, 20000 | monitoring_commands.max_output_chars must be between 500 and 20000
  true  | false | monitoring_commands.allow_dangerous_actions requires allow_actions=true
{telegram: {api_base: x, project_id: x, integration_id: x}, telegram_commands: {enabled: true}, monitoring_commands: {allow_actions: true, allow_dangerous_actions: true}}
{telegram_commands: {executor_key: '', poll_interval_sec: 0}, monitoring_commands: {timeout_sec: 0, max_output_chars: 0, allow_dangerous_actions: true}}
{}
  24:00, 12:60, 8:00, 08-00, 0a:00, 08:000, '', 08:0, ' 8:00', 1/:00, '1::00', 08:/0, 08:0/, '-1:00' | 00:00, 08:00, 19:59, 23:59 | reports.daily.time must use HH:MM format
{reports: {daily: {enabled: false, time: x}}, summary: {enabled: false}}
  0, 1441 | 1, 1440 | reports.daily.send_window_minutes must be between 1 and 1440
  de, RU | ru, en | reports.daily.language must be ru or en
  x     | compact, normal, detailed | summary.mode must be compact, normal or detailed
{anomaly_detection: {enabled: false}}
  0s, 5 m, '' | 1, 250ms | anomaly_detection.ssh_failed_logins.window must be a positive duration
  0ms, x | 1s | anomaly_detection.ssh_failed_logins.cooldown must be a positive duration
  99    | 100 | anomaly_detection.ssh_failed_logins.critical_absolute_count must be greater than or equal to min_absolute_count
  4.5   | 5, .nan | anomaly_detection.ssh_failed_logins.critical_ratio must be greater than or equal to warning_ratio
{anomaly_detection: {ssh_failed_logins: {enabled: false, window: '', cooldown: '', critical_absolute_count: 0, warning_ratio: 99}}}
{}
  ''    | | updates.base_url is required when updates.enabled=true; updates.base_url must use https://
  HTTPS://x, http://x, https:/ | 'https://' | updates.base_url must use https://
  beta  | latest, stable | updates.channel must be latest or stable
{updates: {enabled: false, base_url: '', channel: ''}}
{}
  'null', '' | strict, normal, 'off' | diagnostics.default_redaction must be strict, normal or off
  http://x | '', https://x | diagnostics.public_base_url must use https://
  zip   | tar.zst, tar.gz | diagnostics.archive.format must be tar.zst or tar.gz
  0, 2001 | 1, 2000 | diagnostics.archive.max_part_mb must be between 1 and 2000
  0, 51 | 1, 50 | diagnostics.archive.max_parts_auto_send must be between 1 and 50
  []    | [x] | diagnostics.disk.paths must not be empty
  0, 6  | 1, 5 | diagnostics.disk.max_depth must be between 1 and 5
  9, 10001 | 10, 10000 | diagnostics.disk.max_entries must be between 10 and 10000
  9, 20001 | 10, 20000 | diagnostics.logs.max_lines_per_file must be between 10 and 20000
  9, 10001 | 10, 10000 | diagnostics.docker.logs_tail_lines must be between 10 and 10000
  'on'  | masked, 'off' | diagnostics.docker.include_env must be masked or off
  0, 121 | 1, 120 | diagnostics.network.curl_timeout_sec must be between 1 and 120
  0, 366 | 1, 365 | diagnostics.retention.max_age_days must be between 1 and 365
{diagnostics: {enabled: false, public_base_url: x, disk: {paths: [], max_depth: 99}}}
{}
  []    | [{}] | checks.disk.paths must not be empty when disk check is enabled
  []    | [{}] | checks.inodes.paths must not be empty when inode check is enabled
{checks: {disk: {enabled: false}, inodes: {enabled: false}}}
{checks: {disk: {enabled: false}, disk_trend: {enabled: true, paths: [x]}}}
{checks: {disk: {enabled: false, paths: [{}]}, disk_trend: {enabled: true}}}
  checks.disk.paths = [] | | checks.disk_trend needs paths or checks.disk.paths
{}
  checks.disk_trend.warning_days_left = -1, 0 | 3, .nan | checks.disk_trend warning_days_left and critical_days_left must be positive; checks.disk_trend critical_days_left must be less than or equal to warning_days_left
  checks.disk_trend.critical_days_left = 0, -1 | 0.5, .nan | checks.disk_trend warning_days_left and critical_days_left must be positive
  checks.disk_trend.critical_days_left = 14.5 | 14 | checks.disk_trend critical_days_left must be less than or equal to warning_days_left
{checks: {disk_trend: {warning_days_left: 0.5, critical_days_left: 0.5}}}
{checks: {disk_io: {enabled: true}}}
  checks.disk_io.warning_util_percent = 95.5 | 95, .nan | checks.disk_io critical_util_percent must be greater than or equal to warning_util_percent
  checks.disk_io.warning_read_mb_s = 300.5   | 300, .nan | checks.disk_io critical throughput thresholds must be greater than or equal to warning thresholds
  checks.disk_io.warning_write_mb_s = 300.5  | 300, .nan | checks.disk_io critical throughput thresholds must be greater than or equal to warning thresholds
{checks: {disk_io: {warning_util_percent: 99, warning_read_mb_s: 999}}}
{checks: {disk_health: {enabled: true, auto_mounts: false}}}
  checks.disk_health.paths = [] | [{}] | checks.disk_health needs paths or auto_mounts=true
{checks: {disk_health: {enabled: true}}}
  checks.disk_health.paths = [{}, {warning_percent: 91}, {warning_percent: 91}], [{warning_percent: 99, critical_percent: 97}] | [], [{warning_percent: 95, critical_percent: 95}] | checks.disk_health path critical_percent must be greater than or equal to warning_percent
  checks.disk_health.paths = [{critical_percent: 96}, {warning_percent: 91}] | [{critical_percent: .nan}] | checks.disk_health emergency_percent must be greater than or equal to path critical_percent
  checks.disk_health.inode_warning_percent = 90.5 | 90, .nan | checks.disk_health inode_critical_percent must be greater than or equal to inode_warning_percent
  checks.disk_health.temperature_warning_celsius = 70.5 | 70, .nan | checks.disk_health temperature_critical_celsius must be greater than or equal to temperature_warning_celsius
  checks.disk_health.temperature_critical_celsius = 59.5 | 60 | checks.disk_health temperature_critical_celsius must be greater than or equal to temperature_warning_celsius
  0, 65 | 1, 64 | checks.disk_health.io_probe.max_test_size_mb must be between 1 and 64
{checks: {disk_health: {auto_mounts: false, paths: [], inode_warning_percent: 99, io_probe: {max_test_size_mb: 0}}}}
{}
  checks.ubuntu_health.restart_critical_count = 4     | 5 | checks.ubuntu_health restart_critical_count must be greater than or equal to restart_warning_count
  checks.containers_health.restart_critical_count = 4 | 5 | checks.containers_health restart_critical_count must be greater than or equal to restart_warning_count
{checks: {network: {enabled: true, traffic_quota_window: '', critical_total_gb: 0}}}
  checks.network.warning_rx_mbps = 500.5 | 500, .nan | checks.network critical throughput thresholds must be greater than or equal to warning thresholds
  checks.network.warning_tx_mbps = 500.5 | 500, .nan | checks.network critical throughput thresholds must be greater than or equal to warning thresholds
{checks: {network: {enabled: true, traffic_quota_enabled: true}}}
  checks.network.traffic_quota_window = '', 0s | 250ms | checks.network traffic_quota_window must be a positive duration
  checks.network.critical_total_gb = 0 | .nan | checks.network critical_total_gb must be positive when traffic quota is enabled; checks.network critical_total_gb must be greater than or equal to warning_total_gb
  checks.network.warning_total_gb = 250.5 | 250, 0, .nan | checks.network critical_total_gb must be greater than or equal to warning_total_gb
{checks: {network: {enabled: true, traffic_quota_enabled: true, warning_total_gb: 0, critical_total_gb: 5}}}
  checks.network.critical_total_gb = 0, -1 | 0.5 | checks.network critical_total_gb must be positive when traffic quota is enabled
{checks: {network: {traffic_quota_enabled: true, warning_tx_mbps: 999, critical_total_gb: 0}}}
{checks: {domains: {enabled: true}, http: {enabled: true}, ssl: {enabled: true}, dns: {enabled: true}, logs: {enabled: true}, backups: {enabled: true}, test_incident: {enabled: true}}}
  0, -1 | 1 | checks.domains.soft_fail_attempts must be positive
  checks.http.items = [{name: x, url: x}, {url: x}, {url: x}], [{name: x}] | [{name: x, url: x}] | checks.http items require name and url
  checks.ssl.items = [{}, {}]       | [{host: x}]   | checks.ssl items require host
  checks.dns.items = [{}, {}]       | [{domain: x}] | checks.dns items require domain
  checks.domains.items = [{}, {}]   | [{domain: x}] | checks.domains items require domain
  checks.logs.files = [{}, {}]      | [{path: x}]   | checks.logs files require path
  checks.backups.items = [{name: x}, {name: x}], [{path: x, command: x}] | [{name: x, path: x}, {name: x, command: x}] | checks.backups items require name and path or command
  x     | always_ok, always_fail, flap, fail_then_recover | checks.test_incident.mode must be always_ok, always_fail, flap or fail_then_recover
  info  | warning, critical | checks.test_incident.level must be warning or critical
{checks: {domains: {items: [{}], soft_fail_attempts: 0}, http: {items: [{}]}, ssl: {items: [{}]}, dns: {items: [{}]}, logs: {files: [{}]}, backups: {items: [{}]}, test_incident: {mode: x, level: x}}}
{vorn: {wallet_file: /etc/passwd}}
{security: {fail_on_loose_secrets: true}}
  vorn.wallet_file = /etc/passwd | /nowhere/key | secret file permissions must be 0600 or stricter: /etc/passwd
)";

struct Row {
  std::string base;  ///< the line at the margin above it
  std::string key;   ///< empty for such a line itself
  YAML::Node broken;
  YAML::Node inside;
  Texts messages;
};

std::vector<Row> rows_of_the_book() {
  std::vector<Row> rows;
  std::string base;
  for (const Texts& cells : rows_of(rule_book, "|")) {
    if (cells.size() == 1) {
      rows.push_back({.base = base = cells[0]});
      continue;
    }
    Texts change = split(cells[0], " = ");
    const Texts messages = split(cells.at(2), ";");
    if (change.size() == 1) change.insert(change.begin(), split(messages[0], " ")[0]);
    rows.push_back({base, change[0], YAML::Load("[" + change[1] + "]"),
                    YAML::Load("[" + cells[1] + "]"), messages});
  }
  return rows;
}

/// Puts what `change` holds into `document`, key by key.
void merge(YAML::Node document, const YAML::Node& change) {
  for (const auto& entry : change) {
    YAML::Node old = document[entry.first.Scalar()];
    if (old.IsDefined() && old.IsMap() && entry.second.IsMap()) {
      merge(old, entry.second);
    } else {
      document[entry.first.Scalar()] = YAML::Clone(entry.second);
    }
  }
}

/// The document with `value` under the dotted `key`.
YAML::Node with(const YAML::Node& document, const std::string& key, const YAML::Node& value) {
  const std::size_t dot = key.find('.');
  YAML::Node change;
  change[key.substr(0, dot)] =
      dot == key.npos ? value : with(YAML::Load("{}"), key.substr(dot + 1), value);
  merge(document, change);
  return document;
}

Texts messages_of(const YAML::Node& document) {
  Config config = default_config();
  KeyReader reader(document);
  visit_keys(reader, config);
  return validate_config(config);
}

Texts only(const Texts& texts, const Texts& wanted) {
  Texts found;
  for (const std::string& text : texts) {
    if (std::ranges::find(wanted, text) != wanted.end()) found.push_back(text);
  }
  return found;
}

}  // namespace

TEST(Validate, EachRuleBreaksBeyondItsBoundAndHoldsInside) {
  for (const Row& row : rows_of_the_book()) {
    SCOPED_TRACE(row.base + row.key);
    if (row.key.empty()) {
      EXPECT_EQ(messages_of(YAML::Load(row.base)), Texts{});
    }
    for (const YAML::Node& value : row.broken) {
      EXPECT_EQ(messages_of(with(YAML::Load(row.base), row.key, value)), row.messages) << value;
    }
    for (const YAML::Node& value : row.inside) {
      EXPECT_EQ(messages_of(with(YAML::Load(row.base), row.key, value)), Texts{}) << value;
    }
  }
}

// No rule hides another, and the messages keep the order of the rule book. A few rules exclude each
// other, so that each of them comes in one of several configurations.
TEST(Validate, BrokenAllAtOnceTheRulesComeInOrder) {
  Texts book;
  YAML::Node all = YAML::Load("{}");
  const std::vector<Row> rows = rows_of_the_book();
  for (const Row& row : rows) {
    if (!row.key.empty()) merge(all, YAML::Load(row.base));
  }
  for (const Row& row : rows) {
    if (!row.key.empty()) with(all, row.key, row.broken[0]);
    for (const std::string& message : row.messages) {
      if (only({message}, book).empty()) book.push_back(message);
    }
  }
  ASSERT_EQ(book.size(), 89U);  // the last three rules have one text
  merge(all, YAML::Load("{reports: {daily: {enabled: true}}, checks: {disk: {enabled: true}}}"));
  Texts seen;
  for (const char* variant :
       {"{}", "{vorn: {wallet_file: '', transport: x}}", "{vorn: {transport: queue}}",
        "{vorn: {transport: spool}, updates: {base_url: ''}}", "{vorn: {transport: command}}",
        "{vorn: {transport: command, append_command: ''}}", "{telegram: {service_key_file: ''}}",
        "{telegram: {transport: bot}}", "{checks: {disk_health: {paths: []}}}",
        "{checks: {disk_health: {paths: [{warning_percent: 91}]}}}"}) {
    merge(all, YAML::Load(variant));
    const Texts messages = messages_of(all);
    EXPECT_EQ(messages, only(book, messages)) << variant;
    seen.insert(seen.end(), messages.begin(), messages.end());
  }
  EXPECT_EQ(only(book, seen), book);
}

TEST(Validate, SecretFilesAreLooseWhenOthersReachThem) {
  namespace fs = std::filesystem;
  const TempDir dir;
  const auto put = [&](const std::string& name, int mode) {
    write_text_file(dir / name, "");
    fs::permissions(dir / name, static_cast<fs::perms>(mode));
  };
  const auto loose = [&] {  // the fixed ones, and the wallet by four names
    Config config = default_config();
    config.security.fail_on_loose_secrets = true;
    config.vorn.enabled = false;  // plays no part
    Texts messages;
    check_fixed_secret_files(messages, dir.path());
    for (const char* name : {"wallet", "link", "dangling", "missing", "."}) {
      config.vorn.wallet_file = dir / name;
      for (const std::string& message : validate_config(config)) messages.push_back(message);
    }
    std::string names;
    const std::string prefix =
        "secret file permissions must be 0600 or stricter: " + dir.path().string() + '/';
    for (const std::string& message : messages) {
      EXPECT_TRUE(message.starts_with(prefix)) << message;
      names += message.substr(prefix.size()) + ' ';
    }
    return names;
  };
  EXPECT_EQ(loose(), "");
  fs::create_symlink(dir / "wallet", dir / "link");
  fs::create_symlink(dir / "nowhere", dir / "dangling");
  for (const int mode : {0640, 0604, 0610, 0601, 0620, 0602, 0777}) {
    put("wallet", mode);
    EXPECT_EQ(loose(), "wallet link ") << mode;
  }
  for (const int mode : {0600, 0400, 0700, 04700}) {
    put("wallet", mode);
    EXPECT_EQ(loose(), "") << mode;
  }
  put("secrets.json", 0666);
  put("secrets/private.secret", 0400);
  put("secrets/other.secrets", 0666);
  put("secrets/.secret", 0666);  // a name without an extension
  put("secrets/below/deep.secret", 0666);
  fs::create_directory(dir / "secrets/directory.secret");
  fs::create_symlink(dir / "nowhere", dir / "secrets/dangling.secret");
  EXPECT_EQ(loose(), "");
  put("secrets.yaml", 0640);
  put("secrets/loose.secret", 0604);
  EXPECT_EQ(loose(), "secrets.yaml secrets/loose.secret ");
}

TEST(Validate, WhatCannotBeFoundOutRaises) {
  Config config = default_config();
  config.telegram.enabled = true;
  config.telegram.service_key_file = std::string(300, 'x');
  EXPECT_THROW(validate_config(config), std::filesystem::filesystem_error);
  config = default_config();
  config.anomaly_detection.ssh_failed_logins.window = "99999999999999999999s";
  EXPECT_EQ(error_of([&] { validate_config(config); }), "stoll");
}
