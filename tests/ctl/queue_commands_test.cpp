#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/ctl/ctl_scene.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

namespace fs = std::filesystem;
using nlohmann::json;
using namespace zunol_monitoring;

namespace {

class CtlQueue : public testing::Test {
 protected:
  CtlQueue() {
    scene_.configure(
        "vorn:\n  queue_only: false\n  transport: command\n  append_command: " ZUNOL_BIN_DIR
        "/zunol-vorn-append-event\n  history_block_id: b\n  bridge_command: " ZUNOL_SOURCE_DIR
        "/backends/sqlite-ledger '" +
        ledger_ + "'\n");
    Config config;
    SqliteStore store(db_);
    QueueingVornHistoryWriter writer(config, store);
    for (const char* id : {"old", "failed", "new"}) {
      writer.enqueue(*id == 'f' ? "check_failed" : "test_event", {{"event_id", id}, {"at", 1}});
    }
    sql(db_,
        "UPDATE vorn_sync_queue SET created_at='2020-01-01T00:00:00Z' WHERE event_id='old';"
        "UPDATE vorn_sync_queue SET attempt_count=9, last_error='no route', "
        "next_attempt_at='2999-01-01T00:00:00Z' WHERE event_id='failed'");
  }
  ProcessResult run(const std::string& words) const { return scene_.run_line("\"$ctl\" " + words); }
  std::string out(const std::string& words, int status = 0) const {
    const ProcessResult result = run(words);
    EXPECT_EQ(result.status, status) << words << result.err;
    return result.out;
  }

  const CtlScene scene_;
  const fs::path db_ = scene_.dir / "state/agent.db";
  const std::string ledger_ = scene_.dir / "ledger.db";
};

}  // namespace

TEST_F(CtlQueue, AListingTakesWhatIsAskedFor) {
  const struct {
    const char* words;
    const char* ids;
  } rows[] = {
      {"", "old failed new "},           {"--failed", "failed "},
      {"--type test_event", "old new "}, {"--error route", "failed "},
      {"--since 1h", "failed new "},     {"--since 2020-01-01T00:00:01Z --failed", "failed "},
      {"--type nonsense", ""},
  };
  for (const auto& row : rows) {
    std::istringstream lines(out(std::string("--json queue list ") + row.words));
    std::string ids;
    for (std::string line; std::getline(lines, line);) {
      ids += json::parse(line)["event_id"].get<std::string>() + ' ';
    }
    EXPECT_EQ(ids, row.ids) << row.words;
  }
  EXPECT_TRUE(out("queue list --failed").ends_with("\n1 of 3 rows\n"));
  expect_one_error(run("queue list --since yesterday"), 2, "is no time");
}

