#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/ctl/ctl_scene.h"
#include "zunol_monitoring/events/event_envelope.h"
#include "zunol_monitoring/store/sqlite_store.h"

using nlohmann::json;

namespace {

std::vector<json> queued(const CtlScene& scene) {
  zunol_monitoring::SqliteStore store(scene.dir / "state/agent.db");
  std::vector<json> events;
  for (const auto& item : store.list_sync_events(100, true)) {
    events.push_back(json::parse(item.payload));
    EXPECT_EQ(events.back()["event_id"], item.event_id);
  }
  return events;
}

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

}  // namespace

TEST(EventSend, QueuesTheEventAndPrintsItsId) {
  const struct {
    const char* line;
    const char* id;  ///< "": a new one
    const char* level;
    json payload;
  } rows[] = {
      {"test_event", "", "info", json::object()},
      {"check_failed --level warning --id e1 --data '{\"check\": \"disk\"}'",
       "e1",
       "warning",
       {{"check", "disk"}}},
      {"test_event --data -5 --level critical", "", "critical", {{"value", -5}}},
      {"test_event --data '{\"event_id\": \"e2\", \"level\": \"warning\", \"a\": 1}'",
       "e2",
       "warning",
       {{"a", 1}}},
      {"test_event --id e3 --data '{\"event_id\": \"other\", \"payload\": {\"b\": 2}}'",
       "e3",
       "info",
       {{"b", 2}}},
      {"test_event --data-file - <<'X'\n[1, 2]\nX\n", "", "info", {{"value", {1, 2}}}},
      {"test_event --data-file \"${dir}data.json\"", "", "info", {{"c", nullptr}}},
  };
  for (const auto& row : rows) {
    const CtlScene scene;
    scene.configure();
    scene.write("data.json", " {\"c\": null}\n");
    const ProcessResult result = scene.run_line(std::string("\"$ctl\" event send ") + row.line);
    ASSERT_EQ(result.status, 0) << row.line << ": " << result.err;
    const auto events = queued(scene);
    ASSERT_EQ(events.size(), 1U) << row.line;
    const std::string id = events[0]["event_id"];
    EXPECT_EQ(result.out, id + '\n');
    if (*row.id == '\0') {
      EXPECT_TRUE(id.starts_with("evt_")) << id;
    } else {
      EXPECT_EQ(id, row.id);
    }
    EXPECT_EQ(events[0]["level"], row.level) << row.line;
    EXPECT_EQ(events[0]["payload"], row.payload) << row.line;
    EXPECT_EQ(zunol_monitoring::validate_event(events[0]), std::nullopt);
  }
}

TEST(EventSend, BadInputIsOneLineAndQueuesNothing) {
  CtlScene scene;
  scene.configure();
  scene.write("deep.json", nested(600));
  scene.write("deepest.json", nested(999000));
  scene.write("latin1.json", "\"\xe9\"");
  scene.write("cut.json", "{\"a\": \"" + std::string(100000, 'x'));
  const struct {
    const char* line;
    const char* part;
  } rows[] = {
      {"no_such_type", "invalid event: unknown event type: no_such_type"},
      {"''", "invalid event: field must be a non-empty string: type"},
      {"test_event --level loud", "invalid event: level must be info, warning or critical"},
      {"test_event --id ''", "invalid event: field must be a non-empty string: event_id"},
      {"test_event --data nope", "parse error"},
      {"test_event --data ''", "parse error"},
      {"test_event --data '{} {}'", "parse error"},
      {"test_event --data \"$(printf '\"\\351\"')\"", "UTF-8"},
      {"test_event --data '{\"payload\": [1]}'", "payload must be a JSON object"},
      {"test_event --data-file \"${dir}latin1.json\"", "UTF-8"},
      {"test_event --data-file \"${dir}cut.json\"", "parse error"},
      {"test_event --data-file \"${dir}deep.json\"", "nested more than 500 levels deep"},
      {"test_event --data-file \"${dir}deepest.json\"", "nested more than 500 levels deep"},
      {"test_event --data-file \"$dir\"", ": Is a directory"},
      {"test_event --data-file \"${dir}none\"", "cannot read "},
      {"test_event --data-file ''", "cannot read : No such file or directory"},
      {"test_event --data-file /dev/zero", "/dev/zero is larger than 16 MiB"},
      {"test_event --data-file \"${dir}many.json\"", "the data has more than 1000000 values"},
      {"test_event --id \"$(printf %0253d 1)\"", "the id is longer than 252 bytes"},
      {"test_event --data-file - <&-", "cannot read standard input: "},
      {"test_event --data-file - </dev/null", "parse error"},
      {"test_event --config /nowhere", "config not found: /nowhere"},
  };
  std::string many = "[";
  for (int i = 0; i < 1000000; ++i) many += "{},";
  scene.write("many.json", many + "{}]");
  for (const auto& row : rows) {
    expect_one_error(scene.run_line(std::string("\"$ctl\" event send ") + row.line), 1, row.part);
  }
  EXPECT_EQ(queued(scene).size(), 0U);

  scene.configure("vorn: {enabled: false}\n");
  expect_one_error(scene.run({"event", "send", "test_event"}), 1, "vorn.enabled=false");
  EXPECT_EQ(queued(scene).size(), 0U);
  scene.write("config.yaml", "storage: {local_db: /dev/null/x.db}\n");
  expect_one_error(scene.run({"event", "send", "test_event"}), 1, "");
}

