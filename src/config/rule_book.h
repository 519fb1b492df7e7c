// The rules of the configuration: one straight pass in their fixed order, a block for each gate and
// a line for each rule. The judge (validate.cpp) walks it over a configuration, and the declarer
// (key_rules.cpp) to tell the rules to schema and reference, so that no bound stands twice.
//
// A visitor of the book has these verbs; all but the last five are about a single key. The name is
// the key as its message calls it; some messages end in a reason.
//
//   exactly(name, value, wanted)       must be 1
//   one_of(name, text, words)          must be a, b or c
//   between(name, value, low, high)    must be between 1 and 10, both included
//   positive(name, value, reason)      must be positive
//   non_negative(name, value)          must be non-negative
//   required(name, text, reason)       is required: not empty
//   not_empty(name, list, reason)      must not be empty
//   positive_duration(name, text)      must be a positive duration, in the grammar of durations
//   time_of_day(name, text)            must use HH:MM format
//   https(name, url)                   must use https://
//   https_or_empty(name, url)          the same, where it is not empty
//   existing_file(name, path)          not found: the path; an empty path is left alone
//   private_file(path)                 check_secret_file_mode
//   fixed_secret_files()               check_fixed_secret_files
//   refuse_if(broken, message, fields...)   any other rule, about these fields. The condition is
//                                      the one that breaks it, as the rule states it: for a
//                                      not-a-number its opposite is not the same.
//   refuse_item(list, index, message)  the same about an item of a list, or none (no_item)
//
//   when(field), unless(field)                the gate: what depends on it stands in its block
//   when(text, words), unless(text, words)    the same, open for these words, or for all others
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

#include "config/keys/key_text.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

inline constexpr std::size_t no_item = static_cast<std::size_t>(-1);

void identity_and_storage_rules(auto& book, const Config& config) {
  book.exactly("version", config.version, 1);
  book.required("agent.id", config.agent.id);
  book.required("agent.server_name", config.agent.server_name);
  book.required("agent.project_id", config.agent.project_id);
  book.required("storage.local_db", config.storage.local_db);
  book.positive("storage.max_local_incidents", config.storage.max_local_incidents);
}

void vorn_rules(auto& book, const VornConfig& vorn) {
  if (const auto enabled = book.when(vorn.enabled)) {
    book.required("vorn.wallet_file", vorn.wallet_file, "when vorn.enabled=true");
    book.between("vorn.max_batch", vorn.max_batch, 1, 1000);
    book.one_of("vorn.transport", vorn.transport, {"queue", "spool", "command"});
    if (const auto delivers = book.unless(vorn.queue_only)) {
      book.refuse_if(vorn.transport == "queue",
                     "vorn.transport must be spool or command when vorn.queue_only=false",
                     vorn.transport);
      if (const auto spool = book.when(vorn.transport, {"spool"})) {
        book.required("vorn.export_dir", vorn.export_dir, "when vorn.transport=spool");
      }
      if (const auto command = book.when(vorn.transport, {"command"})) {
        book.required("vorn.append_command", vorn.append_command, "when vorn.transport=command");
        book.refuse_if(
            vorn.append_command.find("zunol-vorn-append-event") != std::string::npos &&
                vorn.bridge_command.empty(),
            "vorn.bridge_command is required when append_command uses zunol-vorn-append-event",
            vorn.bridge_command, vorn.append_command);
      }
    }
  }
}

void telegram_rules(auto& book, const TelegramConfig& telegram) {
  if (const auto enabled = book.when(telegram.enabled)) {
    book.one_of("telegram.message_detail", telegram.message_detail,
                {"compact", "normal", "verbose"});
    book.one_of("telegram.alert_mode", telegram.alert_mode, {"edit", "send"});
    book.non_negative("telegram.alert_min_edit_interval_sec", telegram.alert_min_edit_interval_sec);
    book.non_negative("telegram.alert_group_window_sec", telegram.alert_group_window_sec);
    book.between("telegram.top_processes_limit", telegram.top_processes_limit, 0, 20);
    book.one_of("telegram.transport", telegram.transport, {"service", "bot", "direct"});
    if (const auto bot = book.when(telegram.transport, {"bot", "direct"})) {
      constexpr const char* reason = "when telegram.transport=bot";
      book.required("telegram.bot_api_base", telegram.bot_api_base, reason);
      book.required("telegram.bot_token", telegram.bot_token, reason);
      book.required("telegram.bot_chat_id", telegram.bot_chat_id, reason);
    }
    if (const auto service = book.unless(telegram.transport, {"bot", "direct"})) {
      book.required("telegram.api_base", telegram.api_base, "when telegram.enabled=true");
      book.refuse_if(
          telegram.project_id.empty() || telegram.integration_id.empty() ||
              telegram.recipient_ref.empty(),
          "telegram project_id, integration_id and recipient_ref are required when enabled",
          telegram.project_id, telegram.integration_id, telegram.recipient_ref);
      book.one_of("telegram.payment_mode", telegram.payment_mode, {"dsr"});
      book.required("telegram.service_key_file", telegram.service_key_file,
                    "when telegram.transport=service");
      book.existing_file("telegram.service_key_file", telegram.service_key_file);
    }
  }
}

