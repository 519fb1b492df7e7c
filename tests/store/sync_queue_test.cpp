#include "zunol_monitoring/store/sync_queue.h"

#include "tests/store/store_scene.h"
#include "zunol_monitoring/base/clock.h"

using namespace zunol_monitoring;

namespace {

class SyncQueue : public StoreScene {
 protected:
  std::string listed(int limit, bool include_not_due) {
    return each(store_.list_sync_events(limit, include_not_due), &VornSyncItem::event_id);
  }
  /// Moves the next attempt of every row, as if time had passed.
  void make_due() { query("UPDATE vorn_sync_queue SET next_attempt_at='2020-01-01T00:00:00Z'"); }
};

}  // namespace

TEST_F(SyncQueue, ANewRowIsPendingAndDue) {
  const std::string before = utc_timestamp_iso();
  store_.enqueue_sync_event("evt_1", "{\"a\":\"\xc3\xa9\"}");
  const auto items = store_.list_sync_events(10, false);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].event_id + items[0].payload + items[0].status + items[0].last_error,
            "evt_1{\"a\":\"\xc3\xa9\"}pending");
  EXPECT_EQ(items[0].attempt_count, 0);
  EXPECT_GE(items[0].created_at, before);
}

TEST_F(SyncQueue, SecondEnqueueOfAnIdChangesNothing) {
  store_.enqueue_sync_event("evt_1", "first");
  query("UPDATE vorn_sync_queue SET created_at='2020-01-01T00:00:00Z'");
  store_.enqueue_sync_event("evt_1", "second");
  EXPECT_EQ(query("SELECT payload, created_at FROM vorn_sync_queue"),
            "first|2020-01-01T00:00:00Z\n");
  store_.mark_sync_event_sent("evt_1");
  store_.enqueue_sync_event("evt_1", "third");
  EXPECT_EQ(query("SELECT payload, status FROM vorn_sync_queue"), "first|sent\n");
}

TEST_F(SyncQueue, ListsTheOldestFirstUpToTheLimit) {
  for (const char* id : {"c", "a", "b"}) store_.enqueue_sync_event(id, "{}");
  query(
      "UPDATE vorn_sync_queue SET created_at='2026-01-01T00:00:0' || "
      "CASE event_id WHEN 'b' THEN 1 WHEN 'c' THEN 2 ELSE 3 END || 'Z'");
  EXPECT_EQ(listed(10, false), "b c a ");
  EXPECT_EQ(listed(2, true), "b c ");
  EXPECT_EQ(listed(0, true), "");
}

TEST_F(SyncQueue, AFailedRowWaitsForItsTime) {
  store_.enqueue_sync_event("evt_1", "{}");
  store_.record_sync_failure("evt_1", "no route");
  EXPECT_EQ(listed(10, false), "");
  EXPECT_EQ(query("SELECT attempt_count, last_error FROM vorn_sync_queue"), "1|no route\n");
  EXPECT_EQ(listed(10, true), "evt_1 ");
  // Due from the very second on. "Now" may move on between the two calls, but never back.
  query("UPDATE vorn_sync_queue SET next_attempt_at='" + utc_timestamp_iso() + "'");
  EXPECT_EQ(listed(10, false), "evt_1 ");
}

TEST_F(SyncQueue, TheDelayDoublesUpToAnHour) {
  const int delays[] = {30, 60, 120, 240, 480, 960, 1920, 3600, 3600, 3600};
  store_.enqueue_sync_event("evt_1", "{}");
  for (int failures = 0; failures < 10; ++failures) {
    EXPECT_EQ(retry_delay_seconds(failures), delays[failures]);
    const auto then = [delay = std::chrono::seconds(delays[failures])] {
      return utc_timestamp_iso(std::chrono::system_clock::now() + delay);
    };
    const std::string before = then();
    store_.record_sync_failure("evt_1", "failure " + std::to_string(failures));
    const std::string next = query("SELECT next_attempt_at FROM vorn_sync_queue").substr(0, 20);
    EXPECT_TRUE(before <= next && next <= then()) << next;
  }
  EXPECT_EQ(query("SELECT status, attempt_count, last_error FROM vorn_sync_queue"),
            "pending|10|failure 9\n");
  EXPECT_EQ(retry_delay_seconds(1000000), 3600);
  EXPECT_EQ(retry_delay_seconds(-1), 30);
}

TEST_F(SyncQueue, SentKeepsTheAttemptsAndClearsTheRest) {
  store_.enqueue_sync_event("evt_1", "{}");
  store_.record_sync_failure("evt_1", "x");
  make_due();
  store_.mark_sync_event_sent("evt_1");
  EXPECT_EQ(query("SELECT status, attempt_count, next_attempt_at, last_error, length(sent_at) "
                  "FROM vorn_sync_queue"),
            "sent|1|||20\n");
  EXPECT_EQ(listed(10, true), "");
}

TEST_F(SyncQueue, NoRowIsNoError) {
  store_.mark_sync_event_sent("nobody");
  store_.record_sync_failure("nobody", "x");
  EXPECT_EQ(query("SELECT count(*) FROM vorn_sync_queue"), "0\n");
}

TEST_F(SyncQueue, HostileTextsAreOnlyValues) {
  const std::string id = "'; DROP TABLE vorn_sync_queue; --\n\xff";
  store_.enqueue_sync_event(id, std::string("{}\0lost", 7));
  store_.record_sync_failure(id, id);
  const auto items = store_.list_sync_events(10, true);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].event_id, id);
  EXPECT_EQ(items[0].payload, "{}");  // text ends at its first zero byte
  EXPECT_EQ(items[0].last_error, id);
  store_.enqueue_sync_event("", "");  // empty is not NULL
  EXPECT_EQ(store_.list_sync_events(10, true).size(), 2U);
}
