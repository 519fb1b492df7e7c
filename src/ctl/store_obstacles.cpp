// The obstacles in the store.
#include <limits>
#include <nlohmann/json.hpp>

#include "ctl/age.h"
#include "ctl/event_intake.h"
#include "ctl/input.h"
#include "ctl/listing.h"
#include "ctl/obstacles.h"
#include "ctl/open_store.h"
#include "store/health.h"
#include "zunol_monitoring/store/sync_queue.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr const char* store_remedy =
    "where no other line tells why, \"The store is damaged\" in operations.md tells how to save it";

using Obstacles = std::vector<Obstacle>;

/// Table by table: a look should be short.
void find_damage(StoreView& view, Obstacles& found) {
  for (const std::string& table : view.look(table_names)) {
    const auto damage = view.look([&](sqlite3* db) { return damage_of(db, table); });
    if (!damage.empty()) {
      found.push_back({"the store is damaged in " + table + ": " + damage, store_remedy});
    }
  }
}

void find_missing_schema(StoreView& view, Obstacles& found) {
  const auto missing = view.look(missing_schema);
  if (missing.empty()) return;
  const std::string rest =
      missing.size() > 1 ? " and " + std::to_string(missing.size() - 1) + " more" : "";
  found.push_back({"the store is of an older version and lacks " + missing.front() + rest,
                   "`store maintain` or any flush completes it"});
}

/// Where the clock is a little behind, events wait no longer than for their shortest delay.
void find_clock(StoreView& view, Obstacles& found) {
  const std::int64_t behind = -age_of(view.look(newest_time)).value_or(0);
  if (behind > retry_delay_seconds(0)) {
    found.push_back({"the clock is " + span_text(behind) + " behind the newest row of the store",
                     "set the clock, or wait"});
  }
  const std::int64_t waiting = view.look(sync_queue_stats).beyond_schedule;
  if (waiting > 0) {
    found.push_back(
        {std::to_string(waiting) + " events wait for over an hour, as the clock was put back",
         "`queue flush --all` ends their waiting"});
  }
}

FaultyEvents find_large_events(StoreView& view) {
  const RowIds ids = view.look(
      [](sqlite3* db) { return pending_row_ids(db, {}, std::numeric_limits<int>::max()); });
  FaultyEvents large;
  for (std::span<const std::int64_t> left = ids; !left.empty();) {
    const auto page = left.first(std::min(left.size(), rows_of_a_page));
    left = left.subspan(page.size());
    const FaultyEvents more =
        view.look([&](sqlite3* db) { return large_events(db, page, largest_event_bytes); });
    if (large.count == 0) large.example = more.example;
    large.count += more.count;
  }
  return large;
}

void find_events(StoreView& view, const VornConfig& vorn, Obstacles& found) {
  const auto add = [&](const FaultyEvents& events, const Obstacle& fault) {
    if (events.count == 0) return;
    const std::string subject = events.count == 1
                                    ? "the pending event " + events.example + " has "
                                    : std::to_string(events.count) + " pending events, such as " +
                                          events.example + ", have ";
    found.push_back({subject + fault.what, fault.remedy});
  };
  const auto long_ids = [longest = longest_id_bytes(vorn)](sqlite3* db) {
    return events_with_long_ids(db, longest);
  };
  add(view.look(events_sharing_markers), shared_marker_fault());
  add(view.look(long_ids), long_id_fault(vorn));
  add(find_large_events(view), large_event_fault());
}

}  // namespace

Obstacles store_obstacles(const Tool& tool, const Config& config, EventLook look) {
  Obstacles found;
  try {
    StoreView view = look_at_store(tool, config);
    find_damage(view, found);
    if (found.empty()) find_missing_schema(view, found);
    if (!found.empty()) return found;  // the questions about rows may fail
    find_clock(view, found);
    if (look == EventLook::all) find_events(view, config.vorn, found);
  } catch (const std::exception& error) {
    found.push_back({error.what(), store_remedy});
  }
  return found;
}

Obstacle shared_marker_fault() {
  return {"a marker that is another event's as well, so that one append counts for both",
          "queue the event again under an id of letters, digits, \"-\", \".\" and \"_\""};
}

Obstacle long_id_fault(const VornConfig& vorn) {
  return {"an id of more than " + std::to_string(longest_id_bytes(vorn)) +
              " bytes, which no file name can hold",
          "queue the event again under a shorter id"};
}

Obstacle large_event_fault() {
  return {"more than 16 MiB, which a backend can refuse", "queue the event again with less data"};
}

nlohmann::json to_json(const std::vector<Obstacle>& obstacles) {
  nlohmann::json list = nlohmann::json::array();
  for (const Obstacle& each : obstacles) {
    list.push_back({{"obstacle", each.what}, {"remedy", each.remedy}});
  }
  return list;
}

}  // namespace zunol_monitoring::ctl