void telegram_commands_rules(auto& book, const Config& config) {
  const TelegramCommandsConfig& commands = config.telegram_commands;
  if (const auto enabled = book.when(commands.enabled)) {
    constexpr const char* reason = "when telegram_commands.enabled=true";
    book.required("telegram.api_base", config.telegram.api_base, reason);
    book.required("telegram.project_id", config.telegram.project_id, reason);
    book.required("telegram.integration_id", config.telegram.integration_id, reason);
    book.required("telegram_commands.executor_key", commands.executor_key, "when enabled");
    book.positive("telegram_commands.poll_interval_sec", commands.poll_interval_sec);
    book.between("telegram_commands.poll_limit", commands.poll_limit, 1, 100);
    const MonitoringCommandsConfig& actions = config.monitoring_commands;
    book.between("monitoring_commands.timeout_sec", actions.timeout_sec, 1, 300);
    book.between("monitoring_commands.max_output_chars", actions.max_output_chars, 500, 20000);
    book.refuse_if(actions.allow_dangerous_actions && !actions.allow_actions,
                   "monitoring_commands.allow_dangerous_actions requires allow_actions=true",
                   actions.allow_dangerous_actions, actions.allow_actions);
  }
}

void reports_and_summary_rules(auto& book, const Config& config) {
  const DailyReportConfig& daily = config.reports.daily;
  if (const auto enabled = book.when(daily.enabled)) {
    book.time_of_day("reports.daily.time", daily.time);
  }
  book.between("reports.daily.send_window_minutes", daily.send_window_minutes, 1, 1440);
  book.one_of("reports.daily.language", daily.language, {"ru", "en"});
  book.one_of("summary.mode", config.summary.mode, {"compact", "normal", "detailed"});
}

void anomaly_detection_rules(auto& book, const SshFailedLoginsAnomalyConfig& logins) {
  if (const auto enabled = book.when(logins.enabled)) {
    book.positive_duration("anomaly_detection.ssh_failed_logins.window", logins.window);
    book.positive_duration("anomaly_detection.ssh_failed_logins.cooldown", logins.cooldown);
    book.refuse_if(
        logins.critical_absolute_count < logins.min_absolute_count,
        "anomaly_detection.ssh_failed_logins.critical_absolute_count must be greater than or "
        "equal to min_absolute_count",
        logins.critical_absolute_count, logins.min_absolute_count);
    book.refuse_if(
        logins.warning_ratio > logins.critical_ratio,
        "anomaly_detection.ssh_failed_logins.critical_ratio must be greater than or equal to "
        "warning_ratio",
        logins.critical_ratio, logins.warning_ratio);
  }
}

void updates_rules(auto& book, const UpdatesConfig& updates) {
  if (const auto enabled = book.when(updates.enabled)) {
    book.required("updates.base_url", updates.base_url, "when updates.enabled=true");
    book.https("updates.base_url", updates.base_url);
    book.one_of("updates.channel", updates.channel, {"latest", "stable"});
  }
}

void diagnostics_rules(auto& book, const DiagnosticsConfig& diagnostics) {
  if (const auto enabled = book.when(diagnostics.enabled)) {
    book.one_of("diagnostics.default_redaction", diagnostics.default_redaction, redaction_modes);
    book.https_or_empty("diagnostics.public_base_url", diagnostics.public_base_url);
    const DiagnosticsArchiveConfig& archive = diagnostics.archive;
    book.one_of("diagnostics.archive.format", archive.format, archive_formats);
    book.between("diagnostics.archive.max_part_mb", archive.max_part_mb, 1, 2000);
    book.between("diagnostics.archive.max_parts_auto_send", archive.max_parts_auto_send, 1, 50);
    const DiagnosticsDiskConfig& disk = diagnostics.disk;
    book.not_empty("diagnostics.disk.paths", disk.paths);
    book.between("diagnostics.disk.max_depth", disk.max_depth, 1, 5);
    book.between("diagnostics.disk.max_entries", disk.max_entries, 10, 10000);
    book.between("diagnostics.logs.max_lines_per_file", diagnostics.logs.max_lines_per_file, 10,
                 20000);
    const DiagnosticsDockerConfig& docker = diagnostics.docker;
    book.between("diagnostics.docker.logs_tail_lines", docker.logs_tail_lines, 10, 10000);
    book.one_of("diagnostics.docker.include_env", docker.include_env, {"masked", "off"});
    book.between("diagnostics.network.curl_timeout_sec", diagnostics.network.curl_timeout_sec, 1,
                 120);
    book.between("diagnostics.retention.max_age_days", diagnostics.retention.max_age_days, 1, 365);
  }
}

