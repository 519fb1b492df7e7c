#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/ctl/ctl_scene.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace fs = std::filesystem;
using nlohmann::json;
using namespace zunol_monitoring;

namespace {

class CtlStore : public testing::Test {
 protected:
  CtlStore() { deliver_by("true"); }
  /// The configuration delivers over this command.
  void deliver_by(const std::string& command) {
    scene_.configure("vorn: {queue_only: false, transport: command, append_command: " + command +
                     "}\n");
  }
  void enqueue(const std::vector<std::string>& ids) {
    SqliteStore store(db_);
    for (const std::string& id : ids) store.enqueue_sync_event(id, "{}");
  }
  /// What the words after "ctl" print; they must succeed.
  std::string out(const std::string& words) const {
    const ProcessResult result = scene_.run_line("\"$ctl\" " + words);
    EXPECT_EQ(result.status, 0) << words << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  json json_out(const std::string& words) const { return json::parse(out(words + " --json")); }

  const CtlScene scene_;
  const fs::path db_ = scene_.dir / "state/agent.db";
};

}  // namespace

TEST_F(CtlStore, NoStoreIsAnEmptyOneAndNoneIsMade) {
  for (const char* words :
       {"queue list", "queue stats", "queue flush", "queue check", "store status", "store maintain",
        "incidents", "journal", "results", "metrics"}) {
    const ProcessResult result = scene_.run_line(std::string("\"$ctl\" ") + words);
    EXPECT_EQ(result.status, 0) << words;
    EXPECT_EQ(result.err, "zunol-monitoring-ctl: no store at " + db_.string() + " yet\n") << words;
    EXPECT_NE(result.out, "") << words;
    EXPECT_EQ(scene_.run_line(std::string("\"$ctl\" --json ") + words).err, "") << words;
  }
  EXPECT_FALSE(fs::exists(db_.parent_path()));
  scene_.write("state/agent.db", std::string(5000, 'x'));
  expect_one_error(scene_.run({"queue", "stats"}), 1, db_.string() + ": file is not a database");
  expect_one_error(scene_.run({"queue", "flush"}), 1, db_.string() + ": file is not a database");
}

TEST_F(CtlStore, TheQueueIsListedOldestFirst) {
  enqueue({"new", "old", "failed"});
  sql(db_,
      "UPDATE vorn_sync_queue SET created_at='2020-01-01T00:00:00Z' WHERE event_id='old'; "
      "UPDATE vorn_sync_queue SET attempt_count=9, last_error='a' || char(10, 27) || '[31mb', "
      "next_attempt_at='2999-01-01T00:00:00Z', created_at='2020-01-02T00:00:00Z' WHERE "
      "event_id='failed'");
  const std::string table = out("queue list");
  EXPECT_EQ(std::ranges::count(table, '\n'), 4) << table;
  EXPECT_LT(table.find("old"), table.find("failed"));
  EXPECT_LT(table.find("failed"), table.find("new"));
  EXPECT_EQ(table.find('\x1b'), std::string::npos);
  EXPECT_TRUE(out("queue list --limit 1").ends_with("\n1 of 3 rows; --limit shows more\n"));

  const json row = json_out("queue list --limit 1");
  EXPECT_EQ(row["event_id"], "old");
  EXPECT_EQ(row["due"], true);
  EXPECT_GT(row["age_sec"], 86400 * 365 * 5);

  const json stats = json_out("queue stats");
  EXPECT_EQ(stats["pending"], 3);
  EXPECT_EQ(stats["due"], 2);
  EXPECT_EQ(stats["failed_often"], 1);
  EXPECT_EQ(stats["oldest_due"]["created_at"], "2020-01-01T00:00:00Z");
  EXPECT_EQ(stats["by_age"].front()["count"], 1);
  EXPECT_EQ(stats["by_age"].back()["count"], 2);
  EXPECT_NE(out("queue stats").find("older      2"), std::string::npos) << out("queue stats");
}

TEST_F(CtlStore, FlushTellsEachFailureAndTakesEachRowOnce) {
  deliver_by(R"("sh -c '[ $ZUNOL_VORN_EVENT_ID != b ] || { echo no; echo route; exit 1; }'")");
  enqueue({"a", "b", "c"});
  const ProcessResult result = scene_.run({"queue", "flush"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "failed b: append_command failed: no route \n2 delivered, 1 failed, 1 left, the next "
            "attempt in 30s\n");
  EXPECT_TRUE(
      out("queue flush").starts_with("0 delivered, 0 failed, 1 left, the next attempt in "));
  deliver_by("true");
  EXPECT_EQ(out("queue flush --all --json"),
            "{\"delivered\":1,\"failed\":0,\"interrupted\":false,\"next_attempt_at\":\"\","
            "\"pending\":0,\"stopped_early\":false}\n");

  scene_.configure("vorn: {queue_only: true}\n");
  expect_one_error(scene_.run({"queue", "flush"}), 1, "vorn.queue_only=true");
  scene_.configure("vorn: {enabled: false}\n");
  expect_one_error(scene_.run({"queue", "flush"}), 1, "vorn.enabled=false");
}

TEST_F(CtlStore, AFlushThatIsToldToEndLeavesTheRestInTheQueue) {
  const struct {
    const char* name;
    const char* command;
    const char* line;  ///< ends with the flush's own status
    int status;
    const char* out;
    const char* err;
    int pending;
  } rows[] = {
      {"asked once", "sleep 1", "kill -TERM $!; wait $!", 1,
       "1 delivered, 0 failed, 1 left, 1 of them due\n", "interrupted", 1},
      {"asked twice", "sleep 60", "kill -TERM $!; sleep 0.2; kill -TERM $!; wait $!", 1,
       "0 delivered, 0 failed, 2 left, 2 of them due\n", "interrupted", 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    deliver_by(row.command);
    enqueue({"a", "b"});
    sql(db_, "UPDATE vorn_sync_queue SET status='pending'");
    const ProcessResult result = scene_.run_line(
        std::string("export TMPDIR=\"$dir\"; \"$ctl\" queue flush & sleep 0.5; ") + row.line);
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(result.out, row.out);
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(row.err), std::string::npos) << result.err;
    EXPECT_EQ(json_out("queue stats")["pending"], row.pending);
    for (const auto& entry : fs::directory_iterator(scene_.dir.path())) {
      EXPECT_FALSE(entry.path().filename().string().starts_with("vorn-event")) << entry;
    }
  }
}

TEST_F(CtlStore, AFlushHangsOnNoBackendAndEndsAfterFailuresInARow) {
  deliver_by("sleep 60");
  enqueue({"a", "b", "c"});
  const ProcessResult hung = scene_.run({"queue", "flush", "--timeout", "1s", "--stop-after", "2"});
  EXPECT_EQ(hung.status, 1);
  EXPECT_TRUE(
      hung.out.starts_with("failed a: append_command ended after its time limit of 1 s\n"
                           "failed b: append_command ended after its time limit of 1 s\n"
                           "0 delivered, 2 failed, 3 left, 1 of them due, the next attempt in "))
      << hung.out;
  EXPECT_EQ(hung.err, "zunol-monitoring-ctl: ended after 2 failures in a row\n");
  for (const char* wrong : {"5 minutes", "-1", "99999999999h"}) {
    expect_one_error(scene_.run({"queue", "flush", "--timeout", wrong}), 2, "is no duration");
  }
}

TEST_F(CtlStore, LookingLeavesNothingAndOthersDatabasesAreLeftAlone) {
  enqueue({"a"});
  out("queue list");
  out("store status");
  EXPECT_FALSE(fs::exists(db_.string() + "-wal"));
  EXPECT_FALSE(fs::exists(db_.string() + "-shm"));
  fs::remove(db_);
  sql(db_, "CREATE TABLE vorn_sync_queue(event_id, other)");
  const std::string before = read_text_file(db_);
  for (const char* words :
       {"queue list", "queue flush", "store maintain", "event send test_event"}) {
    expect_one_error(scene_.run_line(std::string("\"$ctl\" ") + words), 1,
                     db_.string() + ": it has no store in it");
  }
  EXPECT_TRUE(read_text_file(db_) == before);
  for (const char* nowhere : {"''", "':memory:'"}) {
    scene_.write("config.yaml", "storage: {local_db: " + std::string(nowhere) + "}\n");
    expect_one_error(scene_.run({"event", "send", "test_event"}), 1,
                     "storage.local_db names no file");
  }
}

TEST_F(CtlStore, StatusAndMaintenanceTellTheSize) {
  enqueue({"a", "b"});
  const json status = json_out("store status");
  EXPECT_EQ(status["path"], db_.string());
  EXPECT_EQ(status["rows"]["vorn_sync_queue"], 2);
  EXPECT_EQ(status["open_incidents"], 0);
  EXPECT_GT(status["size_bytes"], 10000);
  EXPECT_NE(out("store status").find("vorn_sync_queue          2\n"), std::string::npos);

  sql(db_, "UPDATE vorn_sync_queue SET status='sent' WHERE event_id='a'");
  out("store maintain");
  EXPECT_EQ(json_out("store status")["rows"]["vorn_sync_queue"], 2) << "within its limit";
  scene_.configure("");
  scene_.write("config.yaml", "storage: {local_db: " + db_.string() + ", max_local_bytes: 1000}\n");
  EXPECT_NE(out("store maintain").find("over the limit"), std::string::npos);
  EXPECT_EQ(json_out("store status")["rows"]["vorn_sync_queue"], 1);
}

TEST_F(CtlStore, RecordsAreListedNewestFirst) {
  {
    SqliteStore store(db_);
    const auto incident = [&](const char* id, Severity level, IncidentStatus status,
                              const char* seen) {
      Incident record;
      record.id = id, record.level = level, record.status = status, record.last_seen_at = seen;
      store.insert_incident(record);
    };
    incident("i1", Severity::Warning, IncidentStatus::New, "2026-01-01T00:00:00Z");
    incident("i2", Severity::Critical, IncidentStatus::Resolved, "2026-01-03T00:00:00Z");
    incident("i3", Severity::Critical, IncidentStatus::Muted, "2026-01-02T00:00:00Z");
    store.append_journal("update", "j1", "ok", "", "");
    store.append_journal("command", "j2", "ok", "", "");
    CheckResult result;
    result.check_type = "disk", result.message = "r1", result.labels = {{"a", "b"}};
    store.insert_check_result(result);
    result.check_type = "cpu", result.message = "r2";
    store.insert_check_result(result);
  }
  const struct {
    const char* words;
    const char* key;
    const char* values;
  } rows[] = {{"incidents", "id", "i2 i3 i1 "},
              {"incidents --limit 2", "id", "i2 i3 "},
              {"incidents --open", "id", "i3 i1 "},
              {"incidents --open --limit 1", "id", "i3 "},
              {"incidents --level critical", "id", "i2 i3 "},
              {"journal", "action", "j2 j1 "},
              {"journal --category update", "action", "j1 "},
              {"journal --category none", "action", ""},
              {"results", "message", "r2 r1 "},
              {"results --type disk", "message", "r1 "},
              {"results --limit 1", "message", "r2 "}};
  for (const auto& row : rows) {
    std::istringstream lines(out(std::string(row.words) + " --json"));
    std::string values;
    for (std::string line; std::getline(lines, line);) {
      values += json::parse(line)[row.key].get<std::string>() + ' ';
    }
    EXPECT_EQ(values, row.values) << row.words;
    const std::string table = out(row.words);
    EXPECT_EQ(std::ranges::count(table, '\n'), 1 + std::ranges::count(values, ' ')) << table;
  }
  EXPECT_EQ(json_out("results --type disk")["labels"], (json{{"a", "b"}}));
}

TEST_F(CtlStore, WrongWordsAreUsageErrors) {
  for (const char* words :
       {"queue", "queue nonsense", "queue list --limit 0", "queue list --limit -1",
        "queue list --limit 99999999999", "queue flush now", "store", "incidents --level high",
        "journal --limit x", "results --type"}) {
    expect_one_error(scene_.run_line(std::string("\"$ctl\" ") + words), 2, "");
  }
}
