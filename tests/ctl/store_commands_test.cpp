#include "tests/ctl/ctl_scene.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace fs = std::filesystem;
using nlohmann::json;
using namespace zunol_monitoring;

namespace {

class CtlStore : public Ctl {
 protected:
  CtlStore() { deliver_by("true"); }
  /// The configuration delivers over this command.
  void deliver_by(const std::string& command) {
    configure("vorn: {queue_only: false, transport: command, append_command: " + command + "}\n");
  }
  void enqueue(const Texts& ids) {
    SqliteStore store(db);
    for (const std::string& id : ids) store.enqueue_sync_event(id, "{}");
  }
};

}  // namespace

TEST_F(CtlStore, NoStoreIsAnEmptyOneAndNoneIsMade) {
  for (const std::string words :
       {"queue list", "queue stats", "queue flush", "queue check", "store status", "store maintain",
        "incidents", "journal", "results", "metrics", "report --html \"$dir\"r.html"}) {
    const ProcessResult result = ctl(words);
    EXPECT_EQ(result.status, 0) << words;
    EXPECT_EQ(result.err, "zunol-monitoring-ctl: no store at " + db.string() + " yet\n") << words;
    EXPECT_NE(result.out, "") << words;
    out("--json " + words);
  }
  EXPECT_FALSE(fs::exists(db.parent_path()));
  write("state/agent.db", std::string(5000, 'x'));
  expect_one_error("queue stats", 1, db.string() + ": file is not a database");
  expect_one_error("queue flush", 1, db.string() + ": file is not a database");
}

TEST_F(CtlStore, FlushTellsEachFailureAndTakesEachRowOnce) {
  deliver_by(R"("sh -c '[ $ZUNOL_VORN_EVENT_ID != b ] || { echo no; echo route; exit 1; }'")");
  enqueue({"a", "b", "c"});
  EXPECT_TRUE(out("queue flush", 1)
                  .starts_with("failed b: append_command failed: no route \n"
                               "2 delivered, 1 failed, 1 left, the next attempt in "));
  EXPECT_TRUE(
      out("queue flush").starts_with("0 delivered, 0 failed, 1 left, the next attempt in "));
  deliver_by("true");
  EXPECT_EQ(out("queue flush --all --json"),
            "{\"delivered\":1,\"failed\":0,\"interrupted\":false,\"next_attempt_at\":\"\","
            "\"pending\":0,\"stopped_early\":false}\n");

  configure("vorn: {queue_only: true}\n");
  expect_one_error("queue flush", 1, "vorn.queue_only=true");
  configure("vorn: {enabled: false}\n");
  expect_one_error("queue flush", 1, "vorn.enabled=false");
}

TEST_F(CtlStore, AFlushThatIsToldToEndLeavesTheRestInTheQueue) {
  // How long a delivery takes, how the flush is told, and what it says.
  for (const Texts& row : rows_of(R"(
sleep 1 => kill -TERM $!; wait $! => 1 delivered, 0 failed, 1 left, 1 of them due
sleep 60 => kill -TERM $!; sleep 0.2; kill -TERM $!; wait $! => 0 delivered, 0 failed, 2 left, 2 of them due
)",
                                  "=>")) {
    deliver_by(row.at(0));
    enqueue({"a", "b"});
    sql(db, "UPDATE vorn_sync_queue SET status='pending'");
    const ProcessResult result =
        sh("export TMPDIR=\"$dir\"; \"$ctl\" queue flush & sleep 0.5; " + row[1]);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, row[2] + '\n');
    expect_one_error({1, "", result.err}, 1, "interrupted");
    EXPECT_EQ(json_out("queue stats")["pending"], row[2].find("1 left") != row[2].npos ? 1 : 2);
    EXPECT_EQ(sh("echo \"$dir\"vorn-event*").out, (dir / "vorn-event*\n").string());
  }
}

TEST_F(CtlStore, AFlushHangsOnNoBackendAndEndsAfterFailuresInARow) {
  deliver_by("sleep 60");
  enqueue({"a", "b", "c"});
  const ProcessResult hung = ctl("queue flush --timeout 1s --stop-after 2");
  EXPECT_EQ(hung.status, 1);
  EXPECT_TRUE(
      hung.out.starts_with("failed a: append_command ended after its time limit of 1 s\n"
                           "failed b: append_command ended after its time limit of 1 s\n"
                           "0 delivered, 2 failed, 3 left, 1 of them due, the next attempt in "))
      << hung.out;
  EXPECT_EQ(hung.err, "zunol-monitoring-ctl: ended after 2 failures in a row\n");
}

