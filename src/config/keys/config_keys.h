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
    v.field("version", config.version, "Version of the file's format");
  }
  v.block("agent", config.agent, "Who this host is");
  v.block("storage", config.storage,
          "The local database: incidents, journal, results and the queue of events");
  v.block("vorn", config.vorn, "How events reach the history");
  v.block(
      "telegram", [&](auto& section) { visit_telegram_keys(section, config); },
      "How the agent speaks to people through Telegram; only carried for the agent");
  v.block("telegram_commands", config.telegram_commands,
          "Commands that come in through the Telegram service; only carried for the agent");
  v.block("monitoring_commands", config.monitoring_commands,
          "What remote commands may do on this host; only carried for the agent");
  v.block(
      "remote_actions",
      [&](auto& section) { visit_remote_actions_keys(section, config.monitoring_commands); },
      "A second way to set four keys of monitoring_commands, which it beats");
  v.block("anomaly_detection", config.anomaly_detection,
          "Activity far above the usual; only carried for the agent");
  v.block("summary", config.summary,
          "Short summaries of the host's state; only carried for the agent");
  v.block("reports", config.reports, "Reports at fixed times; only carried for the agent");
  v.block("updates", config.updates, "Updates of the agent itself; only carried for the agent");
  v.block("incidents", config.incidents,
          "When incidents end and are reported again; only carried for the agent");
  v.block("checks", config.checks,
          "What the agent looks at, how often and with which limits; only carried for the agent");
  v.block("diagnostics", config.diagnostics,
          "Bundles of diagnostic data that are gathered on request; only carried for the agent");
  v.block("security", config.security, "How strictly files with credentials are judged");
}

}  // namespace zunol_monitoring
