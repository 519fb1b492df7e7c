#include "store/sent_events.h"

#include "store/statement.h"

namespace zunol_monitoring {

RowIds sent_row_ids(sqlite3* db) {
  return Statement(
             db, "SELECT rowid FROM vorn_sync_queue WHERE status='sent' ORDER BY created_at, rowid")
      .row_ids();
}

std::vector<SentEvent> sent_events(sqlite3* db, std::span<const std::int64_t> ids) {
  Statement row(db,
                "SELECT event_id, payload, sent_at FROM vorn_sync_queue WHERE rowid=? AND "
                "status='sent'");
  return row.each(ids, [](const Statement& found) {
    return SentEvent{.event_id = found.text(0), .payload = found.text(1), .sent_at = found.text(2)};
  });
}

}  // namespace zunol_monitoring
