#include <nlohmann/json.hpp>
#include <thread>

#include "base/json_depth.h"
#include "history/drain.h"
#include "history/event_file.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/base/command_runner.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/base/log.h"
#include "zunol_monitoring/events/build_event.h"
#include "zunol_monitoring/events/event_envelope.h"
#include "zunol_monitoring/history/queueing_history_writer.h"
#include "zunol_monitoring/history/spool_export.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;
using nlohmann::json;

namespace {

class HistoryWriter : public testing::Test {
 protected:
  HistoryWriter() {
    config_.vorn.queue_only = false;
    config_.vorn.transport = "spool";
    config_.vorn.export_dir = spool_;
    fs::create_directory(dir_ / "tmp");
  }

  void deliver_by(const std::string& command) {
    config_.vorn.transport = "command";
    config_.vorn.append_command = command;
  }
  void enqueue(const std::string& id) { writer_.enqueue("test_event", {{"event_id", id}}); }
  /// Delivers a batch that must fail, and gives what it logs.
  std::string failing_flush(const FlushLimits& limits = {}) {
    return log_of([&] { EXPECT_EQ(writer_.flush(limits), 0); });
  }
  /// The status and attempts of each row, oldest first.
  std::string rows() const {
    return query(
        "SELECT group_concat(status || attempt_count, ' ') FROM (SELECT * FROM "
        "vorn_sync_queue ORDER BY rowid)");
  }
  std::string query(const std::string& text) const { return sql(file_, text); }
  void make_due() const {
    query(
        "UPDATE vorn_sync_queue SET next_attempt_at='2020-01-01T00:00:00Z' "
        "WHERE next_attempt_at<>''");
  }
  /// What `action` logs, without the times.
  template <class Action>
  static std::string log_of(Action action) {
    testing::internal::CaptureStderr();
    action();
    std::string log;
    for (const std::string& line : lines_of(testing::internal::GetCapturedStderr())) {
      const bool has_time = line.size() > 20 && line[10] == 'T' && line[19] == 'Z';
      log += line.substr(has_time ? 21 : 0) + '\n';
    }
    return log;
  }
  std::size_t files_in(const fs::path& directory) const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
  }

  const TempDir dir_;
  const fs::path file_ = dir_ / "agent.db";
  const fs::path spool_ = dir_ / "spool";
  const EnvGuard tmpdir_{"TMPDIR", (dir_ / "tmp").c_str()};
  Config config_;
  SqliteStore store_{file_};
  QueueingVornHistoryWriter writer_{config_, store_};
};

}  // namespace

TEST(VornHistoryWriter, IsTwoOperationsForAHostsOwn) {
  struct : VornHistoryWriter {
    void enqueue(const std::string& type, const json&) override { types.push_back(type); }
    int flush() override { return static_cast<int>(types.size()); }
    std::vector<std::string> types;
  } own;
  VornHistoryWriter& writer = own;
  writer.enqueue(event_type::test_event, {});
  EXPECT_EQ(writer.flush(), 1);
}

TEST_F(HistoryWriter, EnqueueKeepsTheCompactEvent) {
  config_.vorn.queue_only = true;  // the flush's concern alone
  config_.agent.id = "é";
  writer_.enqueue("check_failed", {{"event_id", "evt_1"}, {"created_at", "t"}, {"disk", "/"}});
  EXPECT_EQ(query("SELECT event_id, payload FROM vorn_sync_queue"),
            "evt_1|{\"agent_id\":\"é\",\"created_at\":\"t\",\"event_id\":\"evt_1\","
            "\"level\":\"info\",\"payload\":{\"disk\":\"/\"},\"project_id\":\"project_local\","
            "\"schema\":\"zunol.monitoring.event.v1\",\"server_name\":\"localhost\","
            "\"type\":\"check_failed\"}\n");
}

TEST_F(HistoryWriter, EnqueueDropsWhatTheJudgeRefusesWithOneLine) {
  for (const Texts& row : rows_of(R"(
nonsense => 1 => unknown event type: nonsense
test_event => {"payload": 3} => payload must be a JSON object
test_event => {"level": "loud"} => level must be info, warning or critical
test_event => {"event_id": ""} => field must be a non-empty string: event_id
)",
                                  "=>")) {
    const json data = json::parse(row.at(1));
    EXPECT_EQ(log_of([&] { writer_.enqueue(row[0], data); }),
              "ERROR invalid vorn history event: " + row[2] + '\n');
    const EnqueueResult result = writer_.try_enqueue(row[0], data);
    EXPECT_EQ(result.refusal, row[2]);
    EXPECT_EQ(validate_event(build_event(config_, row[0], data)), row[2]);
    EXPECT_EQ(result.event_id, "");
  }
  EXPECT_EQ(query("SELECT count(*) FROM vorn_sync_queue"), "0\n");
}

