#include "tests/ctl/ctl_scene.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

namespace fs = std::filesystem;
using nlohmann::json;
using namespace zunol_monitoring;

namespace {

class CtlQueue : public Ctl {
 protected:
  CtlQueue() {
    configure("vorn:\n  queue_only: false\n  transport: command\n  append_command: " ZUNOL_BIN_DIR
              "/zunol-vorn-append-event\n  history_block_id: b\n  bridge_command: " ZUNOL_SOURCE_DIR
              "/backends/sqlite-ledger '" +
              ledger_ + "'\n");
    Config config;
    SqliteStore store(db);
    QueueingVornHistoryWriter writer(config, store);
    for (const char* id : {"old", "failed", "new"}) {
      writer.enqueue(*id == 'f' ? "check_failed" : "test_event", {{"event_id", id}, {"at", 1}});
    }
    sql(db, R"(
UPDATE vorn_sync_queue SET created_at='2020-01-01T00:00:00Z' WHERE event_id='old';
UPDATE vorn_sync_queue SET attempt_count=9, last_error='no' || char(10, 27) || '[31m route',
  next_attempt_at='2999-01-01T00:00:00Z', created_at='2020-01-02T00:00:00Z' WHERE event_id='failed')");
  }

  const std::string ledger_ = dir / "ledger.db";
};

}  // namespace

TEST_F(CtlQueue, AListingTakesWhatIsAskedForOldestFirst) {
  for (const Texts& row : rows_of(R"(
 => old failed new
--limit 1 => old
--failed => failed
--type test_event => old new
--error route => failed
--since 1h => new
--since 2020-01-01T00:00:01Z --failed => failed
--type nonsense =>
)",
                                  "=>")) {
    EXPECT_EQ(each("queue list " + row.at(0), "event_id"), row[1] + (row[1].empty() ? "" : " "));
  }
  const json row = json_out("queue list --limit 1");
  EXPECT_EQ(row["due"], true);
  EXPECT_GT(row["age_sec"], 86400 * 365 * 5);
  const std::string table = out("queue list");
  EXPECT_EQ(lines_of(table).size(), 4U) << table;
  EXPECT_EQ(table.find('\x1b'), std::string::npos);
  EXPECT_TRUE(out("queue list --failed").ends_with("\n1 of 3 rows\n"));
  EXPECT_TRUE(out("queue list --limit 1").ends_with("\n1 of 3 rows; --limit shows more\n"));
}

TEST_F(CtlQueue, AnEventTellsWhereItIs) {
  const auto shown = [&](const char* id) { return json_out(std::string("queue show ") + id); };
  EXPECT_EQ(shown("old")["marker"]["there"], false);
  EXPECT_EQ(shown("old")["ledger"], (json{{"path", ledger_}, {"there", false}}));
  out("queue flush");
  const json old = shown("old");
  EXPECT_EQ(old["status"], "sent");
  EXPECT_EQ(old["marker"],
            (json{{"path", dir / "state/vorn-bridge-ledger/old.ok"}, {"there", true}}));
  EXPECT_EQ(old["ledger"], (json{{"path", ledger_}, {"there", true}, {"sequence", 1}}));
  EXPECT_EQ(old["payload"]["payload"], (json{{"at", 1}}));
  expect_parts(out("queue show failed"),
               {"pending, the next attempt in ", "last error       no", "failed.ok (not there)",
                "ledger.db (not in it)", "    \"at\": 1\n"});
  expect_one_error("queue show nobody", 1, "no event nobody in the queue");

  EXPECT_EQ(out("queue retry failed nobody", 1),
            "failed is due\nnobody does not wait in the queue\n");
  EXPECT_EQ(json_out("queue stats")["due"], 1);
}

TEST_F(CtlQueue, StatsTellAgesAndErrorsAndTheLastSuccess) {
  const json before = json_out("queue stats");
  EXPECT_EQ(before["pending"], 3);
  EXPECT_EQ(before["due"], 2);
  EXPECT_EQ(before["failed_often"], 1);
  EXPECT_EQ(before["oldest_due"]["created_at"], "2020-01-01T00:00:00Z");
  EXPECT_EQ(before["by_age"].front()["count"], 1);
  EXPECT_EQ(before["by_age"].back()["count"], 2);
  expect_parts(out("queue stats"), {"older      2"});
  sql(db,
      "UPDATE vorn_sync_queue SET last_error='away', attempt_count=1 WHERE event_id<>'failed';"
      "UPDATE vorn_sync_queue SET last_error='no route' WHERE event_id='failed';"
      "INSERT INTO vorn_sync_queue(event_id, payload, status, created_at, sent_at) VALUES('s', "
      "'{}', 'sent', 't', '2026-01-01T00:00:00Z')");
  const json stats = json_out("queue stats");
  EXPECT_EQ(stats["errors"],
            (json{{{"error", "away"}, {"count", 2}, {"oldest", "2020-01-01T00:00:00Z"}},
                  {{"error", "no route"}, {"count", 1}, {"oldest", "2020-01-02T00:00:00Z"}}}));
  EXPECT_EQ(stats["last_success_at"], "2026-01-01T00:00:00Z");
  EXPECT_EQ(stats["failed"], 3);
  const std::string earlier = out("queue stats");
  const std::string watched = out("queue watch");
  EXPECT_TRUE(watched == earlier || watched == out("queue stats")) << "ages grow meanwhile";
}

TEST_F(CtlQueue, ACheckIsOneLineAndAStatus) {
  for (const Texts& row : rows_of(R"(
 => 1 => breach: the oldest event waits for 
--max-age 999999999 => 0 => ok: 3 events wait, the oldest for 
--max-age 999999999 --max-pending 2 => 1 => breach: 3 events wait, more than 2
--max-age 999999999 --max-pending 3 --max-failed 0 => 1 => 1 events have failed, more than 0
--max-age 999999999 --max-failed 1 => 0 => ok: 
)",
                                  "=>")) {
    const std::string line = out("queue check " + row.at(0), row[1] == "1" ? 1 : 0);
    expect_parts(line, {row[2]});
    EXPECT_EQ(lines_of(line).size(), 1U) << line;
  }
}

TEST_F(CtlQueue, MetricsAreWrittenWholeForEverybody) {
  sql(db, "CREATE TABLE \"odd\"\"\\name\"(a)");
  out("store maintain");
  EXPECT_EQ(out("metrics --output \"${dir}metrics.prom\""), "");
  EXPECT_EQ(mode_of(dir / "metrics.prom"), 0644U);
  const std::string text = read_text_file(dir / "metrics.prom");
  expect_parts(text,
               {"# TYPE zunol_monitoring_queue_pending gauge\nzunol_monitoring_queue_pending 3\n",
                "\nzunol_monitoring_queue_failed_often 1\n", "\nzunol_monitoring_queue_due 2\n",
                "\nzunol_monitoring_store_rows{table=\"odd\\\"\\\\name\"} 0\n",
                "\nzunol_monitoring_last_maintenance_timestamp_seconds "});
  EXPECT_EQ(text.find("last_success"), std::string::npos);
  const json figures = json::parse(out("metrics --json"));
  EXPECT_EQ(figures["oldest_due"]["created_at"], "2020-01-01T00:00:00Z");
  EXPECT_GE(figures["size_bytes"], fs::file_size(db));
}
