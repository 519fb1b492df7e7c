#include "store/inspection.h"

#include <filesystem>

#include "store/statement.h"
#include "store/store_view.h"
#include "tests/store/store_scene.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/base/files.h"

using namespace zunol_monitoring;

namespace fs = std::filesystem;

namespace {

class Inspection : public StoreScene {
 protected:
  StoreView view() const { return StoreView(file_); }
  std::vector<PendingSyncRow> pending(int limit) const {
    return view().look(
        [limit](sqlite3* db) { return pending_rows(db, pending_row_ids(db, {}, limit), 0); });
  }
  void queue(const std::string& id, int age_sec, int attempts, int next_attempt_in_sec) {
    const auto now = std::chrono::system_clock::now();
    const auto at = [now](int sec) { return utc_timestamp_iso(now + std::chrono::seconds(sec)); };
    store_.enqueue_sync_event(id, "{}");
    query("UPDATE vorn_sync_queue SET created_at='" + at(-age_sec) +
          "', attempt_count=" + std::to_string(attempts) + ", next_attempt_at='" +
          (attempts == 0 ? "" : at(next_attempt_in_sec)) + "' WHERE event_id='" + id + '\'');
  }
};

}  // namespace

TEST_F(Inspection, StatsTellAgesFailuresAndWhatIsDue) {
  SyncQueueStats none = view().look(sync_queue_stats);
  EXPECT_EQ(none.pending + none.due + none.failed_often + none.by_age.back(), 0);
  EXPECT_EQ(none.oldest_pending_at + none.oldest_due_at, "");

  queue("new", 5, 0, 0);
  queue("failed", 500, 7, 100);
  queue("due again", 500, 8, -100);
  queue("hours", 10000, 9, 100);
  queue("weeks", 1000000, 1, 100);
  queue("sent", 2000000, 8, 0);
  store_.mark_sync_event_sent("sent");
  const SyncQueueStats stats = view().look(sync_queue_stats);
  EXPECT_EQ(stats.pending, 5);
  EXPECT_EQ(stats.due, 2);
  EXPECT_EQ(stats.failed_often, 2);
  EXPECT_EQ(stats.beyond_schedule, 0);
  EXPECT_EQ(stats.by_age, (std::array<std::int64_t, 7>{1, 2, 0, 1, 0, 0, 1}));
  EXPECT_EQ(stats.oldest_pending_at + '\n',
            query("SELECT created_at FROM vorn_sync_queue WHERE event_id='weeks'"));
  EXPECT_EQ(stats.oldest_due_at + '\n',
            query("SELECT created_at FROM vorn_sync_queue WHERE event_id='due again'"));

  EXPECT_TRUE(each(pending(3), &PendingSyncRow::event_id).starts_with("weeks hours "));
  EXPECT_EQ(pending(1).at(0).attempt_count, 1);
  EXPECT_EQ(view().look(count_pending_sync_rows), 5);
  queue("clock put back", 5, 1, 7200);
  EXPECT_EQ(view().look(sync_queue_stats).beyond_schedule, 1);
}

TEST_F(Inspection, LookingChangesNothing) {
  EXPECT_ANY_THROW(StoreView(dir_ / "nowhere.db"));
  EXPECT_FALSE(fs::exists(dir_ / "nowhere.db"));

  store_.append_journal("c", "a", "ok", "", "");
  StoreView looking = view();
  EXPECT_EQ(error_of([&] {
              looking.look([](sqlite3* db) {
                Statement(db, "DELETE FROM agent_journal").run();
                return 0;
              });
            }),
            "attempt to write a readonly database");
  const auto counted = looking.look(count_table_rows);
  EXPECT_EQ(each(counted, &TableRows::table),
            "agent_journal agent_state check_results config_migrations incident_events incidents "
            "notification_queue telegram_actions_cursor vorn_sync_queue ");
  EXPECT_EQ(each(counted, &TableRows::rows), "1 0 0 0 0 0 0 0 0 ");
}

TEST_F(Inspection, ALookFindsTheStoreByEveryNameOfIt) {
  queue("in the file", 5, 0, 0);
  const fs::path odd = dir_ / "a?b#c%41 d.db";
  const fs::path link = dir_ / "link.db";
  for (const bool in_use : {true, false}) {  // with the row in the -wal file, and in the database
    if (!in_use) store_.close();
    fs::create_symlink(file_, link);
    for (const fs::path& name : {file_, link, fs::path('/' + file_.string())}) {
      StoreView looking(name);
      EXPECT_EQ(looking.look(count_pending_sync_rows), 1) << name << in_use;
    }
    fs::remove(link);
  }
  fs::rename(file_, odd);
  EXPECT_EQ(StoreView(odd).look(count_pending_sync_rows), 1);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), {}), 1);
}