TEST_F(HistoryWriter, EnqueueRaisesWhatItCannotQueue) {
  EXPECT_THROW(writer_.enqueue("test_event", "\xff"), json::exception);
  EXPECT_EQ(error_of([&] { enqueue(std::string("a\0b", 3)); }), "event_id holds a zero byte");
  std::string deep(1000000, '[');
  deep.append(1000000, ']');
  const json data = json::parse(deep);
  EXPECT_EQ(error_of([&] { writer_.enqueue("test_event", data); }),
            "event data is nested more than 500 levels deep");
  const json deepest =
      json::parse(std::string(max_data_depth, '[') + std::string(max_data_depth, ']'));
  writer_.enqueue("test_event", deepest);
  EXPECT_EQ(query("SELECT count(*) FROM vorn_sync_queue"), "1\n");
}

TEST_F(HistoryWriter, TheQueuedTextIsThatOfTheBuiltEvent) {
  for (const std::string& row : lines_of(R"(5
null
[1,2]
"text"
{}
{"value":null}
{"payload":null}
{"payload":{"a":[1.5,"\u00e9\n"]},"level":"critical"}
{"payload":{},"extra":1}
{"level":7,"type":"x","schema":1,"agent_id":2,"zeta":{"b":1,"a":2},"event":3}
{"created_at":"\u2028","server_name":"s","disk":"/","used_percent":91.5})")) {
    json data = json::parse(row);
    if (data.is_object()) data["event_id"] = "evt \"1\"";
    const json before = data;
    const EnqueueResult result = writer_.try_enqueue("test_event", data);
    EXPECT_FALSE(result.refusal) << row;
    EXPECT_EQ(data, before);
    const VornSyncItem item = store_.list_sync_events(1, true).at(0);
    EXPECT_EQ(item.event_id, result.event_id);
    json made = build_event(config_, "test_event", data);
    for (const char* key : {"event_id", "created_at"}) made[key] = json::parse(item.payload)[key];
    EXPECT_EQ(item.payload, made.dump()) << row;
    query("DELETE FROM vorn_sync_queue");
  }
}

TEST_F(HistoryWriter, DisabledDoesNothingAndQueueOnlyNoFlush) {
  config_.vorn.queue_only = true;
  enqueue("evt_1");
  EXPECT_EQ(failing_flush(), "");
  config_.vorn.queue_only = false;
  config_.vorn.enabled = false;
  EXPECT_EQ(log_of([&] {
              enqueue("evt_2");
              writer_.enqueue("nonsense", 1);
              store_.close();  // not even read
              EXPECT_EQ(writer_.flush(), 0);
            }),
            "");
  EXPECT_EQ(query("SELECT event_id, status, attempt_count, next_attempt_at FROM vorn_sync_queue"),
            "evt_1|pending|0|\n");
}

TEST_F(HistoryWriter, FlushTakesOneBatch) {
  EXPECT_EQ(writer_.flush(), 0);  // an empty queue
  for (int i = 0; i < 105; ++i) enqueue("evt_" + std::to_string(i));
  config_.vorn.max_batch = 3;
  EXPECT_EQ(writer_.flush(), 3);
  config_.vorn.max_batch = 0;  // counts as 100
  EXPECT_EQ(writer_.flush(), 100);
  EXPECT_EQ(writer_.flush(), 2);
  EXPECT_EQ(files_in(spool_), 105U);
}

TEST_F(HistoryWriter, SpoolFilesAreCompleteAndSharedWithTheGroup) {
  enqueue("a/b:c");
  query("UPDATE vorn_sync_queue SET created_at='2026-11-19T02:58:20Z'");
  fs::create_directory(spool_);
  fs::permissions(spool_, fs::perms::all);
  EXPECT_EQ(writer_.flush(), 1);
  const fs::path file = spool_ / "2026-11-19T02_58_20Z_a_b_c.json";
  EXPECT_EQ(read_text_file(file), query("SELECT payload FROM vorn_sync_queue"));
  EXPECT_EQ(mode_of(file), 0640U);
  EXPECT_EQ(mode_of(spool_), 0750U);

  // A second delivery of the row replaces the file.
  write_text_file(file, "earlier");
  query("UPDATE vorn_sync_queue SET status='pending'");
  EXPECT_EQ(writer_.flush(), 1);
  EXPECT_EQ(read_text_file(file), query("SELECT payload FROM vorn_sync_queue"));
  EXPECT_EQ(files_in(spool_), 1U);
}

