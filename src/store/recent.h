// What happened since a time, for a report. All of these are for StoreView::look, and the listings
// have two steps, as those of store/inspection.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/inspection.h"

namespace zunol_monitoring {

/// The first `limit` incidents that are not resolved: the worst first, of these those seen last.
RowIds open_incident_ids(sqlite3* db, int limit);
std::int64_t count_open_critical_incidents(sqlite3* db);

/// The newest entries of the journal since this time.
RowIds journal_ids_since(sqlite3* db, const std::string& since, int limit);
std::int64_t count_journal_since(sqlite3* db, const std::string& since);

/// One result of a check, as far as a chart of it needs.
struct ResultPoint {
  std::int64_t id = 0;
  std::string check_type;  ///< of this and the next two at most their first 100 characters
  std::string check_name;
  std::string target;
  bool failed = false;
  double value = 0;
  std::string created_at;
};

/// The first `limit` results since this time with ids below `before_id`, newest first.
std::vector<ResultPoint> result_points(sqlite3* db, const std::string& since,
                                       std::int64_t before_id, int limit);

}  // namespace zunol_monitoring