TEST_F(CtlStore, LookingLeavesNothingAndOthersDatabasesAreLeftAlone) {
  enqueue({"a"});
  out("queue list");
  out("store status");
  EXPECT_EQ(std::distance(fs::directory_iterator(db.parent_path()), {}), 1);
  fs::remove(db);
  sql(db, "CREATE TABLE vorn_sync_queue(event_id, other)");
  const std::string before = read_text_file(db);
  for (const char* words :
       {"queue list", "queue flush", "store maintain", "event send test_event"}) {
    expect_one_error(words, 1, db.string() + ": it has no store in it");
  }
  EXPECT_TRUE(read_text_file(db) == before);
  for (const char* nowhere : {"''", "':memory:'"}) {
    write("config.yaml", "storage: {local_db: " + std::string(nowhere) + "}\n");
    expect_one_error("event send test_event", 1, "storage.local_db names no file");
  }
}

TEST_F(CtlStore, StatusAndMaintenanceTellTheSize) {
  enqueue({"a", "b"});
  const json status = json_out("store status");
  EXPECT_EQ(status["path"], db.string());
  EXPECT_EQ(status["rows"]["vorn_sync_queue"], 2);
  EXPECT_EQ(status["open_incidents"], 0);
  EXPECT_GT(status["size_bytes"], 10000);
  expect_parts(out("store status"), {"vorn_sync_queue          2\n"});

  sql(db, "UPDATE vorn_sync_queue SET status='sent' WHERE event_id='a'");
  out("store maintain");
  EXPECT_EQ(json_out("store status")["rows"]["vorn_sync_queue"], 2) << "within its limit";
  write("config.yaml", "storage: {local_db: " + db.string() + ", max_local_bytes: 1000}\n");
  expect_parts(out("store maintain"), {"over the limit"});
  EXPECT_EQ(json_out("store status")["rows"]["vorn_sync_queue"], 1);
  // Rewriting what is pending would change the schema's number, and free nothing.
  const std::string number = sql(db, "PRAGMA schema_version");
  expect_parts(out("store maintain"), {"over the limit", "nothing to free\n"});
  EXPECT_EQ(sql(db, "PRAGMA schema_version"), number);
}

TEST_F(CtlStore, RecordsAreListedNewestFirst) {
  enqueue({"e1"});
  sql(db, R"(
INSERT INTO incidents SELECT column1, 'f', 'disk', 'n', '/', column2, column3, '', '', '', '', column4, '', 0
  FROM (VALUES('i1', 'warning', 'new', '2026-01-01T00:00:00Z'),
              ('i2', 'critical', 'resolved', '2026-01-03T00:00:00Z'),
              ('i3', 'critical', 'muted', '2026-01-02T00:00:00Z'));
INSERT INTO incident_events VALUES('e1', 'i1', 'check_failed', '2026-01-01T00:00:00Z', '{}'),
  ('e2', 'i1', 'check_recovered', '2026-01-02T00:00:00Z', '{}'), ('e3', 'i2', 'check_failed', '', '');
INSERT INTO agent_journal(category, action, status, details, created_at)
  VALUES('update', 'j1', 'ok', '', 't'), ('command', 'j2', 'ok', 'for i1', 't');
INSERT INTO check_results(check_type, check_name, target, state, level, message, value, created_at, labels)
  VALUES('disk', '', '', 'ok', 'info', 'r1', 0, '2026-01-01T00:00:00Z', '{"a":"b"}'),
        ('cpu', '', '', 'failed', 'info', 'r2', 0, '2026-01-02T00:00:00Z', '{}'))");
  for (const Texts& row : rows_of(R"(
incidents => id => i2 i3 i1
incidents --limit 2 => id => i2 i3
incidents --open => id => i3 i1
incidents --open --limit 1 => id => i3
incidents --level critical => id => i2 i3
journal => action => j2 j1
journal --category update => action => j1
journal --category none => action =>
results => message => r2 r1
results --type disk => message => r1
results --state failed => message => r2
results --state ok => message => r1
results --since 2026-01-01T00:00:01Z => message => r2
results --since 2026-01-01T00:00:00Z --limit 1 => message => r2
)",
                                  "=>")) {
    const std::string values = each(row.at(0), row[1]);
    EXPECT_EQ(values, row[2] + (row[2].empty() ? "" : " ")) << row[0];
    const std::string table = out(row[0]);
    const auto shown = std::ranges::count(values, ' ');
    const bool all = table.find(" rows") == std::string::npos;
    EXPECT_EQ(std::ranges::count(table, '\n'), 1 + shown + (all ? 0 : 1)) << table;
    EXPECT_EQ(all, shown == (row[1] == "id" ? 3 : 2)) << table;
  }
  EXPECT_EQ(json_out("results --type disk")["labels"], (json{{"a", "b"}}));
  EXPECT_TRUE(out("results --limit 1").ends_with("\n1 of 2 rows; --limit shows more\n"));

  EXPECT_EQ(each("incidents i1", "record"), "incident event event journal ");
  expect_parts(
      out("incidents i1 --limit 1"),
      {"INCIDENT    i1\nlevel       warning\n", "check_recovered  ", "  gone   e2     2026-01-02",
       "1 of 2 rows; --limit shows more\n", "ok      ?    command   j2"});
  expect_parts(out("incidents i1"), {"  pending  e1     2026-01-01"});
  expect_one_error("incidents i4", 1, "no incident i4");
}