TEST_F(HistoryWriter, SpoolNamesWithoutATimeOrAnId) {
  VornSyncItem item;
  item.payload = "{}";
  export_spool_file(config_.vorn, item);
  const std::string name = fs::directory_iterator(spool_)->path().filename();
  EXPECT_EQ(name.size(), 16 + std::string("_item.json").size());
  EXPECT_TRUE(name.ends_with("Z_item.json")) << name;
}

TEST_F(HistoryWriter, AFailingSpoolKeepsTheRowAndTheEarlierFile) {
  enqueue("evt_1");
  write_text_file(spool_, "a file in the way");
  EXPECT_TRUE(failing_flush().starts_with(
      "WARN vorn event flush failed event_id=evt_1 error=filesystem error:"));
  fs::remove(spool_);
  make_due();
  EXPECT_EQ(writer_.flush(), 1);

  query("UPDATE vorn_sync_queue SET status='pending', created_at='t'");
  fs::create_directory(spool_ / "t_evt_1.json");  // the rename fails
  failing_flush();
  EXPECT_EQ(rows(), "pending2\n");
}

TEST_F(HistoryWriter, TheCommandGetsThePrivateEventAndLosesIt) {
  const std::string seen = dir_ / "seen";
  config_.path = "/etc/it's.yaml";
  deliver_by(
      "sh -c 'stat -c %a \"$ZUNOL_VORN_EVENT_FILE\"; cat \"$ZUNOL_VORN_EVENT_FILE\"; "
      "echo \"$ZUNOL_VORN_EVENT_ID $ZUNOL_MONITORING_CONFIG\"' >" +
      seen);
  enqueue("it's $HOME");
  EXPECT_EQ(log_of([&] { EXPECT_EQ(writer_.flush(), 1); }), "");
  EXPECT_EQ(read_text_file(seen),
            "600\n" + query("SELECT payload FROM vorn_sync_queue") + "it's $HOME /etc/it's.yaml\n");
  EXPECT_EQ(files_in(dir_ / "tmp"), 0U);
}

TEST_F(HistoryWriter, WithoutAFileTheCommandGetsNoConfiguration) {
  const EnvGuard unset("ZUNOL_MONITORING_CONFIG");
  deliver_by("sh -c '[ -z \"${ZUNOL_MONITORING_CONFIG+set}\" ]'");
  enqueue("evt_1");
  EXPECT_EQ(writer_.flush(), 1);
}

TEST_F(HistoryWriter, AFailedRowDoesNotStopTheBatch) {
  deliver_by("sh -c '[ \"$ZUNOL_VORN_EVENT_ID\" != b ] || { echo boom; exit 3; }'");
  for (const char* id : {"a", "b", "c"}) enqueue(id);
  EXPECT_EQ(log_of([&] { EXPECT_EQ(writer_.flush(), 2); }),
            "WARN vorn event flush failed event_id=b error=append_command failed: boom\n\n");
  EXPECT_EQ(rows(), "sent0 pending1 sent0\n");
  EXPECT_EQ(store_.list_sync_events(1, true).at(0).last_error, "append_command failed: boom\n");
  EXPECT_EQ(files_in(dir_ / "tmp"), 0U);
  EXPECT_EQ(writer_.flush(), 0);  // not due yet
  deliver_by("true");
  make_due();
  EXPECT_EQ(writer_.flush(), 1);
}