void disk_rules(auto& book, const ChecksConfig& checks) {
  if (const auto enabled = book.when(checks.disk.enabled)) {
    book.not_empty("checks.disk.paths", checks.disk.paths, "when disk check is enabled");
  }
  if (const auto enabled = book.when(checks.inodes.enabled)) {
    book.not_empty("checks.inodes.paths", checks.inodes.paths, "when inode check is enabled");
  }
  const DiskTrendCheckConfig& trend = checks.disk_trend;
  if (const auto enabled = book.when(trend.enabled)) {
    book.refuse_if(trend.paths.empty() && checks.disk.paths.empty(),
                   "checks.disk_trend needs paths or checks.disk.paths", trend.paths,
                   checks.disk.paths);
  }
  book.refuse_if(trend.warning_days_left <= 0 || trend.critical_days_left <= 0,
                 "checks.disk_trend warning_days_left and critical_days_left must be positive",
                 trend.warning_days_left, trend.critical_days_left);
  book.refuse_if(trend.critical_days_left > trend.warning_days_left,
                 "checks.disk_trend critical_days_left must be less than or equal to "
                 "warning_days_left",
                 trend.critical_days_left, trend.warning_days_left);
  const DiskIoCheckConfig& io = checks.disk_io;
  if (const auto enabled = book.when(io.enabled)) {
    book.refuse_if(io.warning_util_percent > io.critical_util_percent,
                   "checks.disk_io critical_util_percent must be greater than or equal to "
                   "warning_util_percent",
                   io.critical_util_percent, io.warning_util_percent);
    book.refuse_if(io.warning_read_mb_s > io.critical_read_mb_s ||
                       io.warning_write_mb_s > io.critical_write_mb_s,
                   "checks.disk_io critical throughput thresholds must be greater than or equal to "
                   "warning thresholds",
                   io.critical_read_mb_s, io.warning_read_mb_s, io.critical_write_mb_s,
                   io.warning_write_mb_s);
  }
}

void disk_health_rules(auto& book, const DiskHealthCheckConfig& health) {
  if (const auto enabled = book.when(health.enabled)) {
    book.refuse_if(health.paths.empty() && !health.auto_mounts,
                   "checks.disk_health needs paths or auto_mounts=true", health.paths,
                   health.auto_mounts);
    // The two rules about paths give at most one message: that of the first path that breaks
    // either, and of the first rule where it breaks both.
    const auto inverted = [](const PathThreshold& item) {
      return item.warning_percent > item.critical_percent;
    };
    const auto above_emergency = [&](const PathThreshold& item) {
      return item.critical_percent > health.emergency_percent;
    };
    const auto fault = std::ranges::find_if(health.paths, [&](const PathThreshold& item) {
      return inverted(item) || above_emergency(item);
    });
    const auto first = static_cast<std::size_t>(fault - health.paths.begin());
    const bool any_fault = fault != health.paths.end();
    book.refuse_item(health.paths, any_fault && inverted(*fault) ? first : no_item,
                     "checks.disk_health path critical_percent must be greater than or equal to "
                     "warning_percent");
    book.refuse_item(health.paths, any_fault && !inverted(*fault) ? first : no_item,
                     "checks.disk_health emergency_percent must be greater than or equal to path "
                     "critical_percent");
    book.refuse_if(health.inode_warning_percent > health.inode_critical_percent,
                   "checks.disk_health inode_critical_percent must be greater than or equal to "
                   "inode_warning_percent",
                   health.inode_critical_percent, health.inode_warning_percent);
    book.refuse_if(health.temperature_warning_celsius > health.temperature_critical_celsius,
                   "checks.disk_health temperature_critical_celsius must be greater than or equal "
                   "to temperature_warning_celsius",
                   health.temperature_critical_celsius, health.temperature_warning_celsius);
    book.between("checks.disk_health.io_probe.max_test_size_mb", health.io_probe.max_test_size_mb,
                 1, 64);
  }
}

