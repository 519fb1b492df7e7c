// Which variable of the environment overrides which field: the one table, in the order of
// application, walked by the overlay and by overlay_variables. The verbs of a visitor:
//
//   variable(name, field)   the value in the form of the field's kind
//   seconds(name, field)    the value is a number of seconds, and the field a duration
#pragma once

#include "config/keys/visit.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_overlay(Visitor& v, MaybeConst<Config> auto& config) {
  auto& telegram = config.telegram;
  v.variable("TELEGRAM_DELIVERY_MODE", telegram.transport);
  v.variable("TELEGRAM_SERVICE_URL", telegram.api_base);
  v.variable("TELEGRAM_PROJECT_ID", telegram.project_id);
  v.variable("TELEGRAM_INTEGRATION_ID", telegram.integration_id);
  v.variable("TELEGRAM_RECIPIENT_REF", telegram.recipient_ref);
  v.variable("TELEGRAM_PAYMENT_MODE", telegram.payment_mode);
  v.variable("TELEGRAM_SERVICE_KEY_FILE", telegram.service_key_file);
  v.variable("TELEGRAM_SERVICE_KEY_PASSPHRASE_FILE", telegram.service_key_passphrase_file);
  v.variable("TELEGRAM_ACTIONS_POLL_ENABLED", telegram.poll_actions);
  v.seconds("TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", telegram.poll_interval);
  v.variable("MONITORING_ALERT_GROUP_CPU_LOAD", telegram.alert_group_cpu_load);
  v.variable("MONITORING_ALERT_GROUP_WINDOW_SEC", telegram.alert_group_window_sec);
  v.variable("MONITORING_ALERT_UPDATE_INTERVAL_SEC", telegram.alert_min_edit_interval_sec);
  v.variable("MONITORING_ALERT_FORCE_ON_LEVEL_CHANGE",
             telegram.alert_force_edit_on_severity_change);

  auto& commands = config.telegram_commands;
  v.variable("TELEGRAM_COMMANDS_ENABLED", commands.enabled);
  v.variable("TELEGRAM_COMMANDS_REGISTER_MANIFEST", commands.register_manifest);
  v.variable("TELEGRAM_COMMANDS_ACK_ENABLED", commands.ack_enabled);
  v.variable("TELEGRAM_COMMANDS_POLL_INTERVAL_SEC", commands.poll_interval_sec);
  v.variable("TELEGRAM_COMMANDS_POLL_LIMIT", commands.poll_limit);
  v.variable("TELEGRAM_EXECUTOR_KEY", commands.executor_key);
  v.variable("TELEGRAM_AGENT_ID", commands.agent_id);
  v.variable("TELEGRAM_SERVER_NAME", commands.server_name);

  auto& actions = config.monitoring_commands;
  v.variable("MONITORING_COMMANDS_ALLOW_ACTIONS", actions.allow_actions);
  v.variable("MONITORING_COMMANDS_ALLOW_DANGEROUS_ACTIONS", actions.allow_dangerous_actions);
  v.variable("MONITORING_COMMANDS_TIMEOUT_SEC", actions.timeout_sec);
  v.variable("MONITORING_COMMANDS_MAX_OUTPUT_CHARS", actions.max_output_chars);
  v.variable("MONITORING_ALLOWED_SYSTEMD_SERVICES", actions.allowed_systemd_services);
  v.variable("MONITORING_ALLOWED_DOCKER_CONTAINERS", actions.allowed_docker_containers);

  v.variable("MONITORING_DIAGNOSTICS_ENABLED", config.diagnostics.enabled);
  v.variable("MONITORING_DIAGNOSTICS_REDACTION_MODE", config.diagnostics.default_redaction);
  v.variable("MONITORING_DIAGNOSTICS_MAX_PART_MB", config.diagnostics.archive.max_part_mb);
  v.variable("MONITORING_ANOMALY_DETECTION_ENABLED", config.anomaly_detection.enabled);
  v.variable("MONITORING_SSH_FAILED_LOGINS_ANOMALY_ENABLED",
             config.anomaly_detection.ssh_failed_logins.enabled);
  v.variable("MONITORING_SUMMARY_MODE", config.summary.mode);
  v.variable("MONITORING_REPORT_LANGUAGE", config.reports.daily.language);
  v.variable("MONITORING_REPORT_DAILY_SEND_WINDOW_MINUTES",
             config.reports.daily.send_window_minutes);
}

}  // namespace zunol_monitoring
