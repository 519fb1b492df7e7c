// Section diagnostics: how the agent gathers a diagnostic bundle, who may ask for which kind, and
// how the bundle is packed, cleaned of secrets and kept.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "config/action_policy.h"
#include "config/visit.h"

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticProfilesConfig> auto& profiles) {
  v.block("quick", profiles.quick);
  v.block("incident", profiles.incident);
  v.block("disk", profiles.disk);
  v.block("docker", profiles.docker);
  v.block("network", profiles.network);
  v.block("security", profiles.security);
  v.block("hardware", profiles.hardware);
  v.block("full", profiles.full);
}

struct DiagnosticsArchiveConfig {
  std::string format = "tar.zst";  ///< "tar.zst" or "tar.gz"
  std::string fallback_format = "tar.gz";
  int max_part_mb = 45;
  int max_parts_auto_send = 3;
  friend bool operator==(const DiagnosticsArchiveConfig&,
                         const DiagnosticsArchiveConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsArchiveConfig> auto& archive) {
  v.field("format", archive.format);
  v.field("fallback_format", archive.fallback_format);
  v.field("max_part_mb", archive.max_part_mb);
  v.field("max_parts_auto_send", archive.max_parts_auto_send);
}

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsDiskConfig> auto& disk) {
  v.list("paths", disk.paths);
  v.list("exclude_paths", disk.exclude_paths);
  v.field("max_depth", disk.max_depth);
  v.field("max_entries", disk.max_entries);
  v.field("timeout_sec", disk.timeout_sec);
}

struct DiagnosticsLogsConfig {
  int max_lines_per_file = 1000;
  std::uint64_t max_bytes_per_log = 1048576;  ///< 1 MiB
  bool include_previous_boot = true;
  friend bool operator==(const DiagnosticsLogsConfig&, const DiagnosticsLogsConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsLogsConfig> auto& logs) {
  v.field("max_lines_per_file", logs.max_lines_per_file);
  v.field("max_bytes_per_log", logs.max_bytes_per_log);
  v.field("include_previous_boot", logs.include_previous_boot);
}

struct DiagnosticsDockerConfig {
  bool enabled = true;
  bool include_logs = true;
  int logs_tail_lines = 500;
  std::uint64_t logs_max_bytes_per_container = 1048576;  ///< 1 MiB
  std::string include_env = "masked";                    ///< "masked" or "off"
  bool include_raw_inspect = false;
  friend bool operator==(const DiagnosticsDockerConfig&, const DiagnosticsDockerConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsDockerConfig> auto& docker) {
  v.field("enabled", docker.enabled);
  v.field("include_logs", docker.include_logs);
  v.field("logs_tail_lines", docker.logs_tail_lines);
  v.field("logs_max_bytes_per_container", docker.logs_max_bytes_per_container);
  v.field("include_env", docker.include_env);
  v.field("include_raw_inspect", docker.include_raw_inspect);
}

struct DiagnosticsNetworkConfig {
  bool enable_mtr = true;
  bool enable_tracepath = true;
  int curl_timeout_sec = 10;
  friend bool operator==(const DiagnosticsNetworkConfig&,
                         const DiagnosticsNetworkConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsNetworkConfig> auto& network) {
  v.field("enable_mtr", network.enable_mtr);
  v.field("enable_tracepath", network.enable_tracepath);
  v.field("curl_timeout_sec", network.curl_timeout_sec);
}

struct DiagnosticsRetentionConfig {
  int max_age_days = 7;
  int max_total_size_mb = 2048;
  friend bool operator==(const DiagnosticsRetentionConfig&,
                         const DiagnosticsRetentionConfig&) = default;
};

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsRetentionConfig> auto& retention) {
  v.field("max_age_days", retention.max_age_days);
  v.field("max_total_size_mb", retention.max_total_size_mb);
}

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

/// redaction.mode also sets default_redaction where the file does not have that key.
template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsConfig> auto& diagnostics) {
  v.field("enabled", diagnostics.enabled);
  v.field("root_dir", diagnostics.root_dir);
  v.field("public_base_url", diagnostics.public_base_url);
  [[maybe_unused]] bool redaction_given = true;
  if constexpr (Visitor::reading) redaction_given = v.has("default_redaction");
  v.field("default_redaction", diagnostics.default_redaction);
  v.block("profiles", diagnostics.profiles);
  v.block("archive", diagnostics.archive);
  v.block("redaction", [&](auto& block) {
    block.field("mode", diagnostics.redaction.mode);
    if constexpr (Visitor::reading) {
      if (!redaction_given) diagnostics.default_redaction = diagnostics.redaction.mode;
    } else if constexpr (!Visitor::rendering) {
      block.feeds("mode", diagnostics.default_redaction);
    }
    block.field("fail_on_possible_secret", diagnostics.redaction.fail_on_possible_secret);
  });
  v.block("disk", diagnostics.disk);
  v.block("logs", diagnostics.logs);
  v.block("docker", diagnostics.docker);
  v.block("network", diagnostics.network);
  v.block("retention", diagnostics.retention);
}

}  // namespace zunol_monitoring
