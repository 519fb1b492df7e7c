// The keys of config.h.
#pragma once

#include "config/keys/agent_keys.h"
#include "config/keys/anomaly_detection_keys.h"
#include "config/keys/checks_keys.h"
#include "config/keys/diagnostics_keys.h"
#include "config/keys/incidents_keys.h"
#include "config/keys/monitoring_commands_keys.h"
#include "config/keys/reports_keys.h"
#include "config/keys/security_keys.h"
#include "config/keys/storage_keys.h"
#include "config/keys/summary_keys.h"
#include "config/keys/telegram_commands_keys.h"
#include "config/keys/telegram_keys.h"
#include "config/keys/updates_keys.h"
#include "config/keys/visit.h"
#include "config/keys/vorn_keys.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring {

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

}  // namespace zunol_monitoring
