#include "zunol_monitoring/store/notification_queue.h"

#include "tests/store/store_scene.h"
#include "zunol_monitoring/base/clock.h"

using namespace zunol_monitoring;

namespace {

using Notifications = StoreScene;

}  // namespace

TEST_F(Notifications, EveryEnqueueIsANewRow) {
  const std::string before = utc_timestamp_iso();
  store_.enqueue_notification("alert", "{\"text\":\"caf\xc3\xa9\"}");
  store_.enqueue_notification("alert", "{\"text\":\"caf\xc3\xa9\"}");
  query("UPDATE notification_queue SET created_at='2026-01-01T00:00:00Z' WHERE id=2");
  auto items = store_.list_pending_notifications(10);
  ASSERT_EQ(each(items, &NotificationQueueItem::id), "2 1 ");  // oldest first
  EXPECT_EQ(each(store_.list_pending_notifications(1), &NotificationQueueItem::id), "2 ");
  const std::string created_at = std::exchange(items[1].created_at, "");
  EXPECT_TRUE(before <= created_at && created_at <= utc_timestamp_iso()) << created_at;
  EXPECT_EQ(items[1], (NotificationQueueItem{1, "alert", "{\"text\":\"caf\xc3\xa9\"}", "pending"}));
}

TEST_F(Notifications, FailuresStayPendingAndTheOthersLeave) {
  const std::string before = utc_timestamp_iso();
  for (int i = 0; i < 5; ++i) store_.enqueue_notification("alert", "{}");
  store_.record_notification_failure(1, "first");
  store_.record_notification_failure(1, "second");
  store_.record_notification_failure(2, "refused");
  store_.mark_notification_sent(2);
  store_.expire_notification(3, "too old");
  EXPECT_EQ(each(store_.list_pending_notifications(10), &NotificationQueueItem::id), "1 4 5 ");
  const std::string rows =
      "SELECT status, attempt_count, last_error, CASE WHEN sent_at='' THEN '' WHEN sent_at>='" +
      before + "' AND sent_at<='" + utc_timestamp_iso() + "' THEN 'now' ELSE sent_at END FROM " +
      "notification_queue ORDER BY id";
  EXPECT_EQ(query(rows),
            "pending|2|second|\nsent|1|refused|now\nexpired|0|too old|now\n"
            "pending|0||\npending|0||\n");
  // The order of states is the caller's business.
  store_.mark_notification_sent(3);
  store_.record_notification_failure(2, "late");
  store_.expire_notification(2, "after all");
  EXPECT_EQ(query("SELECT status, attempt_count FROM notification_queue WHERE id IN (2, 3)"),
            "expired|2\nsent|0\n");
}

TEST_F(Notifications, NeitherNoRowNorNullsAreErrors) {
  store_.mark_notification_sent(9);
  store_.record_notification_failure(9, "x");
  store_.expire_notification(9, "x");
  EXPECT_EQ(query("SELECT count(*) FROM notification_queue"), "0\n");
  query(
      "DROP TABLE notification_queue; CREATE TABLE notification_queue(id INTEGER PRIMARY KEY, "
      "kind, "
      "payload, status, created_at); INSERT INTO notification_queue(status) VALUES('pending')");
  store_.apply_schema();
  const NotificationQueueItem empty = {.id = 1, .status = "pending"};
  EXPECT_EQ(store_.list_pending_notifications(1), std::vector{empty});
}
