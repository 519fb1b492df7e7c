#include "tests/ctl/ctl_scene.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/events/event_envelope.h"
#include "zunol_monitoring/store/sqlite_store.h"

using nlohmann::json;

namespace {

class EventSend : public Ctl {
 protected:
  EventSend() { configure(); }
  std::vector<json> queued() const {
    zunol_monitoring::SqliteStore store(db);
    std::vector<json> events;
    for (const auto& item : store.list_sync_events(100, true)) {
      events.push_back(json::parse(item.payload));
      EXPECT_EQ(events.back()["event_id"], item.event_id);
    }
    return events;
  }
};

using EventStream = EventSend;
using EventCheck = Ctl;

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

}  // namespace

TEST_F(EventSend, QueuesTheEventAndPrintsItsId) {
  write("data.json", " {\"c\": null}\n");
  write("list", "\n[1, 2]\n");
  // The words, and the id, level and payload of the event; "evt_" begins a new id.
  for (const Texts& row : rows_of(R"(
test_event => evt_ => info => {}
check_failed --level warning --id e1 --data '{"check": "disk"}' => e1 => warning => {"check": "disk"}
test_event --data -5 --level critical => evt_ => critical => {"value": -5}
test_event --data '{"event_id": "e2", "level": "warning", "a": 1}' => e2 => warning => {"a": 1}
test_event --id e3 --data '{"event_id": "other", "payload": {"b": 2}}' => e3 => info => {"b": 2}
test_event --data-file - <"${dir}list" => evt_ => info => {"value": [1, 2]}
test_event --data-file "${dir}data.json" => evt_ => info => {"c": null}
)",
                                  "=>")) {
    const std::string id = lines_of(ctl("event send " + row.at(0)).out).at(0);
    const auto events = queued();
    ASSERT_EQ(events.size(), 1U) << row[0];
    EXPECT_EQ(events[0]["event_id"], id);
    EXPECT_EQ(row[1] == "evt_" ? id.substr(0, 4) : id, row[1]);
    EXPECT_EQ(events[0]["level"], row[2]) << row[0];
    EXPECT_EQ(events[0]["payload"], json::parse(row[3])) << row[0];
    EXPECT_EQ(zunol_monitoring::validate_event(events[0]), std::nullopt);
    sql(db, "DELETE FROM vorn_sync_queue");
  }
}

TEST_F(EventSend, BadInputIsOneLineAndQueuesNothing) {
  write("deep.json", nested(600));
  write("deepest.json", nested(999000));
  write("latin1.json", "\"\xe9\"");
  write("cut.json", "{\"a\": \"" + std::string(100000, 'x'));
  std::string many = "[";
  for (int i = 0; i < 1000000; ++i) many += "{},";
  write("many.json", many + "{}]");
  expect_errors("event send ", 1, R"x(
no_such_type => invalid event: unknown event type: no_such_type
'' => invalid event: field must be a non-empty string: type
test_event --level loud => invalid event: level must be info, warning or critical
test_event --id '' => invalid event: field must be a non-empty string: event_id
test_event --data nope => parse error
test_event --data '' => parse error
test_event --data '{} {}' => parse error
test_event --data "$(printf '"\351"')" => UTF-8
test_event --data '{"payload": [1]}' => payload must be a JSON object
test_event --data-file "${dir}latin1.json" => UTF-8
test_event --data-file "${dir}cut.json" => parse error
test_event --data-file "${dir}deep.json" => nested more than 500 levels deep
test_event --data-file "${dir}deepest.json" => nested more than 500 levels deep
test_event --data-file "$dir" => : Is a directory
test_event --data-file "${dir}none" => cannot read 
test_event --data-file '' => cannot read : No such file or directory
test_event --data-file /dev/zero => /dev/zero is larger than 16 MiB
test_event --data-file "${dir}many.json" => the data has more than 1000000 values
test_event --id "$(printf %0253d 1)" => the id is longer than 252 bytes
test_event --id a/b => would share its marker with other ids
test_event --id 'a b' => would share its marker with other ids
test_event --id é => would share its marker with other ids
test_event --data-file - <&- => cannot read standard input: 
test_event --data-file - </dev/null => parse error
test_event --config /nowhere => config not found: /nowhere
)x");
  EXPECT_EQ(queued().size(), 0U);
  configure("vorn: {enabled: false}\n");
  expect_one_error("event send test_event", 1, "vorn.enabled=false");
  EXPECT_EQ(queued().size(), 0U);
  write("config.yaml", "storage: {local_db: /dev/null/x.db}\n");
  expect_one_error("event send test_event", 1, "");
}

TEST_F(EventSend, TheStoreIsPrivateWhateverTheUmask) {
  const struct {
    const char* umask;
    unsigned directory;
    unsigned file;
  } rows[] = {{"0000", 0750, 0640}, {"0022", 0750, 0640}, {"0077", 0700, 0600}};
  for (const auto& row : rows) {
    std::filesystem::remove_all(db.parent_path());
    // A reader keeps the two files beside the database there.
    sh(std::string("umask ") + row.umask + R"(; "$ctl" event send test_event &&
sqlite3 "${dir}state/agent.db" 'SELECT count(*) FROM incidents' '.shell "$ctl" event send test_event')");
    EXPECT_EQ(mode_of(db.parent_path()), row.directory);
    EXPECT_EQ(mode_of(db), row.file);
    EXPECT_EQ(queued().size(), 2U);
  }
}

