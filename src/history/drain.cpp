#include "history/drain.h"

#include <exception>

#include "store/due_rows.h"

namespace zunol_monitoring {
namespace {

constexpr int rows_of_a_step = 1000;

/// Why the row was not delivered, if it was not.
std::optional<std::string> try_row(const Config& config, SqliteStore& store,
                                   const VornSyncItem& row, const DeliveryLimits& limits) {
  try {
    deliver_event(config, row, limits);
    store.mark_sync_event_sent(row.event_id);
    return std::nullopt;
  } catch (const std::exception& error) {
    store.record_sync_failure(row.event_id, error.what());
    return error.what();
  }
}

std::optional<std::string> refuse_row(SqliteStore& store, std::int64_t id) {
  const std::string error = "the row's id is no text";
  record_unusable_row(store, id, error);
  return error;
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
      if (!row) continue;
      const auto failure =
          row->usable_id ? try_row(config, store, row->item, drain.limits) : refuse_row(store, id);
      if (!drain.tell(row->item, failure)) return;
    }
  }
}

}  // namespace zunol_monitoring
