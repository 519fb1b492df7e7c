#include "store/inspection.h"

#include <gtest/gtest.h>

#include "base/clock.h"
#include "base/files.h"
#include "tests/store/store_scene.h"

using namespace zunol_monitoring;

namespace {

class Inspection : public StoreScene {
 protected:
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
  SyncQueueStats none = store_.sync_queue_stats();
  EXPECT_EQ(none.pending + none.due + none.failed_often + none.by_age.back(), 0);
  EXPECT_EQ(none.oldest_pending_at + none.oldest_due_at, "");

  queue("new", 5, 0, 0);
  queue("failed", 500, 7, 100);
  queue("due again", 500, 8, -100);
  queue("hours", 10000, 9, 100);
  queue("weeks", 1000000, 1, 100);
  queue("sent", 2000000, 8, 0);
  store_.mark_sync_event_sent("sent");
  const SyncQueueStats stats = store_.sync_queue_stats();
  EXPECT_EQ(stats.pending, 5);
  EXPECT_EQ(stats.due, 2);
  EXPECT_EQ(stats.failed_often, 2);
  EXPECT_EQ(stats.by_age, (std::array<std::int64_t, 7>{1, 2, 0, 1, 0, 0, 1}));
  EXPECT_EQ(stats.oldest_pending_at + '\n',
            query("SELECT created_at FROM vorn_sync_queue WHERE event_id='weeks'"));
  EXPECT_EQ(stats.oldest_due_at + '\n',
            query("SELECT created_at FROM vorn_sync_queue WHERE event_id='due again'"));

  std::string listed;
  store_.visit_pending_sync_rows(3, [&](const PendingSyncRow& row) {
    listed += row.event_id + ' ' + std::to_string(row.attempt_count) + ' ';
  });
  EXPECT_TRUE(listed.starts_with("weeks 1 hours 9 ")) << listed;
}

TEST_F(Inspection, LookingChangesNothing) {
  SqliteStore looking;
  EXPECT_EQ(error_of([&] { looking.open_read_only(dir_ / "nowhere.db"); }),
            "unable to open database file");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "nowhere.db"));

  store_.exec("DROP INDEX idx_incidents_last_seen");
  store_.append_journal("c", "a", "ok", "", "");
  looking.open_read_only(file_);
  EXPECT_EQ(error_of([&] { looking.enqueue_sync_event("a", "b"); }),
            "attempt to write a readonly database");
  std::string counted;
  for (const TableRows& row : looking.count_table_rows()) {
    counted += row.table + ' ' + std::to_string(row.rows) + ' ';
  }
  EXPECT_EQ(counted,
            "agent_journal 1 agent_state 0 check_results 0 config_migrations 0 incident_events 0 "
            "incidents 0 notification_queue 0 telegram_actions_cursor 0 vorn_sync_queue 0 ");
  EXPECT_EQ(query("SELECT count(*) FROM sqlite_schema WHERE name='idx_incidents_last_seen'"),
            "0\n");
}

TEST_F(Inspection, ADamagedDatabaseIsNoEmptyOne) {
  for (int i = 0; i < 200; ++i) {
    store_.enqueue_sync_event("evt_" + std::to_string(i), std::string(1000, 'x'));
  }
  store_.close();
  std::string bytes = read_text_file(file_);
  std::fill(bytes.begin() + 40960, bytes.end(), '\xff');
  write_text_file(file_, bytes);
  SqliteStore looking;
  looking.open_read_only(file_);
  EXPECT_EQ(error_of([&] { looking.visit_pending_sync_rows(1000, [](const auto&) {}); }),
            "database disk image is malformed");
}
