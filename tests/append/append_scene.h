// A configuration, an event and a state directory for runs of the append command.
#pragma once

#include <nlohmann/json.hpp>

#include "tests/process.h"

struct AppendScene {
  TempDir dir;
  nlohmann::json event = {{"schema", "zunol.monitoring.event.v1"},
                          {"event_id", "evt_1"},
                          {"agent_id", "agent"},
                          {"project_id", "project"},
                          {"server_name", "server"},
                          {"type", "test_event"},
                          {"level", "info"},
                          {"created_at", "2026-11-19T02:58:20Z"},
                          {"payload", nlohmann::json::object()}};
  std::map<std::string, std::string> environment = {
      {"PATH", "/usr/bin:/bin"},
      {"ZUNOL_MONITORING_CONFIG", dir / "config.yaml"},
      {"ZUNOL_VORN_EVENT_FILE", dir / "event.json"},
      {"ZUNOL_VORN_EVENT_ID", "evt_1"},
      {"append", ZUNOL_BIN_DIR "/zunol-vorn-append-event"}};
  /// The section vorn of the configuration.
  nlohmann::json vorn = {{"enabled", true},
                         {"history_block_id", "block"},
                         {"wallet_file", "wallet"},
                         {"bridge_command", "echo called >>" + (dir / "calls").string()}};
  std::string local_db = dir / "state/agent.db";

  std::filesystem::path marker(const std::string& name = "evt_1.ok") const {
    return dir / "state/vorn-bridge-ledger" / name;
  }
  /// How often the default backend has run.
  std::size_t calls() const {
    const auto file = dir / "calls";
    if (!std::filesystem::exists(file)) return 0;
    return lines_of(zunol_monitoring::read_text_file(file)).size();
  }

  /// Writes the configuration and the event as they now are, and runs the command.
  ProcessResult run() const {
    write_config();
    zunol_monitoring::write_text_file(environment.at("ZUNOL_VORN_EVENT_FILE"), event.dump());
    return run_command_only();
  }
  ProcessResult run_command_only() const {
    return run_process({environment.at("append")}, environment);
  }
  /// Runs a shell line in which $append is the command.
  ProcessResult sh(const std::string& line) const {
    return run_process({"/bin/sh", "-c", line}, environment);
  }
  void write_config() const {
    const nlohmann::json config = {{"storage", {{"local_db", local_db}}}, {"vorn", vorn}};
    // JSON in ASCII is YAML as well.
    zunol_monitoring::write_text_file(environment.at("ZUNOL_MONITORING_CONFIG"),
                                      config.dump(-1, ' ', true));
  }
};