TEST_F(HistoryWriter, ADrainTakesEachRowThatIsDueOnce) {
  deliver_by("sh -c 'case $ZUNOL_VORN_EVENT_ID in b*) exit 1; esac'");
  for (const char* id : {"a", "b", "c", "waits", "blob", "zero"}) enqueue(id);
  query(
      // Taken for the event a, these would mark it without its delivery.
      "UPDATE vorn_sync_queue SET event_id=CAST('a' AS BLOB) WHERE event_id='blob';"
      "UPDATE vorn_sync_queue SET event_id='a'||char(0) WHERE event_id='zero';"
      "UPDATE vorn_sync_queue SET next_attempt_at='2020-01-01T00:00:00Z' WHERE event_id='c';"
      "UPDATE vorn_sync_queue SET next_attempt_at='2999-01-01T00:00:00Z' WHERE event_id='waits';"
      "UPDATE vorn_sync_queue SET created_at='2019-01-01T00:00:00Z' WHERE event_id='c'");
  std::string told;
  const Drain drain{.tell = [&](const VornSyncItem& row, const auto& failure) {
    told += row.event_id + (failure ? "! " : " ");
    enqueue("late " + row.event_id);
    make_due();  // what failed is due again by now, but not in this drain
    return true;
  }};
  EXPECT_EQ(gather_due_rows(store_, false), 5);
  drain_due_rows(config_, store_, drain);
  EXPECT_EQ(told, "c a b! a! a! ");
  EXPECT_TRUE(rows().starts_with("sent0 pending1 sent0 pending0 pending1 pending1 ")) << rows();

  told.clear();
  deliver_by("true");
  EXPECT_EQ(gather_due_rows(store_, true), 7);
  drain_due_rows(config_, store_, drain);
  EXPECT_EQ(told, "b waits a! a! late c late a late b ");
}

