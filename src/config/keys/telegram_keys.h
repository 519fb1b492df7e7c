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
  v.field("enabled", telegram.enabled, "Whether the agent sends messages");
  v.field("transport", telegram.transport,
          "Way of the messages: the Telegram service, or straight to the Bot API (bot, direct)");
  v.alias("delivery_mode", telegram.transport, replace_unless_empty);
  v.field("api_base", telegram.api_base, "Base address of the Telegram service");
  v.alias("service_url", telegram.api_base);
  v.field("bot_api_base", telegram.bot_api_base, "Base address of the Bot API");
  v.credential("bot_token", telegram.bot_token,
               "Token of the bot; no variable gives it, so keep the file private");
  v.field("bot_chat_id", telegram.bot_chat_id, "Chat to which the bot writes");
  v.field("project_id", telegram.project_id,
          "Project towards the Telegram service; not taken from agent.project_id");
  v.field("integration_id", telegram.integration_id,
          "Integration of the Telegram service that is used");
  v.field("recipient_ref", telegram.recipient_ref, "Whom the Telegram service is to reach");
  v.field("payment_mode", telegram.payment_mode, "How the Telegram service is paid");
  v.field("service_key_file", telegram.service_key_file,
          "Key file with which the agent proves itself to the Telegram service");
  v.field("service_key_passphrase_file", telegram.service_key_passphrase_file,
          "File that holds the pass phrase of that key");
  v.field("poll_actions", telegram.poll_actions,
          "Whether the agent asks for actions that people chose in messages");
  v.alias("actions_poll_enabled", telegram.poll_actions);
  v.duration("poll_interval", telegram.poll_interval, "Time between two such questions");
  v.alias("actions_poll_interval_sec", telegram.poll_interval, assign_seconds);
  v.field("message_detail", telegram.message_detail, "How much a message tells");
  v.field("include_top_processes", telegram.include_top_processes,
          "Whether messages name the processes that use most");
  v.field("top_processes_limit", telegram.top_processes_limit, "Processes that are named at most");
  v.field("include_hints", telegram.include_hints, "Whether messages give hints on what to do");
  v.field("include_logs_tail", telegram.include_logs_tail,
          "Whether messages have the last lines of the logs");
  v.field("max_message_chars", config.monitoring_commands.max_output_chars);
  v.block(
      "summaries",
      [&](auto& block) {
        block.field("enabled", config.reports.daily.enabled);
        block.field("mode", config.summary.mode);
      },
      "Second names of keys in reports and summary");
  v.field("alert_mode", telegram.alert_mode,
          "Whether news of an alert edit its message or send another one");
  v.field("alert_min_edit_interval_sec", telegram.alert_min_edit_interval_sec,
          "Seconds between two edits of a message at least");
  v.alias("monitoring_alert_update_interval_sec", telegram.alert_min_edit_interval_sec);
  v.field("alert_force_edit_on_severity_change", telegram.alert_force_edit_on_severity_change,
          "Whether a change of the level is shown at once, without that wait");
  v.alias("monitoring_alert_force_on_level_change", telegram.alert_force_edit_on_severity_change);
  v.field("alert_group_cpu_load", telegram.alert_group_cpu_load,
          "Whether alerts about processors and load come as one");
  v.alias("monitoring_alert_group_cpu_load", telegram.alert_group_cpu_load);
  v.field("alert_group_window_sec", telegram.alert_group_window_sec,
          "Seconds within which alerts are grouped");
  v.alias("monitoring_alert_group_window_sec", telegram.alert_group_window_sec);
  v.field("alert_resolved_summary", telegram.alert_resolved_summary,
          "Whether the end of an alert is told with a summary");
  v.field("alert_ack_enabled", telegram.alert_ack_enabled,
          "Whether alerts can be acknowledged in their messages");
  v.alias("commands", config.telegram_commands, "Second names of the keys of telegram_commands");
}

}  // namespace zunol_monitoring
