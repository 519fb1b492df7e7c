// Section telegram: how the agent speaks to Telegram, through the Telegram service or straight to
// the Bot API.
#pragma once

#include <filesystem>
#include <string>

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

}  // namespace zunol_monitoring
