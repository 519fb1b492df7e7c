#include "config/validate.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <string_view>

#include "config/duration.h"
#include "config/secret_files.h"

namespace zunol_monitoring {
namespace {

bool outside(int value, int low, int high) { return value < low || value > high; }

bool none_of(const std::string& value, std::initializer_list<std::string_view> words) {
  return std::ranges::find(words, value) == words.end();
}

bool not_positive(const std::string& duration) { return parse_duration_seconds(duration, 0) < 1; }

bool no_https(const std::string& url) { return !url.starts_with("https://"); }

/// HH:MM, two digits each, from 00:00 to 23:59.
bool no_time_of_day(const std::string& text) {
  if (text.size() != 5 || text[2] != ':') return true;
  for (const std::size_t place : {0U, 1U, 3U, 4U}) {
    if (text[place] < '0' || text[place] > '9') return true;
  }
  return text.substr(0, 2) > "23" || text.substr(3) > "59";
}

/// Collects the messages of the broken rules. Each condition is the one that breaks its rule,
/// written as the rule states it: for a not-a-number its opposite is not the same.
class RuleBook {
 public:
  explicit RuleBook(const Config& config) : config_(config) {}

  std::vector<std::string> apply() && {
    identity_and_storage();
    vorn();
    telegram();
    telegram_commands();
    reports_and_summary();
    anomaly_detection();
    updates();
    diagnostics();
    disk_checks();
    disk_health_check();
    service_checks();
    check_items();
    secret_files();
    return std::move(errors_);
  }

 private:
  void refuse_if(bool broken, const char* message) {
    if (broken) errors_.emplace_back(message);
  }

  void identity_and_storage() {
    refuse_if(config_.version != 1, "version must be 1");
    refuse_if(config_.agent.id.empty(), "agent.id is required");
    refuse_if(config_.agent.server_name.empty(), "agent.server_name is required");
    refuse_if(config_.agent.project_id.empty(), "agent.project_id is required");
    refuse_if(config_.storage.local_db.empty(), "storage.local_db is required");
    refuse_if(config_.storage.max_local_incidents <= 0,
              "storage.max_local_incidents must be positive");
  }

  void vorn() {
    const VornConfig& vorn = config_.vorn;
    if (!vorn.enabled) return;
    refuse_if(vorn.wallet_file.empty(), "vorn.wallet_file is required when vorn.enabled=true");
    refuse_if(outside(vorn.max_batch, 1, 1000), "vorn.max_batch must be between 1 and 1000");
    refuse_if(none_of(vorn.transport, {"queue", "spool", "command"}),
              "vorn.transport must be queue, spool or command");
    if (vorn.queue_only) return;
    const bool command = vorn.transport == "command";
    refuse_if(vorn.transport == "queue",
              "vorn.transport must be spool or command when vorn.queue_only=false");
    refuse_if(vorn.transport == "spool" && vorn.export_dir.empty(),
              "vorn.export_dir is required when vorn.transport=spool");
    refuse_if(command && vorn.append_command.empty(),
              "vorn.append_command is required when vorn.transport=command");
    refuse_if(command && vorn.append_command.find("zunol-vorn-append-event") != std::string::npos &&
                  vorn.bridge_command.empty(),
              "vorn.bridge_command is required when append_command uses zunol-vorn-append-event");
  }

  void telegram() {
    const TelegramConfig& telegram = config_.telegram;
    if (!telegram.enabled) return;
    refuse_if(none_of(telegram.message_detail, {"compact", "normal", "verbose"}),
              "telegram.message_detail must be compact, normal or verbose");
    refuse_if(none_of(telegram.alert_mode, {"edit", "send"}),
              "telegram.alert_mode must be edit or send");
    refuse_if(telegram.alert_min_edit_interval_sec < 0,
              "telegram.alert_min_edit_interval_sec must be non-negative");
    refuse_if(telegram.alert_group_window_sec < 0,
              "telegram.alert_group_window_sec must be non-negative");
    refuse_if(outside(telegram.top_processes_limit, 0, 20),
              "telegram.top_processes_limit must be between 0 and 20");
    refuse_if(none_of(telegram.transport, {"service", "bot", "direct"}),
              "telegram.transport must be service, bot or direct");
    if (telegram.transport == "bot" || telegram.transport == "direct") {
      refuse_if(telegram.bot_api_base.empty(),
                "telegram.bot_api_base is required when telegram.transport=bot");
      refuse_if(telegram.bot_token.empty(),
                "telegram.bot_token is required when telegram.transport=bot");
      refuse_if(telegram.bot_chat_id.empty(),
                "telegram.bot_chat_id is required when telegram.transport=bot");
    } else {
      telegram_service();
    }
  }

