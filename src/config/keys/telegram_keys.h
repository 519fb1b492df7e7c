// The keys of telegram_config.h.
#pragma once

#include <string>

#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/telegram_config.h"

namespace zunol_monitoring {

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
