#include <gtest/gtest.h>

#include <csignal>
#include <functional>

#include "append/marker.h"
#include "tests/append/append_scene.h"

namespace fs = std::filesystem;
using nlohmann::json;
using zunol_monitoring::read_text_file;
using zunol_monitoring::write_text_file;

namespace {

/// The run ends with `status`, writes `err` to standard error and nothing to standard output.
void expect_run(const ProcessResult& run, int status, const std::string& err) {
  EXPECT_EQ(run.status, status);
  EXPECT_EQ(run.err, err);
  EXPECT_EQ(run.out, "");
}

void expect_error(const ProcessResult& run, const std::string& message) {
  expect_run(run, 1, "ERROR: " + message + "\n");
}

}  // namespace

TEST(AppendCommand, AppendsOnceAndLeavesAPrivateMarker) {
  const AppendScene scene;
  expect_run(scene.run(), 0, "");
  EXPECT_EQ(read_text_file(scene.marker()), "evt_1\n");
  EXPECT_EQ(mode_of(scene.marker()), 0600U);
  expect_run(scene.run(), 0, "");
  EXPECT_EQ(scene.calls(), 1U);
}

TEST(AppendCommand, ArgumentsChangeNothing) {
  const AppendScene scene;
  scene.run();
  expect_run(scene.run_command_only({ZUNOL_BIN_DIR "/zunol-vorn-append-event", "--help", "x"}), 0,
             "");
}