TEST_F(HistoryWriter, EventFilesOfKilledFlushesAreRemovedOnceNoProcessNeedsThem) {
  const fs::path tmp = dir_ / "tmp";
  for (const char* name : {"vorn-event_old.json", "vorn-event_used.json", "vorn-event_new.json",
                           "vorn-event_else", "other_old.json"}) {
    write_text_file(tmp / name, "{}");
  }
  fs::create_symlink(tmp / "other_old.json", tmp / "vorn-event_link.json");
  run_shell_line("touch -h -d '2 hours ago' " + tmp.string() + "/*; touch " +
                 (tmp / "vorn-event_new.json").string());
  const std::jthread user([&] {
    run_process({"/bin/sleep", "1"}, {{"ZUNOL_VORN_EVENT_FILE", tmp / "vorn-event_used.json"}});
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  remove_left_event_files();
  EXPECT_FALSE(fs::exists(tmp / "vorn-event_old.json"));
  EXPECT_EQ(files_in(tmp), 5U);
  const EnvGuard nowhere("TMPDIR", (dir_ / "nowhere").c_str());
  EXPECT_NO_THROW(remove_left_event_files());
}

TEST_F(HistoryWriter, EachFailureIsTheRowsReason) {
  const auto expect_reason = [&](const std::string& reason) {
    query("DELETE FROM vorn_sync_queue");
    enqueue("evt_1");
    failing_flush();
    const VornSyncItem item = store_.list_sync_events(1, true).at(0);
    EXPECT_EQ(item.last_error.substr(0, reason.size()), reason);
    EXPECT_EQ(item.attempt_count, 1);
  };
  config_.vorn.transport = "Spool";
  expect_reason("vorn transport is queue-only");
  deliver_by("/nowhere/at/all");
  expect_reason("append_command failed: ");
  deliver_by(": " + std::string(200000, 'x'));  // a line beyond the system's limit
  expect_reason("cannot run command");
  deliver_by("sh -c 'head -c 1000000 /dev/zero | tr \"\\0\" x; exit 1'");
  expect_reason("append_command failed: " + std::string(1000000, 'x'));
  deliver_by("true");
  fs::remove(dir_ / "tmp");
  expect_reason("filesystem error: temp_directory_path: ");
  fs::create_directory(dir_ / "tmp");
  make_due();
  EXPECT_EQ(writer_.flush(), 1);
}

TEST_F(HistoryWriter, AFullDiskKeepsTheRowAndLeavesNoEventFile) {
  if (run_shell_line("mount -t tmpfs -o size=64k none " + (dir_ / "tmp").string()) != 0) {
    GTEST_SKIP() << "needs the right to mount a small file system";
  }
  writer_.enqueue("test_event", {{"event_id", "evt_1"}, {"text", std::string(100000, 'x')}});
  deliver_by("true");
  expect_parts(failing_flush(), {"WARN vorn event flush failed event_id=evt_1 error=cannot write " +
                                 (dir_ / "tmp/vorn-event_").string()});
  EXPECT_EQ(files_in(dir_ / "tmp"), 0U);

  config_.vorn.transport = "spool";
  config_.vorn.export_dir = dir_ / "tmp/spool";
  make_due();
  failing_flush();
  for (const auto& entry : fs::directory_iterator(config_.vorn.export_dir)) {
    EXPECT_NE(entry.path().string().find(".json.tmp.vorn_"), std::string::npos) << entry.path();
  }
  run_shell_line("umount " + (dir_ / "tmp").string());
  make_due();
  EXPECT_EQ(writer_.flush(), 1);
}

TEST_F(HistoryWriter, ARefusedMarkCountsAsAFailureAndAQueueThatIsNotKeptRaises) {
  enqueue("evt_1");
  const std::string trigger = "CREATE TRIGGER refuse BEFORE UPDATE ON vorn_sync_queue ";
  store_.exec(trigger + "WHEN NEW.status='sent' BEGIN SELECT RAISE(ABORT, 'no marks today'); END");
  EXPECT_EQ(failing_flush(), "WARN vorn event flush failed event_id=evt_1 error=no marks today\n");
  EXPECT_EQ(rows(), "pending1\n");
  make_due();
  store_.exec("DROP TRIGGER refuse");
  store_.exec(trigger + "BEGIN SELECT RAISE(ABORT, 'read-only'); END");
  EXPECT_EQ(error_of([&] { writer_.flush(); }), "read-only");
  store_.exec("DROP TABLE vorn_sync_queue");
  EXPECT_EQ(error_of([&] { writer_.flush(); }), "no such table: vorn_sync_queue");
  store_.close();
  EXPECT_FALSE(fs::exists(file_.string() + "-wal"));
  EXPECT_EQ(error_of([&] { enqueue("evt_1"); }), "the store is closed");
  EXPECT_EQ(error_of([&] { writer_.flush(); }), "the store is closed");
}

TEST_F(HistoryWriter, ALogThatFailsEndsTheFlushAndKeepsTheRest) {
  deliver_by("printf '\\377'; false");
  for (const char* id : {"a", "b"}) enqueue(id);
  set_log_json(true);  // in which a text that is no UTF-8 cannot be written
  EXPECT_ANY_THROW(writer_.flush());
  set_log_json(false);
  EXPECT_EQ(rows(), "pending1 pending0\n");
  EXPECT_EQ(files_in(dir_ / "tmp"), 0U);
}

TEST_F(HistoryWriter, ACommandBeyondItsTimeIsEndedWithAllOfItsGroup) {
  using std::chrono::milliseconds;
  const std::string pids = dir_ / "pids";
  // What hangs, hides behind a child, closes its output or never stops printing.
  for (const std::string tail :
       {"; sleep 60", "; sleep 60' & true", "; exec >&- 2>&-; sleep 60", "; yes"}) {
    deliver_by((tail.find('\'') == tail.npos ? "" : "sh -c '") + ("echo $$ >>" + pids + tail));
    query("DELETE FROM vorn_sync_queue");
    enqueue("evt_1");
    EXPECT_EQ(
        failing_flush({.command_time = milliseconds(300)}),
        "WARN vorn event flush failed event_id=evt_1 error=append_command ended after its time "
        "limit of 300 ms\n");
    EXPECT_EQ(files_in(dir_ / "tmp"), 0U);
  }
  const Texts lines = lines_of(read_text_file(pids));
  EXPECT_EQ(lines.size(), 4U);
  for (const std::string& pid : lines) {
    // What no one waits for stays as a zombie.
    EXPECT_NE(run_shell_line("grep -q '^State:.[^ZX]' /proc/" + pid + "/status 2>/dev/null"), 0)
        << pid;
  }

  // Within its time a command says what it would say without a limit.
  deliver_by("echo boom; yes | head -c 200000; exit 3");
  make_due();
  failing_flush({.command_time = milliseconds(60000)});
  const std::string error = query("SELECT last_error FROM vorn_sync_queue");
  EXPECT_TRUE(error.starts_with("append_command failed: boom\ny\n")) << error.substr(0, 80);
  EXPECT_NE(error.find("\n[134469 bytes left out]\ny\n"), std::string::npos) << error.size();
}

TEST_F(HistoryWriter, AFlushThatIsStoppedEndsBehindTheRowOnItsWay) {
  std::stop_source stop;
  deliver_by("touch " + (dir_ / "begun").string() + "; sleep 0.5");
  for (const char* id : {"a", "b", "c"}) enqueue(id);
  const std::jthread stopper([&] {
    while (!fs::exists(dir_ / "begun")) std::this_thread::yield();
    stop.request_stop();
  });
  EXPECT_EQ(writer_.flush({.stop = stop.get_token()}), 1);
  EXPECT_EQ(rows(), "sent0 pending0 pending0\n");
}

TEST_F(HistoryWriter, TheEventFileIsClosedBeforeTheCommandRuns) {
  // The shell's parents are the runner's shell and this process: none has the file open.
  deliver_by("ls -l /proc/" + std::to_string(getpid()) + "/fd | grep -c vorn-event >" +
             (dir_ / "open").string() + "; true");
  enqueue("evt_1");
  EXPECT_EQ(writer_.flush(), 1);
  EXPECT_EQ(read_text_file(dir_ / "open"), "0\n");
}

TEST_F(HistoryWriter, ADropBoxThatMayNotBeReadTakesTheEvent) {
  constexpr unsigned nobody = 65534;
  if (getuid() != 0) GTEST_SKIP() << "needs another user to write as";
  fs::permissions(dir_.path(), fs::perms(0711));
  fs::create_directory(spool_);
  fs::permissions(spool_, fs::perms(0730));
  ASSERT_EQ(chown(spool_.c_str(), 0, nobody), 0);
  const VornSyncItem item{.event_id = "evt_1", .payload = "{}", .created_at = "t"};
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(nobody) != 0 || setuid(nobody) != 0) _exit(2);
    const auto error = error_of([&] {
      export_spool_file(config_.vorn, item);
      config_.vorn.export_dir = spool_ / "below";
      export_spool_file(config_.vorn, item);
    });
    _exit(error ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(mode_of(spool_ / "t_evt_1.json"), 0640U);
  EXPECT_EQ(mode_of(spool_ / "below/t_evt_1.json"), 0640U);
  config_.vorn.export_dir = "";
  EXPECT_EQ(error_of([&] { export_spool_file(config_.vorn, item); }),
            error_of([&] { ensure_group_directory(""); }));
}

TEST_F(HistoryWriter, AReadOnlyExportDirectoryKeepsTheRow) {
  fs::create_directory(spool_);
  if (run_shell_line("mount -t tmpfs -o ro none " + spool_.string()) != 0) {
    GTEST_SKIP() << "needs the right to mount a small file system";
  }
  enqueue("evt_1");
  const std::string log = failing_flush();
  run_shell_line("umount " + spool_.string());
  expect_parts(
      log, {"WARN vorn event flush failed event_id=evt_1 error=cannot write " + spool_.string()});
  make_due();
  EXPECT_EQ(writer_.flush(), 1);
}

TEST_F(HistoryWriter, ALockedDatabaseIsWaitedForAndTheRowKeptBeyondThat) {
  for (const bool waits_long_enough : {true, false}) {
    enqueue("evt_1");
    query("UPDATE vorn_sync_queue SET status='pending'");
    // What the 10 seconds would come to, without spending them.
    if (!waits_long_enough) store_.exec("PRAGMA busy_timeout=50");
    fs::remove(dir_ / "locked");
    const std::jthread other([&] {
      run_process({"/bin/sh", "-c",
                   "printf 'BEGIN IMMEDIATE;\n.shell touch " + (dir_ / "locked").string() +
                       "\n.shell sleep 1\nCOMMIT;\n' | sqlite3 " + file_.string()},
                  {{"PATH", "/usr/bin:/bin"}});
    });
    while (!fs::exists(dir_ / "locked")) std::this_thread::yield();
    if (waits_long_enough) {
      EXPECT_EQ(writer_.flush(), 1);
    } else {
      EXPECT_EQ(error_of([&] { writer_.flush(); }), "database is locked");
    }
  }
  EXPECT_EQ(rows(), "pending0\n");
  EXPECT_EQ(writer_.flush(), 1);
}

TEST_F(HistoryWriter, TwoProcessesFlushAndOneEnqueuesWithoutLoss) {
  constexpr int events = 100;
  for (int i = 0; i < events; ++i) enqueue("early_" + std::to_string(i));
  const auto flush_until_empty = [&] {
    SqliteStore store(file_);
    QueueingVornHistoryWriter writer(config_, store);
    while (!store.list_sync_events(1, true).empty()) writer.flush();
  };
  EXPECT_EQ(log_of([&] {
              pid_t children[2];
              for (pid_t& child : children) {
                child = fork();
                if (child == 0) _exit(error_of(flush_until_empty) ? 1 : 0);
              }
              for (int i = 0; i < events; ++i) enqueue("late_" + std::to_string(i));
              for (const pid_t child : children) {
                int status = 0;
                waitpid(child, &status, 0);
                EXPECT_EQ(status, 0);
              }
            }),
            "");
  writer_.flush();
  EXPECT_EQ(query("SELECT status, count(*) FROM vorn_sync_queue GROUP BY 1"), "sent|200\n");
  EXPECT_EQ(files_in(spool_), 200U);
}
