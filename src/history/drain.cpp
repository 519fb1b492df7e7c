#include "history/drain.h"

#include <stdexcept>

#include "store/due_rows.h"

namespace zunol_monitoring {
namespace {

constexpr int rows_of_a_step = 1000;

/// Another flush may have marked the row, and a maintenance taken it away: then all is well. A row
/// that still stands there has an id that no statement can name.
void require_marked(SqliteStore& store, std::int64_t id, const VornSyncItem& row) {
  if (mark_row_sent(store, row.event_id)) return;
  const auto left = find_due_row(store, id);
  if (left && left->event_id == row.event_id) {
    throw std::runtime_error("the row of this id cannot be marked");
  }
}

/// Why the row was not delivered, if it was not.
std::optional<std::string> try_row(const Config& config, SqliteStore& store, std::int64_t id,
                                   const VornSyncItem& row, const DeliveryLimits& limits) {
  try {
    deliver_event(config, row, limits);
    require_marked(store, id, row);
    return std::nullopt;
  } catch (const std::exception& error) {
    record_row_failure(store, row.event_id, error.what());
    return error.what();
  }
}

}  // namespace

std::int64_t gather_due_rows(SqliteStore& store, bool all) {
  while (make_rows_due(store, rows_of_a_step, all) == rows_of_a_step) {
  }
  return count_gathered_rows(store);
}

void drain_due_rows(const Config& config, SqliteStore& store, const Drain& drain) {
  DueRowCursor place = begin_due_rows(store);
  while (true) {
    const auto ids = next_due_row_ids(store, place, rows_of_a_step);
    if (ids.empty()) return;
    for (const std::int64_t id : ids) {
      const auto row = find_due_row(store, id);
      if (row && !drain.tell(*row, try_row(config, store, id, *row, drain.limits))) return;
    }
  }
}

}  // namespace zunol_monitoring
