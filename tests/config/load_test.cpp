#include "config/load.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/config/load_text.h"

using namespace zunol_monitoring;

namespace {

using Texts = std::vector<std::string>;

}  // namespace

TEST(LoadConfig, TheWrittenOutDefaultsAreTheDefaults) {
  Config config = load_config(ZUNOL_SOURCE_DIR "/tests/config/default.yaml");
  EXPECT_EQ(config.path, ZUNOL_SOURCE_DIR "/tests/config/default.yaml");
  config.path.clear();
  EXPECT_EQ(config, default_config());
}

TEST(LoadConfig, AFileWithoutKeysGivesTheDefaults) {
  for (const char* yaml : {"", "# only a comment\n", "agent:\n---\nversion: 7\n", "[1, 2]\n",
                           "checks:\n", "unknown: {a: [1]}\nvorn: {unknown: 1}\n"}) {
    Config expected = default_config();
    if (std::string(yaml).starts_with("agent")) expected.agent.tags.clear();
    EXPECT_EQ(load_text(yaml), expected) << yaml;
  }
}

TEST(LoadConfig, PlainConstructionHasNoTag) {
  EXPECT_EQ(Config{}.agent.tags, Texts{});
  EXPECT_EQ(default_config().agent.tags, Texts{"monitoring"});
}

TEST(LoadConfig, EachKeyOfTheCoreSectionsHasItsField) {
  const Config config = load_text(R"(
version: 2
agent: {id: a, server_name: b, environment: c, project_id: d, tags: [e, f]}
storage: {local_db: data/x.db, max_local_incidents: -1, max_local_bytes: 18446744073709551615}
vorn: {enabled: no, relay_url: a, storage_ws_url: b, wallet_file: c, history_block_id: d,
  append_mode: off, flush_interval: 30, queue_only: n, transport: e, export_dir: f,
  append_command: g, bridge_command: h, max_batch: 2000}
telegram: {enabled: yes, transport: a, api_base: b, bot_api_base: c, bot_token: d, bot_chat_id: 5,
  project_id: f, integration_id: g, recipient_ref: h, payment_mode: i, service_key_file: j,
  service_key_passphrase_file: k, poll_actions: false, poll_interval: l, message_detail: m,
  include_top_processes: false, top_processes_limit: 0x10, include_hints: false,
  include_logs_tail: true, max_message_chars: 1000, summaries: {enabled: false, mode: n},
  alert_mode: o, alert_min_edit_interval_sec: 1, alert_force_edit_on_severity_change: false,
  alert_group_cpu_load: false, alert_group_window_sec: 2, alert_resolved_summary: false,
  alert_ack_enabled: false, commands: {enabled: true, register_manifest: false, ack_enabled: true,
  poll_interval_sec: 3, poll_limit: 4, executor_key: p, agent_id: q, server_name: r}}
)");
  Config expected;
  expected.version = 2;
  expected.agent = {"a", "b", "c", "d", {"e", "f"}};
  expected.storage = {"data/x.db", -1, 18446744073709551615U};
  expected.vorn = {false, "a", "b", "c", "d", false, "30", false, "e", "f", "g", "h", 2000};
  expected.telegram = {true, "a", "b", "c",   "d",   "5", "f",   "g",  "h",
                       "i",  "j", "k", false, "l",   "m", false, 16,   false,
                       true, "o", 1,   false, false, 2,   false, false};
  expected.telegram_commands = {true, false, true, 3, 4, "p", "q", "r"};
  expected.monitoring_commands.max_output_chars = 1000;
  expected.reports.daily.enabled = false;
  expected.summary.mode = "n";
  EXPECT_EQ(config, expected);
}

