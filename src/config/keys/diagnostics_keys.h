// The keys of diagnostics_config.h.
#pragma once

#include "config/keys/action_policy_keys.h"
#include "config/keys/visit.h"
#include "zunol_monitoring/config/records/diagnostics_config.h"

namespace zunol_monitoring {

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticProfilesConfig> auto& profiles) {
  v.block("quick", profiles.quick, "A short look at the host");
  v.block("incident", profiles.incident, "What may explain an incident");
  v.block("disk", profiles.disk, "Disks and file systems");
  v.block("docker", profiles.docker, "Docker and its containers");
  v.block("network", profiles.network, "Network and routes");
  v.block("security", profiles.security, "What matters for the security of the host");
  v.block("hardware", profiles.hardware, "State of the hardware");
  v.block("full", profiles.full, "Everything together");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsArchiveConfig> auto& archive) {
  v.field("format", archive.format, "Format of the archive");
  v.field("fallback_format", archive.fallback_format,
          {"Format where the first one cannot be made", archive_formats});
  v.field("max_part_mb", archive.max_part_mb, "Megabytes of one part of an archive at most");
  v.field("max_parts_auto_send", archive.max_parts_auto_send,
          "Parts that are sent without asking at most");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsDiskConfig> auto& disk) {
  v.list("paths", disk.paths, "Directories whose use is listed");
  v.list("exclude_paths", disk.exclude_paths, "Directories that are left out");
  v.field("max_depth", disk.max_depth, "Levels of directories below each path that are listed");
  v.field("max_entries", disk.max_entries, "Entries that are listed at most");
  v.field("timeout_sec", disk.timeout_sec, "Seconds after which the listing is ended");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsLogsConfig> auto& logs) {
  v.field("max_lines_per_file", logs.max_lines_per_file,
          "Last lines taken of each log file at most");
  v.field("max_bytes_per_log", logs.max_bytes_per_log, "Bytes taken of each log at most");
  v.field("include_previous_boot", logs.include_previous_boot,
          "Whether the journal of the boot before is taken, too");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsDockerConfig> auto& docker) {
  v.field("enabled", docker.enabled, "Whether Docker is looked at");
  v.field("include_logs", docker.include_logs, "Whether the logs of the containers are taken");
  v.field("logs_tail_lines", docker.logs_tail_lines, "Last lines taken of each container's log");
  v.field("logs_max_bytes_per_container", docker.logs_max_bytes_per_container,
          "Bytes taken of each container's log at most");
  v.field("include_env", docker.include_env,
          "Whether variables of containers are taken with their values masked, or not at all");
  v.field("include_raw_inspect", docker.include_raw_inspect,
          "Whether the unfiltered description of each container is taken");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsNetworkConfig> auto& network) {
  v.field("enable_mtr", network.enable_mtr, "Whether routes are measured with mtr");
  v.field("enable_tracepath", network.enable_tracepath, "Whether routes are traced with tracepath");
  v.field("curl_timeout_sec", network.curl_timeout_sec,
          "Seconds after which a request with curl is ended");
}

template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsRetentionConfig> auto& retention) {
  v.field("max_age_days", retention.max_age_days, "Days after which a bundle is deleted");
  v.field("max_total_size_mb", retention.max_total_size_mb,
          "Megabytes of all bundles together, above which old ones are deleted");
}

/// redaction.mode also sets default_redaction where the file does not have that key.
template <class Visitor>
void visit_keys(Visitor& v, MaybeConst<DiagnosticsConfig> auto& diagnostics) {
  v.field("enabled", diagnostics.enabled, "Whether diagnostic bundles can be made");
  v.field("root_dir", diagnostics.root_dir,
          "Directory in which bundles are made; empty leaves the choice to the agent");
  v.field("public_base_url", diagnostics.public_base_url,
          "Address under which bundles can be fetched; empty where they cannot");
  [[maybe_unused]] bool redaction_given = true;
  if constexpr (Visitor::reading) redaction_given = v.has("default_redaction");
  v.field("default_redaction", diagnostics.default_redaction,
          "How thoroughly secrets are taken out where a request does not say it");
  v.block("profiles", diagnostics.profiles, "What can be asked for, and by whom");
  v.block("archive", diagnostics.archive, "How a bundle is packed and cut into parts");
  v.block(
      "redaction",
      [&](auto& block) {
        block.field("mode", diagnostics.redaction.mode,
                    {"How thoroughly secrets are taken out", redaction_modes});
        if constexpr (Visitor::reading) {
          if (!redaction_given) diagnostics.default_redaction = diagnostics.redaction.mode;
        } else if constexpr (!Visitor::rendering) {
          block.feeds("mode", diagnostics.default_redaction);
        }
        block.field("fail_on_possible_secret", diagnostics.redaction.fail_on_possible_secret,
                    "Whether a bundle that may still hold a secret is given up");
      },
      "How secrets are taken out of a bundle");
  v.block("disk", diagnostics.disk, "What is listed of the disks");
  v.block("logs", diagnostics.logs, "What is taken of the logs");
  v.block("docker", diagnostics.docker, "What is taken of Docker and its containers");
  v.block("network", diagnostics.network, "How the network is tried out");
  v.block("retention", diagnostics.retention, "How long bundles are kept");
}

}  // namespace zunol_monitoring