TEST(AppendCommand, EventProblemsInTheirOrder) {
  const struct {
    const char* name;
    std::function<void(AppendScene&)> change;
    std::string message;
  } rows[] = {
      {"both unset",
       [](AppendScene& s) {
         s.environment["ZUNOL_VORN_EVENT_FILE"] = "";
         s.environment.erase("ZUNOL_VORN_EVENT_ID");
       },
       "ZUNOL_VORN_EVENT_FILE is required"},
      {"empty id", [](AppendScene& s) { s.environment["ZUNOL_VORN_EVENT_ID"] = ""; },
       "ZUNOL_VORN_EVENT_ID is required"},
      {"no file", [](AppendScene& s) { s.environment["ZUNOL_VORN_EVENT_FILE"] = "/nowhere/./e"; },
       "cannot read /nowhere/./e"},
      {"a fault of the event comes before one of the configuration",
       [](AppendScene& s) {
         s.event["level"] = "Info";
         s.environment["ZUNOL_MONITORING_CONFIG"] = "/nowhere";
       },
       "invalid event: level must be info, warning or critical"},
      {"an array", [](AppendScene& s) { s.event = json::array(); },
       "invalid event: event must be a JSON object"},
      {"a zero byte in a reason", [](AppendScene& s) { s.event["type"] = std::string("a\0b", 3); },
       std::string("invalid event: unknown event type: a\0b", 38)},
      {"case counts", [](AppendScene& s) { s.environment["ZUNOL_VORN_EVENT_ID"] = "EVT_1"; },
       "ZUNOL_VORN_EVENT_ID does not match event.event_id"},
      {"length counts", [](AppendScene& s) { s.event["event_id"] = std::string("evt_1\0x", 7); },
       "ZUNOL_VORN_EVENT_ID does not match event.event_id"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    AppendScene scene;
    row.change(scene);
    scene.vorn["enabled"] = false;  // comes later than all of these
    write_text_file(scene.dir / "config.yaml", "vorn: {enabled: false}");
    write_text_file(scene.dir / "event.json", scene.event.dump());
    expect_error(scene.run_command_only(), row.message);
  }
}

TEST(AppendCommand, AnEventThatIsNoJsonFailsInTheParsersWords) {
  const AppendScene scene;
  for (const std::string& text : {std::string(), std::string("{\"a\":}"), std::string("\"\xff\""),
                                  scene.event.dump() + "x", "/**/" + scene.event.dump()}) {
    write_text_file(scene.dir / "event.json", text);
    const auto message = error_of([&] { const json value = json::parse(text); });
    expect_error(scene.run_command_only(), message.value());
  }
}

TEST(AppendCommand, ConfigurationGatesInTheirOrder) {
  const std::string no_backend =
      "VORN append backend is not configured; set vorn.bridge_command or "
      "ZUNOL_VORN_APPEND_BACKEND";
  const struct {
    const char* vorn;  ///< a merge patch
    std::string message;
  } rows[] = {
      {R"({"enabled":false,"history_block_id":""})", "vorn.enabled=false"},
      {R"({"history_block_id":"","wallet_file":""})",
       "vorn.history_block_id is required for production append"},
      {R"({"wallet_file":"","bridge_command":""})",
       "vorn.wallet_file is required for production append"},
      {R"({"bridge_command":""})", no_backend},
  };
  for (const auto& row : rows) {
    AppendScene scene;
    scene.vorn.merge_patch(json::parse(row.vorn));
    expect_error(scene.run(), row.message);
    EXPECT_FALSE(fs::exists(scene.dir / "state")) << row.vorn;

    // The gates stand before the marker, the choice of the backend behind it.
    write_text_file(scene.marker(), "");
    if (row.message == no_backend) {
      expect_run(scene.run(), 0, "");
    } else {
      expect_error(scene.run(), row.message);
    }
  }
}

TEST(AppendCommand, TheLoadersMessagePassesThrough) {
  AppendScene scene;
  scene.run();
  write_text_file(scene.dir / "config.yaml", "vorn: {max_batch: many}");
  expect_error(scene.run_command_only(), "yaml-cpp: error at line 1, column 19: bad conversion");
  scene.environment["ZUNOL_MONITORING_CONFIG"] = "/nowhere/../c.yaml";
  expect_error(scene.run_command_only(), "config not found: /nowhere/../c.yaml");
  scene.environment["ZUNOL_MONITORING_CONFIG"] = "";
  if (!fs::exists("/etc/zunol/monitoring-agent/config.yaml")) {
    expect_error(scene.run_command_only(),
                 "config not found: /etc/zunol/monitoring-agent/config.yaml");
  }
}

TEST(AppendCommand, AnInvalidConfigurationThatLoadsStillRuns) {
  AppendScene scene;
  scene.vorn["max_batch"] = 5000;
  scene.vorn["transport"] = "pigeon";
  scene.vorn["wallet_file"] = nullptr;  // reads as the text "null"
  expect_run(scene.run(), 0, "");
  EXPECT_EQ(scene.calls(), 1U);
}

TEST(AppendCommand, AFailingBackendExplainsItselfAndLeavesNoMarker) {
  const struct {
    const char* backend;
    int status;
    const char* err;
  } rows[] = {
      {"echo out; echo err >&2; exit 3", 3, "out\nerr\n"},
      {"printf 'no line feed'; exit 255", 255, "no line feed"},
      {"exit 9", 9, ""},
      {"true; false", 1, ""},
  };
  for (const auto& row : rows) {
    AppendScene scene;
    scene.vorn["bridge_command"] = row.backend;
    expect_run(scene.run(), row.status, row.err);
    EXPECT_FALSE(fs::exists(scene.dir / "state")) << row.backend;
  }
  AppendScene scene;
  scene.vorn["bridge_command"] = "kill -9 $PPID $$";
  EXPECT_NE(scene.run().status, 0);
}

TEST(AppendCommand, TheEnvironmentsBackendWins) {
  AppendScene scene;
  scene.environment["ZUNOL_VORN_APPEND_BACKEND"] = "exit 4";
  EXPECT_EQ(scene.run().status, 4);
  scene.environment["ZUNOL_VORN_APPEND_BACKEND"] = "";  // counts as unset
  EXPECT_EQ(scene.run().status, 0);
  EXPECT_EQ(scene.calls(), 1U);
}

TEST(AppendCommand, OnlyTheFirstCommandOfTheBackendGetsTheVariables) {
  AppendScene scene;
  scene.environment["ZUNOL_VORN_APPEND_BACKEND"] =
      "sh -c 'echo $ZUNOL_VORN_WALLET_FILE'; echo second $ZUNOL_VORN_WALLET_FILE; exit 1";
  expect_run(scene.run(), 1, "wallet\nsecond\n");
}

TEST(AppendCommand, TheMarkerCountsByBeingThere) {
  const AppendScene directory;
  fs::create_directories(directory.marker());
  expect_run(directory.run(), 0, "");
  EXPECT_EQ(directory.calls(), 0U);

  const AppendScene dangling;
  fs::create_directories(dangling.marker().parent_path());
  fs::create_symlink(dangling.dir / "target", dangling.marker());
  expect_run(dangling.run(), 0, "");
  EXPECT_EQ(dangling.calls(), 1U);

  // Ids that differ only in bytes that no file name carries share a marker.
  AppendScene shared;
  for (const char* id : {"a/b", "a:b"}) {
    shared.event["event_id"] = id;
    shared.environment["ZUNOL_VORN_EVENT_ID"] = id;
    expect_run(shared.run(), 0, "");
  }
  EXPECT_EQ(read_text_file(shared.marker("a_b.ok")), "a/b\n");
  EXPECT_EQ(shared.calls(), 1U);
}

TEST(AppendCommand, TheLedgerLiesBesideTheDatabase) {
  const std::string fixed = "/var/lib/zunol/monitoring-agent/vorn-bridge-ledger/evt_a_b.ok";
  const struct {
    const char* local_db;
    std::string marker;
  } rows[] = {
      {"/var/lib/zunol/monitoring-agent/agent.db", fixed},
      {"agent.db", fixed},
      {"", fixed},
      {"/agent.db", "/vorn-bridge-ledger/evt_a_b.ok"},
      {"./agent.db", "./vorn-bridge-ledger/evt_a_b.ok"},
      {"data/agent.db", "data/vorn-bridge-ledger/evt_a_b.ok"},
      {"a/../agent.db", "a/../vorn-bridge-ledger/evt_a_b.ok"},
  };
  for (const auto& row : rows) {
    zunol_monitoring::StorageConfig storage;
    storage.local_db = row.local_db;
    EXPECT_EQ(zunol_monitoring::marker_path(storage, "evt_a:b").string(), row.marker);
  }
}

TEST(AppendCommand, AMarkerThatCannotBeMadeIsAnErrorAfterTheAppend) {
  const AppendScene scene;
  write_text_file(scene.dir / "state", "a file in the way");
  for (std::size_t call = 1; call <= 2; ++call) {
    const ProcessResult run = scene.run();
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.starts_with("ERROR: filesystem error: ")) << run.err;
    EXPECT_EQ(scene.calls(), call);
  }
}