void service_rules(auto& book, const ChecksConfig& checks) {
  book.refuse_if(
      checks.ubuntu_health.restart_critical_count < checks.ubuntu_health.restart_warning_count,
      "checks.ubuntu_health restart_critical_count must be greater than or equal to "
      "restart_warning_count",
      checks.ubuntu_health.restart_critical_count, checks.ubuntu_health.restart_warning_count);
  book.refuse_if(checks.containers_health.restart_critical_count <
                     checks.containers_health.restart_warning_count,
                 "checks.containers_health restart_critical_count must be greater than or equal to "
                 "restart_warning_count",
                 checks.containers_health.restart_critical_count,
                 checks.containers_health.restart_warning_count);
  const NetworkCheckConfig& network = checks.network;
  if (const auto enabled = book.when(network.enabled)) {
    book.refuse_if(network.warning_rx_mbps > network.critical_rx_mbps ||
                       network.warning_tx_mbps > network.critical_tx_mbps,
                   "checks.network critical throughput thresholds must be greater than or equal to "
                   "warning thresholds",
                   network.critical_rx_mbps, network.warning_rx_mbps, network.critical_tx_mbps,
                   network.warning_tx_mbps);
    if (const auto quota = book.when(network.traffic_quota_enabled)) {
      book.positive_duration("checks.network traffic_quota_window", network.traffic_quota_window);
      book.positive("checks.network critical_total_gb", network.critical_total_gb,
                    "when traffic quota is enabled");
      book.refuse_if(
          network.warning_total_gb > 0 && network.warning_total_gb > network.critical_total_gb,
          "checks.network critical_total_gb must be greater than or equal to warning_total_gb",
          network.critical_total_gb, network.warning_total_gb);
    }
  }
}

/// However many items of a list break a rule, it gives its message once, of the first of them.
void item_rules(auto& book, const ChecksConfig& checks) {
  const auto first = [](const auto& list, auto broken) -> std::size_t {
    const auto found = std::ranges::find_if(list, broken);
    return found == list.end() ? no_item : static_cast<std::size_t>(found - list.begin());
  };
  if (const auto enabled = book.when(checks.domains.enabled)) {
    book.positive("checks.domains.soft_fail_attempts", checks.domains.soft_fail_attempts);
  }
  if (const auto enabled = book.when(checks.http.enabled)) {
    const auto& items = checks.http.items;
    book.refuse_item(
        items, first(items, [](const HttpItem& i) { return i.name.empty() || i.url.empty(); }),
        "checks.http items require name and url");
  }
  if (const auto enabled = book.when(checks.ssl.enabled)) {
    const auto& items = checks.ssl.items;
    book.refuse_item(items, first(items, [](const SslItem& i) { return i.host.empty(); }),
                     "checks.ssl items require host");
  }
  if (const auto enabled = book.when(checks.dns.enabled)) {
    const auto& items = checks.dns.items;
    book.refuse_item(items, first(items, [](const DnsItem& i) { return i.domain.empty(); }),
                     "checks.dns items require domain");
  }
  if (const auto enabled = book.when(checks.domains.enabled)) {
    const auto& items = checks.domains.items;
    book.refuse_item(items, first(items, [](const DomainItem& i) { return i.domain.empty(); }),
                     "checks.domains items require domain");
  }
  if (const auto enabled = book.when(checks.logs.enabled)) {
    const auto& files = checks.logs.files;
    book.refuse_item(files, first(files, [](const LogFileItem& i) { return i.path.empty(); }),
                     "checks.logs files require path");
  }
  if (const auto enabled = book.when(checks.backups.enabled)) {
    const auto& items = checks.backups.items;
    book.refuse_item(items,
                     first(items,
                           [](const BackupItem& i) {
                             return i.name.empty() || (i.path.empty() && i.command.empty());
                           }),
                     "checks.backups items require name and path or command");
  }
  const TestIncidentCheckConfig& test = checks.test_incident;
  if (const auto enabled = book.when(test.enabled)) {
    book.one_of("checks.test_incident.mode", test.mode,
                {"always_ok", "always_fail", "flap", "fail_then_recover"});
    book.one_of("checks.test_incident.level", test.level, {"warning", "critical"});
  }
}

void secret_file_rules(auto& book, const Config& config) {
  if (const auto enabled = book.when(config.security.fail_on_loose_secrets)) {
    book.private_file(config.vorn.wallet_file);
    book.fixed_secret_files();
  }
}

void visit_rules(auto& book, const Config& config) {
  identity_and_storage_rules(book, config);
  vorn_rules(book, config.vorn);
  telegram_rules(book, config.telegram);
  telegram_commands_rules(book, config);
  reports_and_summary_rules(book, config);
  anomaly_detection_rules(book, config.anomaly_detection.ssh_failed_logins);
  updates_rules(book, config.updates);
  diagnostics_rules(book, config.diagnostics);
  disk_rules(book, config.checks);
  disk_health_rules(book, config.checks.disk_health);
  service_rules(book, config.checks);
  item_rules(book, config.checks);
  secret_file_rules(book, config);
}

}  // namespace zunol_monitoring
