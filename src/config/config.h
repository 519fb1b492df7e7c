// The whole configuration of the agent: one plain value, one member for each section of the file.
//
// Every key has its default here, an absent key keeps it, and a key that no record declares is
// ignored. The environment beats the file, the file beats the default. Bounds and relations between
// fields are not tested on loading.
#pragma once

#include <filesystem>

#include "config/agent_config.h"
#include "config/anomaly_detection_config.h"
#include "config/checks_config.h"
#include "config/diagnostics_config.h"
#include "config/incidents_config.h"
#include "config/monitoring_commands_config.h"
#include "config/reports_config.h"
#include "config/security_config.h"
#include "config/storage_config.h"
#include "config/summary_config.h"
#include "config/telegram_commands_config.h"
#include "config/telegram_config.h"
#include "config/updates_config.h"
#include "config/visit.h"
#include "config/vorn_config.h"

namespace zunol_monitoring {

struct Config {
  int version = 1;
  std::filesystem::path path;  ///< the file that the value was loaded from; no key
  AgentConfig agent;
  StorageConfig storage;
  VornConfig vorn;
  TelegramConfig telegram;
  TelegramCommandsConfig telegram_commands;
  MonitoringCommandsConfig monitoring_commands;
  AnomalyDetectionConfig anomaly_detection;
  SummaryConfig summary;
  IncidentsConfig incidents;
  ReportsConfig reports;
  UpdatesConfig updates;
  ChecksConfig checks;
  SecurityConfig security;
  DiagnosticsConfig diagnostics;
  friend bool operator==(const Config&, const Config&) = default;
};

/// The sections in the order of reading and rendering, which decides who wins where two keys feed
/// one field: telegram feeds four later sections, and remote_actions overrides monitoring_commands.
template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<Config> auto& config) {
  if constexpr (Visitor::rendering) {
    v.literal("version", "1");
  } else {
    v.field("version", config.version);
  }
  v.block("agent", config.agent);
  v.block("storage", config.storage);
  v.block("vorn", config.vorn);
  v.block("telegram", [&](auto& section) { visit_telegram_keys(section, config); });
  v.block("telegram_commands", config.telegram_commands);
  v.block("monitoring_commands", config.monitoring_commands);
  v.block("remote_actions",
          [&](auto& section) { visit_remote_actions_keys(section, config.monitoring_commands); });
  v.block("anomaly_detection", config.anomaly_detection);
  v.block("summary", config.summary);
  v.block("reports", config.reports);
  v.block("updates", config.updates);
  v.block("incidents", config.incidents);
  v.block("checks", config.checks);
  v.block("diagnostics", config.diagnostics);
  v.block("security", config.security);
}

/// A Config with every default, and the tag "monitoring".
Config default_config();

}  // namespace zunol_monitoring
