// The whole configuration of the agent: one plain value, one member for each section of the file.
//
// Every key has its default here, an absent key keeps it, and a key that no record declares is
// ignored. The environment beats the file, the file beats the default. Bounds and relations between
// fields are not tested on loading.
#pragma once

#include <filesystem>

#include "zunol_monitoring/config/records/agent_config.h"
#include "zunol_monitoring/config/records/anomaly_detection_config.h"
#include "zunol_monitoring/config/records/checks_config.h"
#include "zunol_monitoring/config/records/diagnostics_config.h"
#include "zunol_monitoring/config/records/incidents_config.h"
#include "zunol_monitoring/config/records/monitoring_commands_config.h"
#include "zunol_monitoring/config/records/reports_config.h"
#include "zunol_monitoring/config/records/security_config.h"
#include "zunol_monitoring/config/records/storage_config.h"
#include "zunol_monitoring/config/records/summary_config.h"
#include "zunol_monitoring/config/records/telegram_commands_config.h"
#include "zunol_monitoring/config/records/telegram_config.h"
#include "zunol_monitoring/config/records/updates_config.h"
#include "zunol_monitoring/config/records/vorn_config.h"

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

/// A Config with every default, and the tag "monitoring".
Config default_config();

}  // namespace zunol_monitoring