TEST_F(CtlStore, APlotDrawsEachSeriesOverTheSameTime) {
  enqueue({});
  sql(db, R"(
WITH RECURSIVE at(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM at WHERE i < 159)
INSERT INTO check_results(check_type, check_name, target, state, level, message, value, created_at)
  SELECT 'disk', 'root', '/', 'ok', 'info', '', i, strftime('%Y-%m-%dT%H:%M:%SZ', i, 'unixepoch') FROM at;
INSERT INTO check_results(check_type, check_name, target, state, level, message, value, created_at)
  VALUES('disk', 'root', '/b', 'ok', 'info', '', 7, '1970-01-01T00:01:00Z'),
        ('disk', 'root', '/b', 'ok', 'info', '', 9e999, 'no time'), ('disk', 'huge', '/', 'ok', 'info', '', 9e999,
        '1970-01-01T00:00:00Z'), ('disk', 'huge', '/', 'ok', 'info', '', -9e307, '1970-01-01T00:00:01Z'))");
  const auto steps = [](const Texts& levels) {
    std::string line;
    for (const std::string& level : levels) {
      for (int i = 0; i < 10; ++i) line += level;
    }
    return line;
  };
  const std::string all =
      "disk root /: 0 to 159, 160 results\n" + steps({"_", ".", "-", "=", "+", "*", "%", "#"}) +
      "\ndisk root /b: 7 to 7, 1 results\n" + std::string(30, ' ') + '+' + std::string(49, ' ') +
      "\nfrom 1970-01-01T00:00:00Z to 1970-01-01T00:02:39Z\n";
  EXPECT_EQ(out("results plot root"), all);
  environment["LANG"] = "de_DE.utf8";
  expect_parts(out("results plot root"), {steps({"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"}) + '\n'});
  const Texts narrow = lines_of(
      sh("script -qec 'stty cols 40; \"$ctl\" results plot root' /dev/null | tr -d '\\r'").out);
  EXPECT_EQ(narrow.at(1).size(), 40 * std::string("▁").size());
  const json since =
      json::parse(lines_of(out("results plot root --since 1970-01-01T00:01:20Z --json")).at(0));
  EXPECT_EQ(since["results"], 80);
  EXPECT_EQ(since["means"].size(), 80U);
  EXPECT_EQ(since["means"][79], 159.0);
  expect_parts(out("results plot huge"), {"disk huge /: -9e+307 to inf, 2 results\n"});
  expect_one_error("results plot nothing", 1, "no results of a check named nothing");
}

TEST_F(CtlStore, ListingsTellWhatTheyLeaveOut) {
  enqueue({"event_20260101T000000Z_0123456789abcdef"});
  sql(db,
      "UPDATE vorn_sync_queue SET attempt_count=1, last_error='append_command failed: no route "
      "to ' || printf('%.*c', 300, 'x')");
  const std::string piped = out("queue list");
  EXPECT_EQ(piped.find("append_command failed"), std::string::npos);
  EXPECT_TRUE(piped.ends_with("\n1 cells or rows are cut; --json has them whole\n")) << piped;
  EXPECT_LT(lines_of(piped).at(1).size(), 280U);
  expect_parts(out("queue list --json"), {std::string(300, 'x')});
  const Texts lines =
      lines_of(sh("script -qec 'stty cols 80; \"$ctl\" queue list' /dev/null | tr -d '\\r'").out);
  expect_parts(lines.at(0), {"NEXT  FAILED  AGE"});
  expect_parts(lines.at(1), {"due   1 ", "no route to x", "…  event_20260101T"});
}