TEST_F(Inspection, WhatIsWrittenDuringALookIsReadAgain) {
  store_.close();
  StoreView looking = view();
  int looks = 0;
  const auto counted = looking.look([&](sqlite3* db) {
    if (++looks == 1) {  // another process starts, writes, rewrites the file and ends
      SqliteStore other(file_);
      for (const char* id : {"a", "b", "c"}) other.enqueue_sync_event(id, std::string(9000, 'x'));
      other.exec("VACUUM");
    }
    return count_pending_sync_rows(db);
  });
  EXPECT_EQ(counted, 3);
  EXPECT_EQ(looks, 2);

  const SqliteStore agent(file_);  // and one that stays: its -wal file is to be read from now on
  EXPECT_EQ(looking.look(count_pending_sync_rows), 3);
  EXPECT_EQ(
      error_of([&] {
        looking.look([&](sqlite3* db) { return Statement(db, "SELECT a FROM no_such").next(); });
      }),
      "no such table: no_such");
}

TEST_F(Inspection, ALongLookAtABusyJournalDatabaseIsNotRepeated) {
  store_.exec("PRAGMA journal_mode=DELETE");
  for (const bool while_writing : {false, true}) {
    if (while_writing) {
      store_.exec("BEGIN IMMEDIATE");
      store_.append_journal("c", "a", "ok", "", "");
    }
    StoreView looking = view();
    int looks = 0;
    looking.look([&](sqlite3* db) {
      if (++looks > 1) return 0;
      if (while_writing) store_.exec("ROLLBACK");
      store_.append_journal("c", "a", "ok", "", "");
      return static_cast<int>(count_pending_sync_rows(db));
    });
    EXPECT_EQ(looks, 1) << while_writing;
  }
  // A writer that was killed in the middle.
  store_.exec("PRAGMA cache_size=1; BEGIN IMMEDIATE");
  for (int i = 0; i < 100; ++i)
    store_.enqueue_sync_event(std::to_string(i), std::string(3000, 'x'));
  const fs::path cut = dir_ / "cut.db";
  for (const char* suffix : {"", "-journal"}) {
    fs::copy_file(file_.string() + suffix, cut.string() + suffix);
  }
  EXPECT_EQ(error_of([&] { StoreView(cut).look(count_pending_sync_rows); }),
            "a change was cut short, and the next one takes it back");
}

TEST_F(Inspection, ADamagedDatabaseIsNoEmptyOne) {
  for (int i = 0; i < 200; ++i) {
    store_.enqueue_sync_event("evt_" + std::to_string(i), std::string(1000, 'x'));
  }
  store_.close();
  std::string bytes = read_text_file(file_);
  std::fill(bytes.begin() + 40960, bytes.end(), '\xff');
  write_text_file(file_, bytes);
  EXPECT_EQ(error_of([&] { pending(1000); }), "database disk image is malformed");

  // The operations of a daemon return what they found, and say so.
  store_.open(file_);
  testing::internal::CaptureStderr();
  EXPECT_LT(store_.list_sync_events(1000, true).size(), 200U);
  const std::string logged = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(
      logged.ends_with(" ERROR store listing cut short: database disk image is malformed\n"))
      << logged;
}

TEST_F(Inspection, AFirstStartCutShortIsNoDatabaseOfOthers) {
  const auto kind_after = [&](const char* sql) {
    store_.exec(sql);
    return view().look(store_kind);
  };
  EXPECT_EQ(kind_after("DROP TABLE agent_state"), StoreKind::whole);
  EXPECT_EQ(kind_after("CREATE VIEW Agent_State AS SELECT 1"), StoreKind::foreign);
  EXPECT_EQ(kind_after("DROP VIEW agent_state; CREATE VIEW agent AS SELECT 1"), StoreKind::whole);
  EXPECT_EQ(kind_after("DROP VIEW agent; CREATE TABLE theirs(a)"), StoreKind::whole);  // a daemon's
  EXPECT_EQ(kind_after("DROP TABLE incidents"), StoreKind::foreign);
  EXPECT_EQ(kind_after("DROP TABLE theirs"), StoreKind::partial);
  EXPECT_EQ(kind_after("CREATE TABLE incidents(id, other)"), StoreKind::foreign);
  EXPECT_EQ(kind_after("DROP TABLE incidents"), StoreKind::partial);
  EXPECT_EQ(kind_after("CREATE VIEW incidents AS SELECT * FROM vorn_sync_queue"),
            StoreKind::foreign);
}