  void telegram_service() {
    const TelegramConfig& telegram = config_.telegram;
    refuse_if(telegram.api_base.empty(),
              "telegram.api_base is required when telegram.enabled=true");
    refuse_if(telegram.project_id.empty() || telegram.integration_id.empty() ||
                  telegram.recipient_ref.empty(),
              "telegram project_id, integration_id and recipient_ref are required when enabled");
    refuse_if(telegram.payment_mode != "dsr", "telegram.payment_mode must be dsr");
    refuse_if(telegram.service_key_file.empty(),
              "telegram.service_key_file is required when telegram.transport=service");
    if (!telegram.service_key_file.empty() && !std::filesystem::exists(telegram.service_key_file)) {
      errors_.push_back("telegram.service_key_file not found: " +
                        telegram.service_key_file.string());
    }
  }

  void telegram_commands() {
    const TelegramCommandsConfig& commands = config_.telegram_commands;
    if (!commands.enabled) return;
    refuse_if(config_.telegram.api_base.empty(),
              "telegram.api_base is required when telegram_commands.enabled=true");
    refuse_if(config_.telegram.project_id.empty(),
              "telegram.project_id is required when telegram_commands.enabled=true");
    refuse_if(config_.telegram.integration_id.empty(),
              "telegram.integration_id is required when telegram_commands.enabled=true");
    refuse_if(commands.executor_key.empty(),
              "telegram_commands.executor_key is required when enabled");
    refuse_if(commands.poll_interval_sec <= 0,
              "telegram_commands.poll_interval_sec must be positive");
    refuse_if(outside(commands.poll_limit, 1, 100),
              "telegram_commands.poll_limit must be between 1 and 100");
    const MonitoringCommandsConfig& actions = config_.monitoring_commands;
    refuse_if(outside(actions.timeout_sec, 1, 300),
              "monitoring_commands.timeout_sec must be between 1 and 300");
    refuse_if(outside(actions.max_output_chars, 500, 20000),
              "monitoring_commands.max_output_chars must be between 500 and 20000");
    refuse_if(actions.allow_dangerous_actions && !actions.allow_actions,
              "monitoring_commands.allow_dangerous_actions requires allow_actions=true");
  }

  void reports_and_summary() {
    const DailyReportConfig& daily = config_.reports.daily;
    refuse_if(daily.enabled && no_time_of_day(daily.time),
              "reports.daily.time must use HH:MM format");
    refuse_if(outside(daily.send_window_minutes, 1, 1440),
              "reports.daily.send_window_minutes must be between 1 and 1440");
    refuse_if(none_of(daily.language, {"ru", "en"}), "reports.daily.language must be ru or en");
    refuse_if(none_of(config_.summary.mode, {"compact", "normal", "detailed"}),
              "summary.mode must be compact, normal or detailed");
  }

  void anomaly_detection() {
    const SshFailedLoginsAnomalyConfig& logins = config_.anomaly_detection.ssh_failed_logins;
    if (!logins.enabled) return;
    refuse_if(not_positive(logins.window),
              "anomaly_detection.ssh_failed_logins.window must be a positive duration");
    refuse_if(not_positive(logins.cooldown),
              "anomaly_detection.ssh_failed_logins.cooldown must be a positive duration");
    refuse_if(logins.critical_absolute_count < logins.min_absolute_count,
              "anomaly_detection.ssh_failed_logins.critical_absolute_count must be greater than or "
              "equal to min_absolute_count");
    refuse_if(logins.warning_ratio > logins.critical_ratio,
              "anomaly_detection.ssh_failed_logins.critical_ratio must be greater than or equal to "
              "warning_ratio");
  }

  void updates() {
    const UpdatesConfig& updates = config_.updates;
    if (!updates.enabled) return;
    refuse_if(updates.base_url.empty(), "updates.base_url is required when updates.enabled=true");
    refuse_if(no_https(updates.base_url), "updates.base_url must use https://");
    refuse_if(none_of(updates.channel, {"latest", "stable"}),
              "updates.channel must be latest or stable");
  }

