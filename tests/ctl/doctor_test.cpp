// Commands doctor and why.
#include <unistd.h>

#include <fstream>

#include "tests/ctl/ctl_scene.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

namespace fs = std::filesystem;
using nlohmann::json;
using namespace zunol_monitoring;

namespace {

class Doctor : public Ctl {
 protected:
  Doctor() {
    configure_with();
    Config config;
    SqliteStore store(db);
    QueueingVornHistoryWriter writer(config, store);
    for (const char* id : {"good", "a_b"}) writer.enqueue("test_event", {{"event_id", id}});
    fs::permissions(db, fs::perms(0640));
    fs::permissions(db.parent_path(), fs::perms(0750));
  }
  /// A configuration that delivers into a ledger, with another value for one key of vorn.
  void configure_with(const std::string& key = "", const std::string& value = "") const {
    std::map<std::string, std::string> vorn = {
        {"queue_only", "false"},
        {"transport", "command"},
        {"history_block_id", "b"},
        {"append_command", ZUNOL_BIN_DIR "/zunol-vorn-append-event"},
        {"bridge_command", ZUNOL_SOURCE_DIR "/backends/sqlite-ledger " + ledger_}};
    if (!key.empty()) vorn[key] = value;
    std::string yaml = "vorn:\n";
    for (const auto& [name, text] : vorn) yaml += "  " + name + ": " + text + '\n';
    configure(yaml);
  }
  /// The obstacles that it tells are those with these parts, one each.
  void expect_obstacles(const std::string& what, const Texts& parts) const {
    const Texts lines = lines_of(out("doctor", parts.empty() ? 0 : 1));
    ASSERT_EQ(lines.size(), std::max<std::size_t>(parts.size(), 1)) << what << out("doctor", 1);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      expect_parts(lines[i], {parts[i], " -> "});
    }
    const std::string ok = "ok: nothing stands in the way of a delivery";
    EXPECT_EQ(lines[0] == ok, parts.empty()) << lines[0];
  }

  const std::string ledger_ = dir / "state/ledger.db";
};

}  // namespace

TEST_F(Doctor, NothingStandsInTheWayOfAHealthyHost) {
  expect_obstacles("", {});
  EXPECT_EQ(json_out("doctor"), (json{{"ok", true}, {"obstacles", json::array()}}));
  EXPECT_EQ(std::distance(fs::directory_iterator(db.parent_path()), {}), 1) << "it leaves nothing";
}

TEST_F(Doctor, EachObstacleIsALineWithItsRemedy) {
  sh("mkfifo \"${dir}fifo\"; mkdir \"${dir}directory\"; echo x >\"${dir}plain\"; : "
     ">\"${dir}empty\"; ln -s loop \"${dir}loop\"");
  for (const Texts& row : rows_of(R"(
enabled => false => vorn.enabled=false
queue_only => true => vorn.queue_only=true
max_batch => 0 => vorn.max_batch must be
history_block_id => '' => vorn.history_block_id is required
append_command => A=1 nowhere-to-be-found; true => the program nowhere-to-be-found is not found in PATH
append_command => $dir/none => vorn.append_command: $dir/none is not there
bridge_command => $dir/none => vorn.bridge_command: $dir/none is not there => vorn.wallet_file: /etc
append_command => $dir/plain zunol-vorn-append-event => $dir/plain is no program that this user can run: it belongs to 
bridge_command => nowhere-to-be-found => the program nowhere-to-be-found is not found => vorn.wallet_file: /etc/zunol/monitoring-agent/agent.vorn: No such file
bridge_command => sh -c x $dir/sqlite-ledger $dir/l.db => $dir/sqlite-ledger is not found
bridge_command => sqlite-ledger $dir/fifo => program sqlite-ledger is not found => the ledger: $dir/fifo is no regular file
bridge_command => sqlite-ledger $dir/loop => program sqlite-ledger is not found => Too many levels of symbolic links
bridge_command => sqlite-ledger $dir/config.yaml => program sqlite-ledger is not found => $dir/config.yaml: file is not a database -> mend it
wallet_file => $dir/fifo => $dir/fifo is no regular file
)",
                                  "=>")) {
    const auto filled = [&](std::string text) {
      for (std::size_t at = 0; (at = text.find("$dir")) != text.npos;) {
        text.replace(at, 4, dir.path().string());
      }
      return text;
    };
    configure_with(row.at(0), filled(row.at(1)));
    Texts parts;
    for (std::size_t i = 2; i < row.size(); ++i) parts.push_back(filled(row[i]));
    expect_obstacles(row[0] + ' ' + row[1], parts);
  }
  configure_with("transport", "spool\n  export_dir: " + (dir / "plain/spool").string());
  expect_obstacles("spool", {"plain/spool: Not a directory"});
}