TEST(LoadConfig, TheKeyReadLastWins) {
  const struct {
    const char* yaml;
    std::function<void(Config&)> expected;
  } rows[] = {
      // The tags survive only when the whole section is missing.
      {"agent: {id: x}", [](Config& c) { c.agent.id = "x", c.agent.tags = {}; }},
      {"agent: {tags: scalar}", [](Config& c) { c.agent.tags = {}; }},
      {"agent: {tags: [a, ~, 1]}",
       [](Config& c) {
         c.agent.tags = {"a", "null", "1"};
       }},
      {"agent: {server_name: }",
       [](Config& c) { c.agent.server_name = "null", c.agent.tags = {}; }},
      {"vorn: {wallet_file: }", [](Config& c) { c.vorn.wallet_file = "null"; }},
      {"vorn: {enabled: TRUE, queue_only: Off}", [](Config& c) { c.vorn.queue_only = false; }},
      {"telegram: {service_url: b, api_base: a}", [](Config& c) { c.telegram.api_base = "b"; }},
      {"telegram: {delivery_mode: bot}", [](Config& c) { c.telegram.transport = "bot"; }},
      {"telegram: {delivery_mode: '', transport: direct}",
       [](Config& c) { c.telegram.transport = "direct"; }},
      {"telegram: {delivery_mode: , transport: direct}",
       [](Config& c) { c.telegram.transport = "null"; }},
      {"telegram: {actions_poll_enabled: false}",
       [](Config& c) { c.telegram.poll_actions = false; }},
      {"telegram: {actions_poll_enabled: true, poll_actions: false}", [](Config&) {}},
      {"telegram: {actions_poll_interval_sec: 20, poll_interval: 1m}",
       [](Config& c) { c.telegram.poll_interval = "20s"; }},
      {"telegram: {actions_poll_interval_sec: -5}",
       [](Config& c) { c.telegram.poll_interval = "-5s"; }},
      {"telegram: {monitoring_alert_update_interval_sec: 7, alert_min_edit_interval_sec: 8}",
       [](Config& c) { c.telegram.alert_min_edit_interval_sec = 7; }},
      {"telegram: {monitoring_alert_force_on_level_change: false}",
       [](Config& c) { c.telegram.alert_force_edit_on_severity_change = false; }},
      {"telegram: {monitoring_alert_group_cpu_load: false}",
       [](Config& c) { c.telegram.alert_group_cpu_load = false; }},
      {"telegram: {monitoring_alert_group_window_sec: 9}",
       [](Config& c) { c.telegram.alert_group_window_sec = 9; }},
      // Keys of one section that feed another, which beats them key by key.
      {"telegram: {max_message_chars: 600}\nmonitoring_commands: {max_output_chars: 700}",
       [](Config& c) { c.monitoring_commands.max_output_chars = 700; }},
      {"telegram: {summaries: {enabled: false}}\nreports: {daily: {enabled: true}}",
       [](Config&) {}},
      {"telegram: {summaries: {mode: normal}}\nsummary: {enabled: false}",
       [](Config& c) {
         c.summary = {false, "normal"};
       }},
      {"telegram_commands: {enabled: false}\n"
       "telegram: {commands: {enabled: true, poll_limit: 7}}",
       [](Config& c) { c.telegram_commands.poll_limit = 7; }},
  };
  for (const auto& row : rows) {
    Config expected = default_config();
    row.expected(expected);
    EXPECT_EQ(load_text(row.yaml), expected) << row.yaml;
  }
}

TEST(LoadConfig, WhatDoesNotConvertFailsInTheLibrarysWords) {
  const auto bad_conversion = [](int line, int column) {
    return "yaml-cpp: error at line " + std::to_string(line) + ", column " +
           std::to_string(column) + ": bad conversion";
  };
  const auto scalar_block = [](int line, int column, const std::string& key) {
    return "yaml-cpp: error at line " + std::to_string(line) + ", column " +
           std::to_string(column) + ": operator[] call on a scalar (key: \"" + key + "\")";
  };
  const struct {
    const char* yaml;
    std::string error;
  } rows[] = {
      {"version: one", bad_conversion(1, 10)},
      {"version: 1.5", bad_conversion(1, 10)},
      {"version: 99999999999", bad_conversion(1, 10)},
      {"vorn:\n  max_batch:\n", bad_conversion(3, 1)},
      {"vorn:\n  max_batch: [1]\n", bad_conversion(2, 14)},
      {"vorn:\n  max_batch: ' 1'\n", bad_conversion(2, 14)},
      {"vorn: {enabled: 1}", bad_conversion(1, 17)},
      {"vorn: {relay_url: {a: b}}", bad_conversion(1, 19)},
      {"storage: {max_local_bytes: -1}", bad_conversion(1, 28)},
      {"agent: {tags: [[a]]}", bad_conversion(1, 16)},
      {"telegram: {actions_poll_interval_sec: }", bad_conversion(1, 39)},
      {"telegram: {delivery_mode: [bot]}", bad_conversion(1, 27)},
      {"scalar", scalar_block(1, 1, "version")},
      {"agent: scalar", scalar_block(1, 8, "id")},
      {"telegram: {commands: on}", scalar_block(1, 22, "enabled")},
      // The first in the order of reading is the one reported.
      {"vorn: {max_batch: x}\nagent: {id: [x]}", bad_conversion(2, 13)},
      {"a: [", "yaml-cpp: error at line 1, column 1: end of sequence flow not found"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(error_of([&] { (void)load_text(row.yaml); }), row.error) << row.yaml;
  }
}

TEST(LoadConfig, AFileThatIsNotThere) {
  const TempDir dir;
  const auto missing = dir / "a/../missing.yaml";  // printed as handed in
  EXPECT_EQ(error_of([&] { (void)load_config(missing); }), "config not found: " + missing.string());
  EXPECT_THROW((void)load_config(std::string(300, 'x')), std::filesystem::filesystem_error);
}

TEST(LoadConfig, DepthAndCyclesEndInAnError) {
  EXPECT_TRUE(error_of([] { (void)load_text(std::string(10000, '[')); }).has_value());
  EXPECT_TRUE(error_of([] {
                std::string yaml;
                for (std::size_t level = 0; level < 10000; ++level) {
                  yaml += std::string(level, ' ') + "a:\n";
                }
                (void)load_text(yaml);
              }).has_value());
  EXPECT_EQ(load_text("&a {agent: *a}").agent.tags, Texts{});
}