  void diagnostics() {
    const DiagnosticsConfig& diagnostics = config_.diagnostics;
    if (!diagnostics.enabled) return;
    refuse_if(none_of(diagnostics.default_redaction, {"strict", "normal", "off"}),
              "diagnostics.default_redaction must be strict, normal or off");
    refuse_if(!diagnostics.public_base_url.empty() && no_https(diagnostics.public_base_url),
              "diagnostics.public_base_url must use https://");
    refuse_if(none_of(diagnostics.archive.format, {"tar.zst", "tar.gz"}),
              "diagnostics.archive.format must be tar.zst or tar.gz");
    refuse_if(outside(diagnostics.archive.max_part_mb, 1, 2000),
              "diagnostics.archive.max_part_mb must be between 1 and 2000");
    refuse_if(outside(diagnostics.archive.max_parts_auto_send, 1, 50),
              "diagnostics.archive.max_parts_auto_send must be between 1 and 50");
    refuse_if(diagnostics.disk.paths.empty(), "diagnostics.disk.paths must not be empty");
    refuse_if(outside(diagnostics.disk.max_depth, 1, 5),
              "diagnostics.disk.max_depth must be between 1 and 5");
    refuse_if(outside(diagnostics.disk.max_entries, 10, 10000),
              "diagnostics.disk.max_entries must be between 10 and 10000");
    refuse_if(outside(diagnostics.logs.max_lines_per_file, 10, 20000),
              "diagnostics.logs.max_lines_per_file must be between 10 and 20000");
    refuse_if(outside(diagnostics.docker.logs_tail_lines, 10, 10000),
              "diagnostics.docker.logs_tail_lines must be between 10 and 10000");
    refuse_if(none_of(diagnostics.docker.include_env, {"masked", "off"}),
              "diagnostics.docker.include_env must be masked or off");
    refuse_if(outside(diagnostics.network.curl_timeout_sec, 1, 120),
              "diagnostics.network.curl_timeout_sec must be between 1 and 120");
    refuse_if(outside(diagnostics.retention.max_age_days, 1, 365),
              "diagnostics.retention.max_age_days must be between 1 and 365");
  }

  void disk_checks() {
    const ChecksConfig& checks = config_.checks;
    refuse_if(checks.disk.enabled && checks.disk.paths.empty(),
              "checks.disk.paths must not be empty when disk check is enabled");
    refuse_if(checks.inodes.enabled && checks.inodes.paths.empty(),
              "checks.inodes.paths must not be empty when inode check is enabled");
    const DiskTrendCheckConfig& trend = checks.disk_trend;
    refuse_if(trend.enabled && trend.paths.empty() && checks.disk.paths.empty(),
              "checks.disk_trend needs paths or checks.disk.paths");
    refuse_if(trend.warning_days_left <= 0 || trend.critical_days_left <= 0,
              "checks.disk_trend warning_days_left and critical_days_left must be positive");
    refuse_if(trend.critical_days_left > trend.warning_days_left,
              "checks.disk_trend critical_days_left must be less than or equal to "
              "warning_days_left");
    const DiskIoCheckConfig& io = checks.disk_io;
    if (io.enabled) {
      refuse_if(io.warning_util_percent > io.critical_util_percent,
                "checks.disk_io critical_util_percent must be greater than or equal to "
                "warning_util_percent");
      refuse_if(io.warning_read_mb_s > io.critical_read_mb_s ||
                    io.warning_write_mb_s > io.critical_write_mb_s,
                "checks.disk_io critical throughput thresholds must be greater than or equal to "
                "warning thresholds");
    }
  }

  void disk_health_check() {
    const DiskHealthCheckConfig& health = config_.checks.disk_health;
    if (!health.enabled) return;
    refuse_if(health.paths.empty() && !health.auto_mounts,
              "checks.disk_health needs paths or auto_mounts=true");
    disk_health_paths();
    refuse_if(health.inode_warning_percent > health.inode_critical_percent,
              "checks.disk_health inode_critical_percent must be greater than or equal to "
              "inode_warning_percent");
    refuse_if(health.temperature_warning_celsius > health.temperature_critical_celsius,
              "checks.disk_health temperature_critical_celsius must be greater than or equal to "
              "temperature_warning_celsius");
    refuse_if(outside(health.io_probe.max_test_size_mb, 1, 64),
              "checks.disk_health.io_probe.max_test_size_mb must be between 1 and 64");
  }

