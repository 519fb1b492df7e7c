// Notifications on their way out: the table notification_queue.
//
// A row is `pending` from its birth and through any number of failed attempts, until the agent
// marks it `sent` or gives it up as `expired`. Every enqueue is a new row, and the store computes
// no time of a next attempt. It does not guard the order of states either: marking an expired row
// sent makes it sent. Compaction deletes sent and expired rows; nothing ever deletes a pending one.
#pragma once

#include <string>

namespace zunol_monitoring {

/// One row as a listing returns it.
struct NotificationQueueItem {
  int id = 0;
  std::string kind;
  std::string payload;  ///< the agent's own, as is `kind`
  std::string status;   ///< "pending"; in the table also "sent" and "expired"
  int attempt_count = 0;
  std::string last_error;  ///< of the latest failure
  std::string created_at;
  friend bool operator==(const NotificationQueueItem&, const NotificationQueueItem&) = default;
};

}  // namespace zunol_monitoring
