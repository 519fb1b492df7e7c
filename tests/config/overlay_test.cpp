#include "zunol_monitoring/config/overlay.h"

#include <yaml-cpp/yaml.h>

#include "tests/config/load_text.h"

using namespace zunol_monitoring;

// A variable with its value, and what the defaults become under it: each kind of value, and what
// docs/configuration.md does not tell of all the others.
constexpr const char* variables = R"(
TELEGRAM_DELIVERY_MODE: v => telegram: {transport: v}
TELEGRAM_SERVICE_URL: v => telegram: {api_base: v}
TELEGRAM_SERVICE_KEY_FILE: v => telegram: {service_key_file: v}
TELEGRAM_ACTIONS_POLL_ENABLED: no => telegram: {poll_actions: false}
TELEGRAM_ACTIONS_POLL_INTERVAL_SEC: 30 => telegram: {poll_interval: 30s}
MONITORING_ALERT_GROUP_CPU_LOAD: 0 => telegram: {alert_group_cpu_load: false}
MONITORING_ALERT_FORCE_ON_LEVEL_CHANGE: off => telegram: {alert_force_edit_on_severity_change: false}
TELEGRAM_COMMANDS_ENABLED: 1 => telegram_commands: {enabled: true}
TELEGRAM_COMMANDS_REGISTER_MANIFEST: FALSE => telegram_commands: {register_manifest: false}
TELEGRAM_COMMANDS_ACK_ENABLED: On => telegram_commands: {ack_enabled: true}
TELEGRAM_COMMANDS_POLL_LIMIT: 50x => telegram_commands: {poll_limit: 50}
MONITORING_COMMANDS_ALLOW_ACTIONS: yes => monitoring_commands: {allow_actions: true}
MONITORING_COMMANDS_ALLOW_DANGEROUS_ACTIONS: true => monitoring_commands: {allow_dangerous_actions: true}
MONITORING_COMMANDS_TIMEOUT_SEC: " -7" => monitoring_commands: {timeout_sec: -7}
MONITORING_ALLOWED_SYSTEMD_SERVICES: nginx , docker,, => monitoring_commands: {allowed_systemd_services: [nginx, docker]}
MONITORING_ALLOWED_DOCKER_CONTAINERS: "\t a b \n" => monitoring_commands: {allowed_docker_containers: [a b]}
MONITORING_DIAGNOSTICS_REDACTION_MODE: off => diagnostics: {default_redaction: 'off'}
// A text that is not looked at, a list of nothing, and values that are none of their field's kind.
TELEGRAM_ACTIONS_POLL_INTERVAL_SEC: 1m => telegram: {poll_interval: 1ms}
MONITORING_ALLOWED_SYSTEMD_SERVICES: " ," => monitoring_commands: {allowed_systemd_services: []}
TELEGRAM_COMMANDS_POLL_LIMIT: x50 => {}
TELEGRAM_COMMANDS_POLL_LIMIT: 2147483648 => {}
TELEGRAM_ACTIONS_POLL_ENABLED: n => {}
TELEGRAM_SERVICE_URL: => {}
TELEGRAM_ACTIONS_POLL_INTERVAL_SEC: => {}
MONITORING_ALLOWED_SYSTEMD_SERVICES: => {}
)";

TEST(Overlay, AVariableGivesItsFieldAValueOfTheFieldsKind) {
  for (const Texts& row : rows_of(variables, "=>")) {
    const Config expected = load_text(row.at(1));
    const auto variable = *YAML::Load(row[0]).begin();
    const EnvGuard guard(variable.first.Scalar().c_str(), variable.second.Scalar().c_str());
    Config config = default_config();
    apply_environment_overlay(config);
    EXPECT_EQ(config, expected) << row[0];
    EXPECT_EQ(config == default_config(), row[1] == "{}") << row[0];
  }
}

TEST(Overlay, TheEnvironmentBeatsTheFile) {
  const EnvGuard interval("TELEGRAM_ACTIONS_POLL_INTERVAL_SEC", "30");
  const EnvGuard redaction("MONITORING_DIAGNOSTICS_REDACTION_MODE", "off");
  const Config config = load_text(R"(
telegram: {actions_poll_interval_sec: 5, api_base: file}
diagnostics: {redaction: {mode: normal}}
)");
  EXPECT_EQ(config.telegram.poll_interval, "30s");
  EXPECT_EQ(config.telegram.api_base, "file");
  EXPECT_EQ(config.diagnostics.default_redaction, "off");
  EXPECT_EQ(config.diagnostics.redaction.mode, "normal");
}
