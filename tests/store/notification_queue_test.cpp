#include "store/notification_queue.h"

#include <gtest/gtest.h>

#include "base/clock.h"
#include "tests/store/store_scene.h"

using namespace zunol_monitoring;

namespace {

using Notifications = StoreScene;

}  // namespace

TEST_F(Notifications, EveryEnqueueIsANewRow) {
  const std::string before = utc_timestamp_iso();
  store_.enqueue_notification("alert", "{\"text\":\"caf\xc3\xa9\"}");
  store_.enqueue_notification("alert", "{\"text\":\"caf\xc3\xa9\"}");
  query("UPDATE notification_queue SET created_at='2026-01-01T00:00:00Z' WHERE id=2");
  const auto items = store_.list_pending_notifications(10);
  ASSERT_EQ(each(items, &NotificationQueueItem::id), "2 1 ");  // oldest first
  EXPECT_EQ(each(store_.list_pending_notifications(1), &NotificationQueueItem::id), "2 ");
  EXPECT_EQ(items[1].kind, "alert");
  EXPECT_EQ(items[1].payload, "{\"text\":\"caf\xc3\xa9\"}");
  EXPECT_EQ(items[1].status, "pending");
  EXPECT_EQ(items[1].attempt_count, 0);
  EXPECT_EQ(items[1].last_error, "");
  EXPECT_GE(items[1].created_at, before);
}

TEST_F(Notifications, FailuresStayPendingAndTheOthersLeave) {
  for (int i = 0; i < 3; ++i) store_.enqueue_notification("alert", "{}");
  store_.record_notification_failure(1, "first");
  store_.record_notification_failure(1, "second");
  store_.record_notification_failure(2, "refused");
  store_.mark_notification_sent(2);
  store_.expire_notification(3, "too old");
  const auto items = store_.list_pending_notifications(10);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].attempt_count, 2);
  EXPECT_EQ(items[0].last_error, "second");
  EXPECT_EQ(query("SELECT status, attempt_count, last_error, length(sent_at) FROM "
                  "notification_queue ORDER BY id"),
            "pending|2|second|0\nsent|1|refused|20\nexpired|0|too old|20\n");
  store_.mark_notification_sent(3);  // the order of states is the caller's business
  EXPECT_EQ(query("SELECT status FROM notification_queue WHERE id=3"), "sent\n");
}

TEST_F(Notifications, NoRowIsNoError) {
  store_.mark_notification_sent(9);
  store_.record_notification_failure(9, "x");
  store_.expire_notification(9, "x");
  EXPECT_EQ(query("SELECT count(*) FROM notification_queue"), "0\n");
}