TEST_F(Doctor, HostileStoresAreToldAndHangNothing) {
  const auto store_is = [&](const fs::path& path) {
    write("config.yaml", "storage: {local_db: " + path.string() +
                             "}\nvorn: {queue_only: false, "
                             "transport: command, append_command: 'true'}\n");
  };
  sh("mkfifo \"${dir}fifo\"; mkdir -m 750 \"${dir}directory\"; chmod 640 \"${dir}fifo\"");
  for (const char* name : {"fifo", "directory"}) {
    store_is(dir / name);
    expect_obstacles(name, {"it is no regular file"});
  }
  write("directory/agent.db", std::string(5000, 'x'));
  fs::permissions(dir / "directory/agent.db", fs::perms(0640));
  store_is(dir / "directory/agent.db");
  expect_obstacles("no database", {"file is not a database"});

  store_is(db);
  sql(db, "ALTER TABLE vorn_sync_queue DROP COLUMN sent_at; DROP INDEX idx_incidents_last_seen");
  expect_obstacles("old", {"lacks idx_incidents_last_seen and 1 more -> `store maintain`"});
  expect_one_error("queue show a", 1, "of an older version, which `store maintain` completes");
  out("store maintain");
  expect_obstacles("completed", {});
  // A page in the middle, which is one of the index, is lost.
  sql(db, "UPDATE vorn_sync_queue SET payload=hex(zeroblob(100000)); PRAGMA wal_checkpoint");
  std::fstream file(db, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(4096 * 8) << std::string(4096, 'x');
  file.close();
  expect_parts(out("doctor", 1), {"the store is damaged in "});
  fs::remove(dir / "config.yaml");
  expect_obstacles("no configuration", {"config not found"});
}

TEST_F(Doctor, EventsThatCannotPassAreCounted) {
  const auto now_is = [&](const std::string& change, const Texts& parts) {
    sql(db, "BEGIN; " + change + "; COMMIT");
    expect_obstacles(change.substr(0, 80), parts);
  };
  now_is(
      "UPDATE vorn_sync_queue SET created_at=strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '20 seconds')",
      {});
  now_is(
      "UPDATE vorn_sync_queue SET created_at=strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '2 days') "
      "WHERE event_id='good'",
      {" behind the newest row of the store"});
  now_is(
      "UPDATE vorn_sync_queue SET created_at='not a time', next_attempt_at='2999-01-01T00:00:00Z'",
      {"2 events wait for over an hour"});
  now_is(
      "UPDATE vorn_sync_queue SET next_attempt_at=''; INSERT INTO vorn_sync_queue(event_id, "
      "payload, created_at) VALUES('a:b', '{}', ''), ('other:', '{}', '')",
      {"2 pending events, such as a:b, have a marker that is another event's"});
  now_is("UPDATE vorn_sync_queue SET status='sent' WHERE event_id='a:b'",
         {"the pending event a_b has a marker that is"});
  now_is(
      "UPDATE vorn_sync_queue SET status='sent'; INSERT INTO vorn_sync_queue(event_id, payload, "
      "created_at) VALUES('" +
          std::string(253, 'i') + "', '{}', '')",
      {"iii has an id of more than 252 bytes"});
  now_is(
      "UPDATE vorn_sync_queue SET event_id=substr(event_id, 1, 252), payload=CAST(zeroblob("
      "16777216) AS TEXT) WHERE status='pending'",
      {});
  now_is(
      "UPDATE vorn_sync_queue SET payload=CAST(zeroblob(16777217) AS TEXT) WHERE "
      "status='pending'; INSERT INTO vorn_sync_queue(event_id, payload, created_at) VALUES("
      "'number', 1, ''), ('blob', x'00', '')",
      {"iii has more than 16 MiB"});
  const std::string long_id(200, 'i');
  expect_one_error("event send test_event --id " + std::string(253, 'i'), 1, "252 bytes");
  configure_with("transport", "spool\n  export_dir: " + (dir / "spool").string());
  expect_one_error("event send test_event --id " + long_id, 1, "longer than 186 bytes");
}

TEST_F(Doctor, TheLongestIdOfASpoolPasses) {
  configure_with("transport", "spool\n  export_dir: " + (dir / "spool").string());
  out("event send test_event --id " + std::string(186, 'i'));
  expect_parts(out("queue flush"), {"3 delivered, 0 failed"});
}

TEST_F(Doctor, AnotherUserIsToldWhatItMayNot) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  fs::permissions(dir.path(), fs::perms(0755));
  fs::permissions(dir / "config.yaml", fs::perms(0644));
  const std::string told =
      sh("setpriv --reuid=65534 --regid=65534 --clear-groups \"$ctl\" doctor").out;
  expect_parts(told, {"/state (Permission denied): it belongs to root, mode 0750 -> run this as "
                      "root, or give it to ",
                      "vorn-bridge-ledger: Permission denied -> ",
                      "Permission denied [" + db.string() + "] -> "});
  sh("chown 65534 \"${dir}state/agent.db\"");
  expect_parts(out("doctor", 1), {"who could not use the files that root makes -> "});
}

