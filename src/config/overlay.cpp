#include "config/overlay.h"

#include "base/environment.h"

namespace zunol_monitoring {
namespace {

void overlay(const char* name, std::string& field) { field = env_or_default(name, field); }
void overlay(const char* name, std::filesystem::path& field) {
  field = env_or_default(name, field.string());
}
void overlay(const char* name, bool& field) { field = env_bool(name, field); }
void overlay(const char* name, int& field) { field = env_int(name, field); }
void overlay(const char* name, std::vector<std::string>& field) { env_list(name, field); }

/// The value is a number of seconds, and the field a duration.
void overlay_seconds(const char* name, std::string& field) {
  const std::string seconds = env_or_default(name, "");
  if (!seconds.empty()) field = seconds + 's';
}

}  // namespace

void apply_environment_overlay(Config& config) {
  TelegramConfig& telegram = config.telegram;
  overlay("TELEGRAM_DELIVERY_MODE", telegram.transport);
  overlay("TELEGRAM_SERVICE_URL", telegram.api_base);
  overlay("TELEGRAM_PROJECT_ID", telegram.project_id);
  overlay("TELEGRAM_INTEGRATION_ID", telegram.integration_id);
  overlay("TELEGRAM_RECIPIENT_REF", telegram.recipient_ref);
  overlay("TELEGRAM_PAYMENT_MODE", telegram.payment_mode);
  overlay("TELEGRAM_SERVICE_KEY_FILE", telegram.service_key_file);
  overlay("TELEGRAM_SERVICE_KEY_PASSPHRASE_FILE", telegram.service_key_passphrase_file);
  overlay("TELEGRAM_ACTIONS_POLL_ENABLED", telegram.poll_actions);
  overlay_seconds("TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", telegram.poll_interval);
  overlay("MONITORING_ALERT_GROUP_CPU_LOAD", telegram.alert_group_cpu_load);
  overlay("MONITORING_ALERT_GROUP_WINDOW_SEC", telegram.alert_group_window_sec);
  overlay("MONITORING_ALERT_UPDATE_INTERVAL_SEC", telegram.alert_min_edit_interval_sec);
  overlay("MONITORING_ALERT_FORCE_ON_LEVEL_CHANGE", telegram.alert_force_edit_on_severity_change);

  TelegramCommandsConfig& commands = config.telegram_commands;
  overlay("TELEGRAM_COMMANDS_ENABLED", commands.enabled);
  overlay("TELEGRAM_COMMANDS_REGISTER_MANIFEST", commands.register_manifest);
  overlay("TELEGRAM_COMMANDS_ACK_ENABLED", commands.ack_enabled);
  overlay("TELEGRAM_COMMANDS_POLL_INTERVAL_SEC", commands.poll_interval_sec);
  overlay("TELEGRAM_COMMANDS_POLL_LIMIT", commands.poll_limit);
  overlay("TELEGRAM_EXECUTOR_KEY", commands.executor_key);
  overlay("TELEGRAM_AGENT_ID", commands.agent_id);
  overlay("TELEGRAM_SERVER_NAME", commands.server_name);

  MonitoringCommandsConfig& actions = config.monitoring_commands;
  overlay("MONITORING_COMMANDS_ALLOW_ACTIONS", actions.allow_actions);
  overlay("MONITORING_COMMANDS_ALLOW_DANGEROUS_ACTIONS", actions.allow_dangerous_actions);
  overlay("MONITORING_COMMANDS_TIMEOUT_SEC", actions.timeout_sec);
  overlay("MONITORING_COMMANDS_MAX_OUTPUT_CHARS", actions.max_output_chars);
  overlay("MONITORING_ALLOWED_SYSTEMD_SERVICES", actions.allowed_systemd_services);
  overlay("MONITORING_ALLOWED_DOCKER_CONTAINERS", actions.allowed_docker_containers);

  overlay("MONITORING_DIAGNOSTICS_ENABLED", config.diagnostics.enabled);
  overlay("MONITORING_DIAGNOSTICS_REDACTION_MODE", config.diagnostics.default_redaction);
  overlay("MONITORING_DIAGNOSTICS_MAX_PART_MB", config.diagnostics.archive.max_part_mb);
  overlay("MONITORING_ANOMALY_DETECTION_ENABLED", config.anomaly_detection.enabled);
  overlay("MONITORING_SSH_FAILED_LOGINS_ANOMALY_ENABLED",
          config.anomaly_detection.ssh_failed_logins.enabled);
  overlay("MONITORING_SUMMARY_MODE", config.summary.mode);
  overlay("MONITORING_REPORT_LANGUAGE", config.reports.daily.language);
  overlay("MONITORING_REPORT_DAILY_SEND_WINDOW_MINUTES", config.reports.daily.send_window_minutes);
}

}  // namespace zunol_monitoring