TEST(AppendCommand, AMarkerThatCannotBeLookedUpStopsTheRun) {
  AppendScene scene;
  const std::string id(300, 'x');  // too long for a file name
  scene.event["event_id"] = id;
  scene.environment["ZUNOL_VORN_EVENT_ID"] = id;
  fs::create_directories(scene.marker().parent_path());
  const ProcessResult run = scene.run();
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.err.starts_with("ERROR: filesystem error: status: File name too long"))
      << run.err;
  EXPECT_EQ(scene.calls(), 0U);
}

TEST(AppendCommand, AValueBeyondTheSystemsLimitCannotRun) {
  AppendScene scene;
  scene.vorn["wallet_file"] = std::string(200000, 'x');
  expect_error(scene.run(), "cannot run command");
}

TEST(AppendCommand, HostileEventsEndInAnError) {
  const std::string arrays = std::string(100000, '[') + std::string(100000, ']');
  const AppendScene scene;
  scene.run();
  const auto run_with = [&](const std::string& event) {
    write_text_file(scene.dir / "event.json", event);
    fs::remove(scene.marker());
    return scene.run_command_only();
  };
  expect_error(run_with(arrays), "invalid event: event must be a JSON object");
  EXPECT_EQ(run_with(std::string(1'000'000, '[')).status, 1);
  EXPECT_EQ(run_with("\"" + std::string(1'000'000, '\xff') + "\"").status, 1);

  // Deep or large payloads are no fault.
  const std::string event = scene.event.dump();
  const std::string head = event.substr(0, event.find("\"payload\":") + 10);
  const std::string tail = event.substr(head.size() + 2);
  expect_run(run_with(head + "{\"deep\":" + arrays + "}" + tail), 0, "");
  expect_run(run_with(head + "{\"text\":\"" + std::string(10'000'000, 'x') + "\"}" + tail), 0, "");

  AppendScene directory;
  directory.environment["ZUNOL_VORN_EVENT_FILE"] = directory.dir.path();
  const ProcessResult run = directory.run_command_only();
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("Is a directory"), std::string::npos) << run.err;
}

