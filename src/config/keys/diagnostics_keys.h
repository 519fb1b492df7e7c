// The keys of diagnostics_config.h.
#pragma once

#include "config/keys/action_policy_keys.h"
#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/diagnostics_config.h"

namespace zunol_monitoring {

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

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsArchiveConfig> auto& archive) {
  v.field("format", archive.format);
  v.field("fallback_format", archive.fallback_format);
  v.field("max_part_mb", archive.max_part_mb);
  v.field("max_parts_auto_send", archive.max_parts_auto_send);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsDiskConfig> auto& disk) {
  v.list("paths", disk.paths);
  v.list("exclude_paths", disk.exclude_paths);
  v.field("max_depth", disk.max_depth);
  v.field("max_entries", disk.max_entries);
  v.field("timeout_sec", disk.timeout_sec);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsLogsConfig> auto& logs) {
  v.field("max_lines_per_file", logs.max_lines_per_file);
  v.field("max_bytes_per_log", logs.max_bytes_per_log);
  v.field("include_previous_boot", logs.include_previous_boot);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsDockerConfig> auto& docker) {
  v.field("enabled", docker.enabled);
  v.field("include_logs", docker.include_logs);
  v.field("logs_tail_lines", docker.logs_tail_lines);
  v.field("logs_max_bytes_per_container", docker.logs_max_bytes_per_container);
  v.field("include_env", docker.include_env);
  v.field("include_raw_inspect", docker.include_raw_inspect);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsNetworkConfig> auto& network) {
  v.field("enable_mtr", network.enable_mtr);
  v.field("enable_tracepath", network.enable_tracepath);
  v.field("curl_timeout_sec", network.curl_timeout_sec);
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsRetentionConfig> auto& retention) {
  v.field("max_age_days", retention.max_age_days);
  v.field("max_total_size_mb", retention.max_total_size_mb);
}

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