  /// At most one message, that of the first path that breaks either of the two rules.
  void disk_health_paths() {
    const DiskHealthCheckConfig& health = config_.checks.disk_health;
    for (const PathThreshold& item : health.paths) {
      if (item.warning_percent > item.critical_percent) {
        errors_.emplace_back(
            "checks.disk_health path critical_percent must be greater than or equal to "
            "warning_percent");
        return;
      }
      if (item.critical_percent > health.emergency_percent) {
        errors_.emplace_back(
            "checks.disk_health emergency_percent must be greater than or equal to path "
            "critical_percent");
        return;
      }
    }
  }

  void service_checks() {
    const ChecksConfig& checks = config_.checks;
    refuse_if(
        checks.ubuntu_health.restart_critical_count < checks.ubuntu_health.restart_warning_count,
        "checks.ubuntu_health restart_critical_count must be greater than or equal to "
        "restart_warning_count");
    refuse_if(checks.containers_health.restart_critical_count <
                  checks.containers_health.restart_warning_count,
              "checks.containers_health restart_critical_count must be greater than or equal to "
              "restart_warning_count");
    const NetworkCheckConfig& network = checks.network;
    if (!network.enabled) return;
    refuse_if(network.warning_rx_mbps > network.critical_rx_mbps ||
                  network.warning_tx_mbps > network.critical_tx_mbps,
              "checks.network critical throughput thresholds must be greater than or equal to "
              "warning thresholds");
    if (!network.traffic_quota_enabled) return;
    refuse_if(not_positive(network.traffic_quota_window),
              "checks.network traffic_quota_window must be a positive duration");
    refuse_if(network.critical_total_gb <= 0,
              "checks.network critical_total_gb must be positive when traffic quota is enabled");
    refuse_if(network.warning_total_gb > 0 && network.warning_total_gb > network.critical_total_gb,
              "checks.network critical_total_gb must be greater than or equal to "
              "warning_total_gb");
  }

  /// However many items of a list break a rule, it gives its message once.
  void check_items() {
    const ChecksConfig& checks = config_.checks;
    const auto any = [](const auto& list, auto broken) {
      return std::ranges::any_of(list, broken);
    };
    refuse_if(checks.domains.enabled && checks.domains.soft_fail_attempts <= 0,
              "checks.domains.soft_fail_attempts must be positive");
    refuse_if(checks.http.enabled &&
                  any(checks.http.items,
                      [](const HttpItem& item) { return item.name.empty() || item.url.empty(); }),
              "checks.http items require name and url");
    refuse_if(checks.ssl.enabled &&
                  any(checks.ssl.items, [](const SslItem& item) { return item.host.empty(); }),
              "checks.ssl items require host");
    refuse_if(checks.dns.enabled &&
                  any(checks.dns.items, [](const DnsItem& item) { return item.domain.empty(); }),
              "checks.dns items require domain");
    refuse_if(
        checks.domains.enabled &&
            any(checks.domains.items, [](const DomainItem& item) { return item.domain.empty(); }),
        "checks.domains items require domain");
    refuse_if(checks.logs.enabled &&
                  any(checks.logs.files, [](const LogFileItem& file) { return file.path.empty(); }),
              "checks.logs files require path");
    refuse_if(checks.backups.enabled && any(checks.backups.items,
                                            [](const BackupItem& item) {
                                              return item.name.empty() ||
                                                     (item.path.empty() && item.command.empty());
                                            }),
              "checks.backups items require name and path or command");
    const TestIncidentCheckConfig& test = checks.test_incident;
    if (!test.enabled) return;
    refuse_if(none_of(test.mode, {"always_ok", "always_fail", "flap", "fail_then_recover"}),
              "checks.test_incident.mode must be always_ok, always_fail, flap or "
              "fail_then_recover");
    refuse_if(none_of(test.level, {"warning", "critical"}),
              "checks.test_incident.level must be warning or critical");
  }

  void secret_files() {
    if (!config_.security.fail_on_loose_secrets) return;
    check_secret_file_mode(errors_, config_.vorn.wallet_file);
    check_fixed_secret_files(errors_);
  }

  const Config& config_;
  std::vector<std::string> errors_;
};

}  // namespace

std::vector<std::string> validate_config(const Config& config) { return RuleBook(config).apply(); }

}  // namespace zunol_monitoring