TEST(AppendCommand, HostileConfigurationsEndInAnError) {
  const AppendScene scene;
  scene.run();
  std::string blocks;
  for (std::size_t level = 0; level < 10000; ++level) blocks += std::string(level, ' ') + "a:\n";
  for (const std::string& yaml : {std::string(10000, '['), blocks, std::string(10000, '{'),
                                  std::string("\xff\xfe\x00\xd8", 4), std::string("a: *missing"),
                                  std::string("- [a\n- b: {")}) {
    write_text_file(scene.dir / "config.yaml", yaml);
    const ProcessResult run = scene.run_command_only();
    EXPECT_EQ(run.status, 1) << yaml.substr(0, 20);
    EXPECT_TRUE(run.err.starts_with("ERROR: ")) << run.err;
  }
}

TEST(AppendCommand, WhatTheParentIgnoresChangesNothing) {
  AppendScene scene;
  const std::vector<std::string> ignoring = {"/usr/bin/env", "--ignore-signal=CHLD",
                                             "--ignore-signal=PIPE",
                                             ZUNOL_BIN_DIR "/zunol-vorn-append-event"};
  scene.vorn["bridge_command"] = "grep ^SigIgn /proc/self/status; exit 6";
  for (const ProcessResult& run : {scene.run(), scene.run_command_only(ignoring)}) {
    EXPECT_EQ(run.status, 6);
    ASSERT_TRUE(run.err.starts_with("SigIgn:\t")) << run.err;
    const unsigned long ignored = std::stoul(run.err.substr(8), nullptr, 16);
    EXPECT_EQ(ignored & (1UL << (SIGCHLD - 1) | 1UL << (SIGPIPE - 1)), 0U) << run.err;
  }
  scene.vorn["bridge_command"] = "true";
  scene.write_config();
  expect_run(scene.run_command_only(ignoring), 0, "");
}

TEST(AppendCommand, AZeroByteInTheConfigurationIsAnError) {
  const struct {
    const char* key;
    const char* message;
  } rows[] = {{"wallet_file", "cannot run command"},
              {"history_block_id", "cannot run command"},
              {"bridge_command", "cannot run command"}};
  for (const auto& row : rows) {
    AppendScene scene;
    scene.vorn[row.key] = std::string("a\0b", 3);
    expect_error(scene.run(), row.message);
  }
  AppendScene scene;
  scene.local_db = std::string("/tmp\0/agent.db", 14);
  expect_error(scene.run(), "storage.local_db holds a zero byte");
}

TEST(AppendCommand, TheBackendInheritsInputAndDirectoryAndPathsAsHandedIn) {
  const TempDir dir;
  AppendScene scene;
  write_text_file(dir / "sub/input", "from the caller");
  std::filesystem::create_directory_symlink(dir / "sub", dir / "link");
  // Normalised, this path would name another file.
  const std::string event = (dir / "link/../event.json").string();
  write_text_file(dir / "event.json", scene.event.dump());
  scene.environment["ZUNOL_VORN_EVENT_FILE"] = event;
  scene.vorn["bridge_command"] = "sh -c 'cat; pwd; echo \"$ZUNOL_VORN_EVENT_FILE\"; exit 1'";
  scene.write_config();
  const ProcessResult run =
      scene.run_command_only({"/bin/sh", "-c",
                              "cd " + dir.path().string() +
                                  "; exec " ZUNOL_BIN_DIR "/zunol-vorn-append-event <sub/input"});
  expect_run(run, 1, "from the caller" + dir.path().string() + "\n" + event + "\n");
}

TEST(AppendCommand, ALimitOnTheSizeOfFilesIsNoSignal) {
  const AppendScene scene;
  scene.run();
  std::filesystem::remove(scene.marker());
  const ProcessResult run = scene.run_command_only(
      {"/bin/sh", "-c", "ulimit -f 0; exec " ZUNOL_BIN_DIR "/zunol-vorn-append-event"});
  EXPECT_LT(run.status, 1000) << "ended by signal " << run.status - 1000;
}

TEST(AppendCommand, AReaderOfStandardErrorThatIsGoneDoesNotEndTheRunBySignal) {
  AppendScene scene;
  scene.vorn["bridge_command"] = "head -c 200000 /dev/zero | tr '\\0' x; exit 7";
  scene.run();
  const std::string line = "{ " ZUNOL_BIN_DIR "/zunol-vorn-append-event 2>&1; echo $? >" +
                           (scene.dir / "status").string() + "; } | true";
  scene.run_command_only({"/bin/sh", "-c", line});
  EXPECT_EQ(read_text_file(scene.dir / "status"), "7\n");
}