TEST(EventSend, TheStoreIsPrivateWhateverTheUmask) {
  const struct {
    const char* umask;
    unsigned directory;
    unsigned file;
  } rows[] = {{"0000", 0750, 0640}, {"0022", 0750, 0640}, {"0077", 0700, 0600}};
  for (const auto& row : rows) {
    const CtlScene scene;
    scene.configure();
    // A reader keeps the two files beside the database there.
    const ProcessResult result =
        scene.run_line(std::string("umask ") + row.umask +
                       "; \"$ctl\" event send test_event && sqlite3 \"${dir}state/agent.db\" "
                       "'SELECT count(*) FROM incidents' '.shell \"$ctl\" event send test_event' "
                       "'.shell stat -c %a \"${dir}state/agent.db-wal\"'");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(mode_of(scene.dir / "state"), row.directory);
    EXPECT_EQ(mode_of(scene.dir / "state/agent.db"), row.file);
  }
}

TEST(EventSend, SeveralAtOnceLoseNothing) {
  const CtlScene scene;
  scene.configure();
  const ProcessResult result = scene.run_line(
      "for i in 1 2 3 4 5 6 7 8; do \"$ctl\" event send test_event --id \"e$i\" & done; wait");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(queued(scene).size(), 8U);
  EXPECT_EQ(scene.run({"event", "send", "test_event", "--id", "e1"}).status, 0);
  EXPECT_EQ(queued(scene).size(), 8U);  // an id that is queued already stays
}

TEST(EventCheck, GivesTheVerdictOfTheJudge) {
  const CtlScene scene;
  const json good = {{"schema", "zunol.monitoring.event.v1"},
                     {"event_id", "e"},
                     {"agent_id", "a"},
                     {"project_id", "p"},
                     {"server_name", "s"},
                     {"type", "test_event"},
                     {"level", "info"},
                     {"created_at", "2026-11-19T02:58:20Z"},
                     {"payload", json::object()}};
  json bad = good;
  bad["type"] = "x\ny";
  scene.write("good.json", good.dump(2));
  scene.write("bad.json", bad.dump());
  scene.write("text.json", "no JSON");
  const std::string path = scene.dir / "";

  const ProcessResult valid = scene.run({"event", "check", path + "good.json"});
  EXPECT_EQ(valid.out, path + "good.json: valid\n");
  EXPECT_EQ(valid.status, 0);
  const ProcessResult invalid = scene.run({"event", "check", path + "bad.json"});
  EXPECT_EQ(invalid.out, path + "bad.json: error: unknown event type: x y\n");
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(
      json::parse(scene.run({"event", "check", path + "bad.json", "--json"}).out),
      (json{{"path", path + "bad.json"}, {"valid", false}, {"error", "unknown event type: x\ny"}}));
  EXPECT_EQ(scene.run_line("\"$ctl\" event check - <\"${dir}good.json\"").status, 0);
  expect_one_error(scene.run({"event", "check", path + "text.json"}), 1, "parse error");
  expect_one_error(scene.run({"event", "check", path}), 1, ": Is a directory");
  expect_one_error(scene.run({"event", "check", path + "none"}), 1, "cannot read ");
  expect_one_error(scene.run({"event", "check", "/dev/zero"}), 1, "larger than 16 MiB");
}

TEST(EventTypes, AreThoseOfTheCatalogue) {
  const CtlScene scene;
  std::string types;
  std::string lines;
  for (const std::string& type : zunol_monitoring::known_event_types()) {
    types += type + '\n';
    lines += json{{"type", type}}.dump() + '\n';
  }
  EXPECT_EQ(scene.run({"event", "types"}).out, types);
  EXPECT_EQ(scene.run({"event", "types", "--json"}).out, lines);
}
