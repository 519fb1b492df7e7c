// The durable outbox of the history writer: the table vorn_sync_queue and the road of one event on
// it.
//
// A row is `pending` or `sent`; nothing ever deletes a pending one. Who moves what, in this order:
//
//   1. enqueue inserts the row: pending. Before that the event is its caller's.
//   2. flush hands it to the transport.
//      spool: a file with ".tmp." in its name is written and synced, renamed to its final name, and
//      the directory synced. command: an event file is written, the command runs, the event file is
//      removed.
//   3. behind the command stands the append command: its backend appends, then the marker is
//      written.
//   4. flush marks the row sent. A failure of 2 to 4 leaves it pending, due again after a delay.
//   5. compaction deletes sent rows.
//
// A crash in 2 leaves a ".tmp." or event file that no one reads, or the final file, and the row
// pending. A crash between 2 and 4 repeats the delivery: the spool file gets the same name and
// content once more (the collector sees it again if it took the first), the marker ends the repeat,
// and before the marker the backend knows the id. So no event is lost, and a repeat is recognised
// by its id.
//
// File names and markers keep letters, digits, "-" and "." of an id. Ids that differ only in other
// bytes share a marker, and a spool file too when they are queued in the same second; the ids that
// the agent makes itself never do.
#pragma once

#include <string>

namespace zunol_monitoring {

/// One row as a listing returns it.
struct VornSyncItem {
  std::string event_id;
  std::string payload;  ///< the event's JSON text, without a line feed at its end
  std::string status;   ///< "pending" or "sent"
  int attempt_count = 0;
  std::string last_error;  ///< of the latest failure
  std::string created_at;  ///< when the row was queued
};

/// Seconds until the next attempt after `failures` earlier ones: 30, doubled each time, at most
/// 3600, so that a short outage clears within a minute and a long one costs one attempt an hour.
int retry_delay_seconds(int failures);

}  // namespace zunol_monitoring
