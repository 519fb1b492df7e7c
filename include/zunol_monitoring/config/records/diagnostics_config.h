// Section diagnostics: how the agent gathers a diagnostic bundle, who may ask for which kind, and
// how the bundle is packed, cleaned of secrets and kept.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "zunol_monitoring/config/records/action_policy.h"

namespace zunol_monitoring {

struct DiagnosticProfilesConfig {
  ActionPolicy quick{.max_runtime_sec = 60};
  ActionPolicy incident;
  ActionPolicy disk;
  ActionPolicy docker;
  ActionPolicy network;
  ActionPolicy security{
      .required_role = "admin", .require_confirmation = true, .max_runtime_sec = 240};
  ActionPolicy hardware{
      .required_role = "admin", .require_confirmation = true, .max_runtime_sec = 240};
  ActionPolicy full{.required_role = "admin", .require_confirmation = true, .max_runtime_sec = 600};
  friend bool operator==(const DiagnosticProfilesConfig&,
                         const DiagnosticProfilesConfig&) = default;
};

struct DiagnosticsArchiveConfig {
  std::string format = "tar.zst";  ///< "tar.zst" or "tar.gz"
  std::string fallback_format = "tar.gz";
  int max_part_mb = 45;
  int max_parts_auto_send = 3;
  friend bool operator==(const DiagnosticsArchiveConfig&,
                         const DiagnosticsArchiveConfig&) = default;
};

struct DiagnosticsRedactionConfig {
  std::string mode = "strict";
  bool fail_on_possible_secret = true;
  friend bool operator==(const DiagnosticsRedactionConfig&,
                         const DiagnosticsRedactionConfig&) = default;
};

struct DiagnosticsDiskConfig {
  std::vector<std::string> paths = {"/", "/var", "/home", "/opt", "/share"};
  std::vector<std::string> exclude_paths = {"/proc", "/sys", "/dev",
                                            "/run",  "/tmp", "/var/lib/docker/overlay2"};
  int max_depth = 2;
  int max_entries = 100;
  int timeout_sec = 60;
  friend bool operator==(const DiagnosticsDiskConfig&, const DiagnosticsDiskConfig&) = default;
};

struct DiagnosticsLogsConfig {
  int max_lines_per_file = 1000;
  std::uint64_t max_bytes_per_log = 1048576;  ///< 1 MiB
  bool include_previous_boot = true;
  friend bool operator==(const DiagnosticsLogsConfig&, const DiagnosticsLogsConfig&) = default;
};

struct DiagnosticsDockerConfig {
  bool enabled = true;
  bool include_logs = true;
  int logs_tail_lines = 500;
  std::uint64_t logs_max_bytes_per_container = 1048576;  ///< 1 MiB
  std::string include_env = "masked";                    ///< "masked" or "off"
  bool include_raw_inspect = false;
  friend bool operator==(const DiagnosticsDockerConfig&, const DiagnosticsDockerConfig&) = default;
};

struct DiagnosticsNetworkConfig {
  bool enable_mtr = true;
  bool enable_tracepath = true;
  int curl_timeout_sec = 10;
  friend bool operator==(const DiagnosticsNetworkConfig&,
                         const DiagnosticsNetworkConfig&) = default;
};

struct DiagnosticsRetentionConfig {
  int max_age_days = 7;
  int max_total_size_mb = 2048;
  friend bool operator==(const DiagnosticsRetentionConfig&,
                         const DiagnosticsRetentionConfig&) = default;
};

struct DiagnosticsConfig {
  bool enabled = true;
  std::filesystem::path root_dir;
  std::string public_base_url;
  std::string default_redaction = "strict";  ///< "strict", "normal" or "off"
  DiagnosticProfilesConfig profiles;
  DiagnosticsArchiveConfig archive;
  DiagnosticsRedactionConfig redaction;
  DiagnosticsDiskConfig disk;
  DiagnosticsLogsConfig logs;
  DiagnosticsDockerConfig docker;
  DiagnosticsNetworkConfig network;
  DiagnosticsRetentionConfig retention;
  friend bool operator==(const DiagnosticsConfig&, const DiagnosticsConfig&) = default;
};

}  // namespace zunol_monitoring