TEST_F(Doctor, WhyTellsTheStoryOfAnEvent) {
  const auto why = [&](const std::string& id, int status, const Texts& parts) {
    expect_parts(out("why " + id, status), parts);
  };
  why("good", 0,
      {"It was queued at 20", "It is due.\n", "It is not in the ledger ",
       "Nothing stands in its way: the next `queue flush` takes it.\n"});
  out("queue flush");
  why("good", 0,
      {"It was delivered at 20",
       "its marker is " + (dir / "state/vorn-bridge-ledger/good.ok").string(),
       "It is in the ledger " + ledger_ + ", row 1, since 20"});
  sql(db, R"(
INSERT INTO vorn_sync_queue(event_id, payload, created_at) SELECT 'a:b', replace(payload, 'a_b', 'a:b'),
  created_at FROM vorn_sync_queue WHERE event_id='a_b';
INSERT INTO vorn_sync_queue(event_id, payload, created_at) VALUES('bad', '{"a":1}', ''), ('worse', 'x', '');
UPDATE vorn_sync_queue SET attempt_count=2, last_error='no route', next_attempt_at='2999-01-01T00:00:00Z'
  WHERE event_id='bad';
UPDATE vorn_sync_queue SET status='pending', payload=payload||' ' WHERE event_id='good')");
  why("a:b", 1,
      {"a_b.ok is that of the event a_b, for which the append command takes it -> ",
       "both: a_b -> "});
  why("bad", 1,
      {"Failed attempts: 2, the last one with: no route\nIts next attempt comes at 2999",
       "refuses it: invalid event: missing required field: schema -> ",
       "it waits for its next attempt, in ", "as the clock was put back -> "});
  why("worse", 1, {"the append command refuses it: [json.exception.parse_error"});
  why("good", 1, {"has another event under its id -> "});
  expect_one_error("why nobody", 1, "no event nobody in the queue, among the markers");
  sql(db, "DELETE FROM vorn_sync_queue");
  why("good", 0, {"It is not in the queue: maintenance has pruned it", "row 1"});
  const json told = json::parse(out("why good --json"));
  EXPECT_EQ(told["status"], "unknown");
  EXPECT_EQ(told["obstacles"], json::array());
  EXPECT_EQ(told["story"].size(), 3U);
  sh("rm \"${dir}state/ledger.db\"; mkfifo \"${dir}state/ledger.db\"");
  why("good", 1, {"it is no regular file -> mend the ledger"});
}
