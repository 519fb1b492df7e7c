#include "config/overlay.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/environment.h"
#include "base/files.h"
#include "config/load.h"
#include "tests/support.h"

using namespace zunol_monitoring;

TEST(Overlay, EachVariableHasItsField) {
  const struct {
    const char* name;
    const char* value;
    std::function<void(Config&)> expected;
  } rows[] = {
      {"TELEGRAM_DELIVERY_MODE", "v", [](Config& c) { c.telegram.transport = "v"; }},
      {"TELEGRAM_SERVICE_URL", "v", [](Config& c) { c.telegram.api_base = "v"; }},
      {"TELEGRAM_PROJECT_ID", "v", [](Config& c) { c.telegram.project_id = "v"; }},
      {"TELEGRAM_INTEGRATION_ID", "v", [](Config& c) { c.telegram.integration_id = "v"; }},
      {"TELEGRAM_RECIPIENT_REF", "v", [](Config& c) { c.telegram.recipient_ref = "v"; }},
      {"TELEGRAM_PAYMENT_MODE", "v", [](Config& c) { c.telegram.payment_mode = "v"; }},
      {"TELEGRAM_SERVICE_KEY_FILE", "v", [](Config& c) { c.telegram.service_key_file = "v"; }},
      {"TELEGRAM_SERVICE_KEY_PASSPHRASE_FILE", "v",
       [](Config& c) { c.telegram.service_key_passphrase_file = "v"; }},
      {"TELEGRAM_ACTIONS_POLL_ENABLED", "no", [](Config& c) { c.telegram.poll_actions = false; }},
      {"TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", "30",
       [](Config& c) { c.telegram.poll_interval = "30s"; }},
      {"TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", "1m",  // not looked at
       [](Config& c) { c.telegram.poll_interval = "1ms"; }},
      {"MONITORING_ALERT_GROUP_CPU_LOAD", "0",
       [](Config& c) { c.telegram.alert_group_cpu_load = false; }},
      {"MONITORING_ALERT_GROUP_WINDOW_SEC", "7",
       [](Config& c) { c.telegram.alert_group_window_sec = 7; }},
      {"MONITORING_ALERT_UPDATE_INTERVAL_SEC", "7",
       [](Config& c) { c.telegram.alert_min_edit_interval_sec = 7; }},
      {"MONITORING_ALERT_FORCE_ON_LEVEL_CHANGE", "off",
       [](Config& c) { c.telegram.alert_force_edit_on_severity_change = false; }},
      {"TELEGRAM_COMMANDS_ENABLED", "1", [](Config& c) { c.telegram_commands.enabled = true; }},
      {"TELEGRAM_COMMANDS_REGISTER_MANIFEST", "FALSE",
       [](Config& c) { c.telegram_commands.register_manifest = false; }},
      {"TELEGRAM_COMMANDS_ACK_ENABLED", "On",
       [](Config& c) { c.telegram_commands.ack_enabled = true; }},
      {"TELEGRAM_COMMANDS_POLL_INTERVAL_SEC", "7",
       [](Config& c) { c.telegram_commands.poll_interval_sec = 7; }},
      {"TELEGRAM_COMMANDS_POLL_LIMIT", "50x",
       [](Config& c) { c.telegram_commands.poll_limit = 50; }},
      {"TELEGRAM_EXECUTOR_KEY", "v", [](Config& c) { c.telegram_commands.executor_key = "v"; }},
      {"TELEGRAM_AGENT_ID", "v", [](Config& c) { c.telegram_commands.agent_id = "v"; }},
      {"TELEGRAM_SERVER_NAME", "v", [](Config& c) { c.telegram_commands.server_name = "v"; }},
      {"MONITORING_COMMANDS_ALLOW_ACTIONS", "yes",
       [](Config& c) { c.monitoring_commands.allow_actions = true; }},
      {"MONITORING_COMMANDS_ALLOW_DANGEROUS_ACTIONS", "yes",
       [](Config& c) { c.monitoring_commands.allow_dangerous_actions = true; }},
      {"MONITORING_COMMANDS_TIMEOUT_SEC", " -7",
       [](Config& c) { c.monitoring_commands.timeout_sec = -7; }},
      {"MONITORING_COMMANDS_MAX_OUTPUT_CHARS", "700",
       [](Config& c) { c.monitoring_commands.max_output_chars = 700; }},
      {"MONITORING_ALLOWED_SYSTEMD_SERVICES", "nginx , docker,,",
       [](Config& c) {
         c.monitoring_commands.allowed_systemd_services = {"nginx", "docker"};
       }},
      {"MONITORING_ALLOWED_SYSTEMD_SERVICES", " ,",
       [](Config& c) { c.monitoring_commands.allowed_systemd_services = {}; }},
      {"MONITORING_ALLOWED_DOCKER_CONTAINERS", "\t a b \n",
       [](Config& c) { c.monitoring_commands.allowed_docker_containers = {"a b"}; }},
      {"MONITORING_DIAGNOSTICS_ENABLED", "no", [](Config& c) { c.diagnostics.enabled = false; }},
      {"MONITORING_DIAGNOSTICS_REDACTION_MODE", "off",
       [](Config& c) { c.diagnostics.default_redaction = "off"; }},
      {"MONITORING_DIAGNOSTICS_MAX_PART_MB", "7",
       [](Config& c) { c.diagnostics.archive.max_part_mb = 7; }},
      {"MONITORING_ANOMALY_DETECTION_ENABLED", "no",
       [](Config& c) { c.anomaly_detection.enabled = false; }},
      {"MONITORING_SSH_FAILED_LOGINS_ANOMALY_ENABLED", "no",
       [](Config& c) { c.anomaly_detection.ssh_failed_logins.enabled = false; }},
      {"MONITORING_SUMMARY_MODE", "v", [](Config& c) { c.summary.mode = "v"; }},
      {"MONITORING_REPORT_LANGUAGE", "en", [](Config& c) { c.reports.daily.language = "en"; }},
      {"MONITORING_REPORT_DAILY_SEND_WINDOW_MINUTES", "7",
       [](Config& c) { c.reports.daily.send_window_minutes = 7; }},
      // Values that are none of their field's kind, and the empty one.
      {"TELEGRAM_COMMANDS_POLL_LIMIT", "x50", [](Config&) {}},
      {"TELEGRAM_COMMANDS_POLL_LIMIT", "2147483648", [](Config&) {}},
      {"TELEGRAM_ACTIONS_POLL_ENABLED", "n", [](Config&) {}},
      {"TELEGRAM_SERVICE_URL", "", [](Config&) {}},
      {"TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", "", [](Config&) {}},
      {"MONITORING_ALLOWED_SYSTEMD_SERVICES", "", [](Config&) {}},
  };
  for (const auto& row : rows) {
    const EnvGuard variable(row.name, row.value);
    Config expected = default_config();
    row.expected(expected);
    Config config = default_config();
    apply_environment_overlay(config);
    EXPECT_EQ(config, expected) << row.name << "=" << row.value;
    EXPECT_TRUE(config != default_config() || expected == default_config()) << row.name;
  }
}

TEST(Overlay, TheEnvironmentBeatsTheFile) {
  const TempDir dir;
  write_text_file(dir / "c.yaml",
                  "telegram: {actions_poll_interval_sec: 5, api_base: file}\n"
                  "diagnostics: {redaction: {mode: normal}}\n");
  const EnvGuard interval("TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", "30");
  const EnvGuard redaction("MONITORING_DIAGNOSTICS_REDACTION_MODE", "off");
  const Config config = load_config(dir / "c.yaml");
  EXPECT_EQ(config.telegram.poll_interval, "30s");
  EXPECT_EQ(config.telegram.api_base, "file");
  EXPECT_EQ(config.diagnostics.default_redaction, "off");
  EXPECT_EQ(config.diagnostics.redaction.mode, "normal");
}
