// What the queue calls delivered, for those who compare it with where it was delivered to.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "store/inspection.h"

namespace zunol_monitoring {

/// All sent rows that the queue still has, oldest first.
RowIds sent_row_ids(sqlite3* db);

struct SentEvent {
  std::string event_id;
  std::string payload;
  std::string sent_at;
};
/// Those of the rows that are still there. Payloads are whole: few rows should be asked for at
/// once.
std::vector<SentEvent> sent_events(sqlite3* db, std::span<const std::int64_t> ids);

}  // namespace zunol_monitoring
