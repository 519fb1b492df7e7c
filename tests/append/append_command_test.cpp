#include <csignal>

#include "append/marker.h"
#include "tests/append/append_scene.h"

namespace fs = std::filesystem;
using namespace std::string_literals;
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
  // Arguments change nothing.
  expect_run(scene.sh("\"$append\" --help x"), 0, "");
  EXPECT_EQ(scene.calls(), 1U);
}

TEST(AppendCommand, RunsOfOneEventAtOnceAppendItOnce) {
  AppendScene scene;
  scene.environment["ledger"] = scene.dir / "ledger.db";
  scene.vorn["bridge_command"] = "'" ZUNOL_SOURCE_DIR "/backends/sqlite-ledger' \"$ledger\"";
  scene.write_config();
  write_text_file(scene.dir / "event.json", scene.event.dump());
  expect_run(scene.sh("for i in 1 2 3 4 5 6; do \"$append\" & done\n"
                      "for i in 1 2 3 4 5 6; do wait %$i || exit; done"),
             0, "");
  EXPECT_EQ(scene.sh("sqlite3 \"$ledger\" 'SELECT count(*), event_id FROM ledger'").out,
            "1|evt_1\n");
  EXPECT_EQ(read_text_file(scene.marker()), "evt_1\n");
}

TEST(AppendCommand, EventProblemsInTheirOrder) {
  // What changes in the environment (JSON), a merge patch of the event, and the message.
  for (const Texts& row : rows_of(R"(
{"ZUNOL_VORN_EVENT_FILE": "", "ZUNOL_VORN_EVENT_ID": ""} => {} => ZUNOL_VORN_EVENT_FILE is required
{"ZUNOL_VORN_EVENT_ID": ""} => {} => ZUNOL_VORN_EVENT_ID is required
{"ZUNOL_VORN_EVENT_FILE": "/nowhere/./e"} => {} => cannot read /nowhere/./e
{"ZUNOL_MONITORING_CONFIG": "/nowhere"} => {"level":"Info"} => invalid event: level must be info, warning or critical
{} => [] => invalid event: event must be a JSON object
{} => {"type":"a\u0000b"} => invalid event: unknown event type: a\0b
{"ZUNOL_VORN_EVENT_ID": "EVT_1"} => {} => ZUNOL_VORN_EVENT_ID does not match event.event_id
{} => {"event_id":"evt_1\u0000x"} => ZUNOL_VORN_EVENT_ID does not match event.event_id
)",
                                  "=>")) {
    SCOPED_TRACE(row.at(2));
    AppendScene scene;
    const json changed = json::parse(row[0]);
    for (const auto& [name, value] : changed.items()) scene.environment[name] = value;
    scene.event.merge_patch(json::parse(row[1]));
    // Faults of the configuration come later than all of these.
    write_text_file(scene.dir / "config.yaml", "vorn: {enabled: false}");
    write_text_file(scene.dir / "event.json", scene.event.dump());
    std::string message = row[2];
    if (const auto zero = message.find("\\0"); zero != message.npos)
      message.replace(zero, 2, 1, '\0');
    expect_error(scene.run_command_only(), message);
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

TEST(AppendCommand, GatesAndBackendsInTheirOrder) {
  std::vector<Texts> rows = rows_of(R"(
// A merge patch of the section, the backend of the environment, the status, and standard error.
{"enabled":false,"history_block_id":""} => => 1 => ERROR: vorn.enabled=false\n
{"history_block_id":"","wallet_file":""} => => 1 => ERROR: vorn.history_block_id is required for production append\n
{"wallet_file":"","bridge_command":""} => => 1 => ERROR: vorn.wallet_file is required for production append\n
{"bridge_command":""} => => 1 => ERROR: VORN append backend is not configured; set vorn.bridge_command or ZUNOL_VORN_APPEND_BACKEND\n
// What loads runs, valid or not. A value of null reads as the text "null".
{"max_batch":5000,"transport":"pigeon","wallet_file":null} => => 0 =>
// A failing backend explains itself.
{"bridge_command":"echo out; echo err >&2; exit 3"} => => 3 => out\nerr\n
{"bridge_command":"printf 'no line feed'; exit 255"} => => 255 => no line feed
{"bridge_command":"true; false"} => => 1 =>
// The environment's backend wins. Only its first command gets the variables.
{} => exit 4 => 4 =>
{} => sh -c 'echo $ZUNOL_VORN_WALLET_FILE'; echo second $ZUNOL_VORN_WALLET_FILE; exit 1 => 1 => wallet\nsecond\n
// What no shell can be given.
{"wallet_file":"a\u0000b"} => => 1 => ERROR: cannot run command\n
{"history_block_id":"a\u0000b"} => => 1 => ERROR: cannot run command\n
{"bridge_command":"a\u0000b"} => => 1 => ERROR: cannot run command\n
)",
                                    "=>");
  rows.push_back({"{\"wallet_file\":\"" + std::string(200000, 'x') + "\"}", "", "1",
                  "ERROR: cannot run command\\n"});
  for (Texts& row : rows) {
    SCOPED_TRACE(row.at(0).substr(0, 80) + row.at(1));
    const int status = std::stoi(row.at(2));
    std::string& err = row.at(3);
    while (err.find("\\n") != err.npos) err.replace(err.find("\\n"), 2, "\n");
    AppendScene scene;
    scene.vorn.merge_patch(json::parse(row[0]));
    scene.environment["ZUNOL_VORN_APPEND_BACKEND"] = row[1];
    expect_run(scene.run(), status, err);
    EXPECT_EQ(fs::exists(scene.dir / "state"), status == 0);
    EXPECT_EQ(scene.calls(), status == 0 ? 1U : 0U);
    // The gates stand before the marker, all about the backend stands behind it.
    write_text_file(scene.marker(), "");
    const bool gate = err.starts_with("ERROR: vorn.");
    expect_run(scene.run(), gate ? 1 : 0, gate ? err : "");
  }
  AppendScene killed;
  killed.vorn["bridge_command"] = "kill -9 $PPID $$";
  EXPECT_NE(killed.run().status, 0);
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
  const auto marker = [](const std::string& local_db) {
    return zunol_monitoring::marker_path({.local_db = local_db}, "evt_a:b").string();
  };
  for (const char* local_db : {"/var/lib/zunol/monitoring-agent/agent.db", "agent.db", ""}) {
    EXPECT_EQ(marker(local_db), fixed);
  }
  for (const std::string directory : {"/", "./", "data/", "a/../"}) {
    EXPECT_EQ(marker(directory + "agent.db"), directory + "vorn-bridge-ledger/evt_a_b.ok");
  }
  EXPECT_EQ(error_of([&] { marker("/tmp\0/agent.db"s); }), "storage.local_db holds a zero byte");
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

TEST(AppendCommand, DeepAndLargeEventsAreOnlyEvents) {
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
  const std::string event = scene.event.dump();
  const std::string head = event.substr(0, event.find("\"payload\":") + 10);
  const std::string tail = event.substr(head.size() + 2);
  expect_run(run_with(head + "{\"deep\":" + arrays + "}" + tail), 0, "");
  expect_run(run_with(head + "{\"text\":\"" + std::string(10'000'000, 'x') + "\"}" + tail), 0, "");
}

TEST(AppendCommand, WhatTheParentIgnoresChangesNothing) {
  AppendScene scene;
  const std::string ignoring = "exec env --ignore-signal=CHLD --ignore-signal=PIPE \"$append\"";
  scene.vorn["bridge_command"] = "grep ^SigIgn /proc/self/status; exit 6";
  for (const ProcessResult& run : {scene.run(), scene.sh(ignoring)}) {
    EXPECT_EQ(run.status, 6);
    ASSERT_TRUE(run.err.starts_with("SigIgn:\t")) << run.err;
    const unsigned long ignored = std::stoul(run.err.substr(8), nullptr, 16);
    EXPECT_EQ(ignored & (1UL << (SIGCHLD - 1) | 1UL << (SIGPIPE - 1)), 0U) << run.err;
  }
  scene.vorn["bridge_command"] = "true";
  scene.write_config();
  expect_run(scene.sh(ignoring), 0, "");
}

TEST(AppendCommand, TheBackendInheritsInputAndDirectoryAndPathsAsHandedIn) {
  AppendScene scene;
  const fs::path dir = scene.dir.path();
  write_text_file(dir / "sub/input", "from the caller");
  fs::create_directory_symlink(dir / "sub", dir / "link");
  // Normalised, this path would name another file.
  scene.environment["ZUNOL_VORN_EVENT_FILE"] = dir / "link/../event.json";
  scene.vorn["bridge_command"] = "sh -c 'cat; pwd; echo \"$ZUNOL_VORN_EVENT_FILE\"; exit 1'";
  scene.write_config();
  write_text_file(dir / "event.json", scene.event.dump());
  expect_run(scene.sh("cd " + dir.string() + "; exec \"$append\" <sub/input"), 1,
             "from the caller" + dir.string() + "\n" + dir.string() + "/link/../event.json\n");
}

TEST(AppendCommand, ALimitOnTheSizeOfFilesIsNoSignal) {
  const AppendScene scene;
  scene.run();
  fs::remove(scene.marker());
  const ProcessResult run = scene.sh("ulimit -f 0; exec \"$append\"");
  EXPECT_LT(run.status, 1000) << "ended by signal " << run.status - 1000;
}

TEST(AppendCommand, AReaderOfStandardErrorThatIsGoneDoesNotEndTheRunBySignal) {
  AppendScene scene;
  scene.vorn["bridge_command"] = "head -c 200000 /dev/zero | tr '\\0' x; exit 7";
  scene.run();
  const fs::path status = scene.dir / "status";
  scene.sh("{ \"$append\" 2>&1; echo $? >" + status.string() + "; } | true");
  EXPECT_EQ(read_text_file(status), "7\n");
}