TEST_F(CtlQueue, AnEventTellsWhereItIs) {
  const auto shown = [&](const char* id) {
    return json::parse(out(std::string("queue show --json ") + id));
  };
  EXPECT_EQ(shown("old")["marker"]["there"], false);
  EXPECT_EQ(shown("old")["ledger"], (json{{"path", ledger_}, {"there", false}}));
  out("queue flush");
  const json old = shown("old");
  EXPECT_EQ(old["status"], "sent");
  EXPECT_EQ(old["marker"],
            (json{{"path", scene_.dir / "state/vorn-bridge-ledger/old.ok"}, {"there", true}}));
  EXPECT_EQ(old["ledger"], (json{{"path", ledger_}, {"there", true}, {"sequence", 1}}));
  EXPECT_EQ(old["payload"]["payload"], (json{{"at", 1}}));
  const std::string text = out("queue show failed");
  for (const char* part : {"pending, the next attempt in ", "last error       no route",
                           "failed.ok (not there)", "ledger.db (not in it)", "    \"at\": 1\n"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << text;
  }
  expect_one_error(run("queue show nobody"), 1, "no event nobody in the queue");

  EXPECT_EQ(out("queue retry failed nobody", 1),
            "failed is due\nnobody does not wait in the queue\n");
  EXPECT_EQ(json::parse(out("queue stats --json"))["due"], 1);
}

TEST_F(CtlQueue, StatsGroupTheErrorsAndNameTheLastSuccess) {
  sql(db_,
      "UPDATE vorn_sync_queue SET last_error='away', attempt_count=1 WHERE event_id<>'failed';"
      "INSERT INTO vorn_sync_queue(event_id, payload, status, created_at, sent_at) VALUES('s', "
      "'{}', 'sent', 't', '2026-01-01T00:00:00Z')");
  const json stats = json::parse(out("queue stats --json"));
  EXPECT_EQ(
      stats["errors"],
      (json{{{"error", "away"}, {"count", 2}, {"oldest", "2020-01-01T00:00:00Z"}},
            {{"error", "no route"}, {"count", 1}, {"oldest", stats["errors"][1]["oldest"]}}}));
  EXPECT_EQ(stats["last_success_at"], "2026-01-01T00:00:00Z");
  EXPECT_EQ(stats["failed"], 3);
  EXPECT_EQ(out("queue watch"), out("queue stats"));
}

TEST_F(CtlQueue, ACheckIsOneLineAndAStatus) {
  const struct {
    const char* words;
    int status;
    const char* part;
  } rows[] = {
      {"", 1, "breach: the oldest event waits for "},
      {"--max-age 999999999", 0, "ok: 3 events wait, the oldest for "},
      {"--max-age 999999999 --max-pending 2", 1, "breach: 3 events wait, more than 2"},
      {"--max-age 999999999 --max-pending 3 --max-failed 0", 1,
       "1 events have failed, more than 0"},
      {"--max-age 999999999 --max-failed 1", 0, "ok: "},
  };
  for (const auto& row : rows) {
    const std::string line = out(std::string("queue check ") + row.words, row.status);
    EXPECT_NE(line.find(row.part), std::string::npos) << row.words << line;
    EXPECT_EQ(std::ranges::count(line, '\n'), 1) << line;
  }
  expect_one_error(run("queue check --max-age soon"), 2, "is no duration");
}

TEST_F(CtlQueue, MetricsAreWrittenWholeForEverybody) {
  sql(db_, "CREATE TABLE \"odd\"\"\\name\"(a)");
  out("store maintain");
  const fs::path file = scene_.dir / "metrics.prom";
  EXPECT_EQ(out("metrics --output \"${dir}metrics.prom\""), "");
  EXPECT_EQ(mode_of(file), 0644U);
  const std::string text = read_text_file(file);
  for (const char* line :
       {"# TYPE zunol_monitoring_queue_pending gauge\nzunol_monitoring_queue_pending 3\n",
        "\nzunol_monitoring_queue_failed_often 1\n", "\nzunol_monitoring_queue_due 2\n",
        "\nzunol_monitoring_store_rows{table=\"odd\\\"\\\\name\"} 0\n",
        "\nzunol_monitoring_last_maintenance_timestamp_seconds "}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  }
  EXPECT_EQ(text.find("last_success"), std::string::npos);
}

TEST(EventStream, AnswersEachLineOnceItsEventIsOnTheDisk) {
  const CtlScene scene;
  scene.configure();
  std::string input;
  std::vector<json> answers;
  const struct {
    const char* line;
    json answer;
  } rows[] = {
      {R"({"type": "test_event", "id": "a", "data": {"x": 1}})",
       {{"event_id", "a"}, {"queued", true}}},
      {R"({"type": "test_event", "id": "a"})", {{"event_id", "a"}, {"queued", false}}},
      {R"({"type": "nonsense"})", {{"error", "invalid event: unknown event type: nonsense"}}},
      {R"({"level": "info"})",
       {{"error", "invalid event: field must be a non-empty string: type"}}},
      {R"({"type": 5})", {{"error", "type is no text"}}},
      {R"([1])", {{"error", "the line is no JSON object"}}},
      {R"({"type": "test_event", "id": "b", "level": "critical", "data": 7})",
       {{"event_id", "b"}, {"queued", true}}},
  };
  for (const auto& row : rows) {
    input += std::string(row.line) + '\n';
    answers.push_back(row.answer);
  }
  input += "no JSON\n" + std::string(17000000, 'x') + "\n{\"type\": \"test_event\", \"id\": \"c\"}";
  scene.write("in", input);
  const ProcessResult result = scene.run_line("\"$ctl\" event stream <\"${dir}in\"");
  EXPECT_EQ(result.status, 1);
  std::istringstream lines(result.out);
  std::vector<json> given;
  for (std::string line; std::getline(lines, line);) given.push_back(json::parse(line));
  ASSERT_EQ(given.size(), 10U);
  EXPECT_TRUE(given[7]["error"].get<std::string>().starts_with("the data is no JSON: "));
  EXPECT_EQ(given[8], (json{{"error", "the line is larger than 16 MiB"}}));
  EXPECT_EQ(given[9], (json{{"event_id", "c"}, {"queued", true}}));
  given.resize(7);
  EXPECT_EQ(given, answers);
  EXPECT_EQ(sql(scene.dir / "state/agent.db",
                "SELECT group_concat(event_id), group_concat(json_extract(payload, '$.payload')) "
                "FROM (SELECT * FROM vorn_sync_queue ORDER BY rowid)"),
            "a,b,c|{\"x\":1},{\"value\":7},{}\n");
  // The sender of a line may wait for its answer before it sends the next one.
  EXPECT_EQ(
      scene
          .run_line(
              "mkfifo \"${dir}out\"; (printf '{\"type\": \"test_event\", \"id\": \"d\"}\\n{}'; "
              "read -r answer <\"${dir}out\"; echo \"$answer\" >\"${dir}answer\") | "
              "\"$ctl\" event stream >\"${dir}out\"; cat \"${dir}answer\"")
          .out,
      "{\"event_id\":\"d\",\"queued\":true}\n");
}

TEST(EventSend, TellsWhatItDoesNotQueueOrTake) {
  const CtlScene scene;
  scene.configure();
  EXPECT_EQ(scene.run({"event", "send", "test_event", "--id", "a"}).err, "");
  const ProcessResult again = scene.run({"event", "send", "test_event", "--id", "a"});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out, "a\n");
  EXPECT_NE(again.err.find("an event of this id is queued already"), std::string::npos);
  EXPECT_EQ(scene.run({"event", "send", "test_event", "--id", "a", "--json"}).out,
            "{\"event_id\":\"a\",\"queued\":false}\n");
  EXPECT_NE(scene.run({"event", "send", "test_event", "--data", R"({"server_name": "x"})"})
                .err.find("the key server_name of the data is dropped"),
            std::string::npos);
  for (const char* id : {"a/b", "a b", "\xc3\xa9"}) {
    expect_one_error(scene.run({"event", "send", "test_event", "--id", id}), 1,
                     "would share its marker with other ids");
  }
}
