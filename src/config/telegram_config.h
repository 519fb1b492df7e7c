// Section telegram: how the agent speaks to Telegram, through the Telegram service or straight to
// the Bot API.
#pragma once

#include <filesystem>
#include <string>

#include "config/visit.h"

namespace zunol_monitoring {

struct TelegramConfig {
  bool enabled = false;
  std::string transport = "service";  ///< "service", "bot" or "direct"
  std::string api_base;               ///< base URL of the Telegram service
  std::string bot_api_base = "https://api.telegram.org";
  std::string bot_token;  ///< a credential; only the file can give it
  std::string bot_chat_id;
  std::string project_id;  ///< independent of agent.project_id
  std::string integration_id;
  std::string recipient_ref;
  std::string payment_mode = "dsr";
  std::filesystem::path service_key_file = "/etc/zunol/monitoring-agent/service-key.json";
  std::filesystem::path service_key_passphrase_file =
      "/etc/zunol/monitoring-agent/service-key.pass";
  bool poll_actions = true;
  std::string poll_interval = "15s";
  std::string message_detail = "normal";  ///< "compact", "normal" or "verbose"
  bool include_top_processes = true;
  int top_processes_limit = 5;
  bool include_hints = true;
  bool include_logs_tail = false;
  std::string alert_mode = "edit";  ///< "edit" or "send"
  int alert_min_edit_interval_sec = 180;
  bool alert_force_edit_on_severity_change = true;
  bool alert_group_cpu_load = true;
  int alert_group_window_sec = 300;
  bool alert_resolved_summary = true;
  bool alert_ack_enabled = true;
  friend bool operator==(const TelegramConfig&, const TelegramConfig&) = default;
};

/// An empty delivery_mode leaves the transport alone.
inline void replace_unless_empty(const std::string& text, std::string& field) {
  if (!text.empty()) field = text;
}

/// Whole seconds in a duration: 20 becomes "20s".
inline void assign_seconds(int seconds, std::string& duration) {
  duration = std::to_string(seconds) + "s";
}

/// The keys of the section, some of which feed other sections: `config` is the root.
template <class Visitor>
void visit_telegram_keys(Visitor& v, auto& config) {
  auto& telegram = config.telegram;
  v.field("enabled", telegram.enabled);
  v.field("transport", telegram.transport);
  v.alias("delivery_mode", telegram.transport, replace_unless_empty);
  v.field("api_base", telegram.api_base);
  v.alias("service_url", telegram.api_base);
  v.field("bot_api_base", telegram.bot_api_base);
  v.credential("bot_token", telegram.bot_token);
  v.field("bot_chat_id", telegram.bot_chat_id);
  v.field("project_id", telegram.project_id);
  v.field("integration_id", telegram.integration_id);
  v.field("recipient_ref", telegram.recipient_ref);
  v.field("payment_mode", telegram.payment_mode);
  v.field("service_key_file", telegram.service_key_file);
  v.field("service_key_passphrase_file", telegram.service_key_passphrase_file);
  v.field("poll_actions", telegram.poll_actions);
  v.alias("actions_poll_enabled", telegram.poll_actions);
  v.duration("poll_interval", telegram.poll_interval);
  v.alias("actions_poll_interval_sec", telegram.poll_interval, assign_seconds);
  v.field("message_detail", telegram.message_detail);
  v.field("include_top_processes", telegram.include_top_processes);
  v.field("top_processes_limit", telegram.top_processes_limit);
  v.field("include_hints", telegram.include_hints);
  v.field("include_logs_tail", telegram.include_logs_tail);
  v.field("max_message_chars", config.monitoring_commands.max_output_chars);
  v.block("summaries", [&](auto& block) {
    block.field("enabled", config.reports.daily.enabled);
    block.field("mode", config.summary.mode);
  });
  v.field("alert_mode", telegram.alert_mode);
  v.field("alert_min_edit_interval_sec", telegram.alert_min_edit_interval_sec);
  v.alias("monitoring_alert_update_interval_sec", telegram.alert_min_edit_interval_sec);
  v.field("alert_force_edit_on_severity_change", telegram.alert_force_edit_on_severity_change);
  v.alias("monitoring_alert_force_on_level_change", telegram.alert_force_edit_on_severity_change);
  v.field("alert_group_cpu_load", telegram.alert_group_cpu_load);
  v.alias("monitoring_alert_group_cpu_load", telegram.alert_group_cpu_load);
  v.field("alert_group_window_sec", telegram.alert_group_window_sec);
  v.alias("monitoring_alert_group_window_sec", telegram.alert_group_window_sec);
  v.field("alert_resolved_summary", telegram.alert_resolved_summary);
  v.field("alert_ack_enabled", telegram.alert_ack_enabled);
  v.alias("commands", config.telegram_commands);
}

}  // namespace zunol_monitoring