TEST_F(EventSend, SeveralAtOnceLoseNothing) {
  const ProcessResult result =
      sh("for i in 1 2 3 4 5 6 7 8; do \"$ctl\" event send test_event --id e$i & done; wait");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(queued().size(), 8U);
}

TEST_F(EventSend, TellsWhatItDoesNotQueueOrTake) {
  EXPECT_EQ(out("event send test_event --id a"), "a\n");
  const ProcessResult again = ctl("event send test_event --id a");
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out, "a\n");
  expect_parts(again.err, {"an event of this id is queued already"});
  EXPECT_EQ(queued().size(), 1U);
  EXPECT_EQ(ctl("event send test_event --id a --json").out,
            "{\"event_id\":\"a\",\"queued\":false}\n");
  expect_parts(ctl("event send test_event --data '{\"server_name\": \"x\"}'").err,
               {"the key server_name of the data is dropped"});
}

TEST_F(EventStream, AnswersEachLineOnceItsEventIsOnTheDisk) {
  std::string input;
  Texts answers;
  for (const Texts& row : rows_of(R"(
{"type": "test_event", "id": "a", "data": {"x": 1}} => {"event_id":"a","queued":true}
{"type": "test_event", "id": "a"} => {"event_id":"a","queued":false}
{"type": "nonsense"} => {"error":"invalid event: unknown event type: nonsense"}
{"level": "info"} => {"error":"invalid event: field must be a non-empty string: type"}
{"type": 5} => {"error":"type is no text"}
[1] => {"error":"the line is no JSON object"}
{"type": "test_event", "id": "b", "level": "critical", "data": 7} => {"event_id":"b","queued":true}
)",
                                  "=>")) {
    input += row.at(0) + '\n';
    answers.push_back(row.at(1));
  }
  input += "no JSON\n" + std::string(17000000, 'x') + "\n{\"type\": \"test_event\", \"id\": \"c\"}";
  write("in", input);
  const ProcessResult result = ctl("event stream <\"${dir}in\"");
  EXPECT_EQ(result.status, 1);
  Texts given = lines_of(result.out);
  ASSERT_EQ(given.size(), 10U);
  EXPECT_TRUE(given[7].starts_with("{\"error\":\"the data is no JSON: ")) << given[7];
  EXPECT_EQ(given[8], "{\"error\":\"the line is larger than 16 MiB\"}");
  EXPECT_EQ(given[9], "{\"event_id\":\"c\",\"queued\":true}");
  given.resize(7);
  EXPECT_EQ(given, answers);
  EXPECT_EQ(sql(db,
                "SELECT group_concat(event_id), group_concat(json_extract(payload, '$.payload')) "
                "FROM (SELECT * FROM vorn_sync_queue ORDER BY rowid)"),
            "a,b,c|{\"x\":1},{\"value\":7},{}\n");
  // The sender of a line may wait for its answer before it sends the next one.
  EXPECT_EQ(sh(R"(mkfifo "${dir}out"
(printf '{"type": "test_event", "id": "d"}\n{}'; read -r answer <"${dir}out"; echo "$answer" >"${dir}answer") |
"$ctl" event stream >"${dir}out"; cat "${dir}answer")")
                .out,
            "{\"event_id\":\"d\",\"queued\":true}\n");
}

TEST_F(EventCheck, GivesTheVerdictOfTheJudge) {
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
  write("good.json", good.dump(2));
  write("bad.json", bad.dump());
  write("text.json", "no JSON");
  const std::string path = dir / "";
  EXPECT_EQ(out("event check ${dir}good.json"), path + "good.json: valid\n");
  EXPECT_EQ(out("event check - <${dir}good.json"), "-: valid\n");
  EXPECT_EQ(out("event check ${dir}bad.json", 1),
            path + "bad.json: error: unknown event type: x y\n");
  EXPECT_EQ(
      json::parse(out("event check --json ${dir}bad.json", 1)),
      (json{{"path", path + "bad.json"}, {"valid", false}, {"error", "unknown event type: x\ny"}}));
  expect_errors("event check ", 1, R"(
${dir}text.json => parse error
$dir => : Is a directory
${dir}none => cannot read 
/dev/zero => larger than 16 MiB
)");
}

TEST(EventTypes, AreThoseOfTheCatalogue) {
  const CtlScene scene;
  std::string types;
  std::string lines;
  for (const std::string& type : zunol_monitoring::known_event_types()) {
    types += type + '\n';
    lines += json{{"type", type}}.dump() + '\n';
  }
  EXPECT_EQ(scene.out("event types"), types);
  EXPECT_EQ(scene.out("event types --json"), lines);
}
