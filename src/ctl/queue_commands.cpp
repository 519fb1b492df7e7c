// zunol-monitoring-ctl queue: the events that wait for their delivery.
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "ctl/age.h"
#include "ctl/listing.h"
#include "ctl/metrics.h"
#include "ctl/open_store.h"
#include "ctl/queue_event.h"
#include "ctl/queue_figures.h"
#include "ctl/queue_flush.h"
#include "ctl/read_config.h"
#include "ctl/tool.h"
#include "ctl/watch.h"
#include "history/delivery.h"
#include "zunol_monitoring/base/clock.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

/// "due", or when the next attempt comes.
std::string next_attempt_text(const PendingSyncRow& row, const std::string& now) {
  if (row.next_attempt_at <= now) return "due";
  const auto age = age_of(row.next_attempt_at);
  return age ? "in " + span_text(-*age) : "?";
}

/// The reason of a failure without what stands before each.
std::string without_common_prefix(const std::string& error) {
  return error.starts_with(command_failure) ? error.substr(command_failure.size()) : error;
}

json row_json(const PendingSyncRow& row, const std::string& now) {
  return {{"event_id", row.event_id},
          {"created_at", row.created_at},
          {"age_sec", age_json(row.created_at)},
          {"attempt_count", row.attempt_count},
          {"next_attempt_at", row.next_attempt_at},
          {"due", row.next_attempt_at <= now},
          {"last_error", row.last_error}};
}

struct ListArguments {
  int limit = 50;
  bool failed = false;
  std::string type;
  std::string since;  ///< a time, or a duration back from now
  std::string error;
};

PendingFilter filter_of(const ListArguments& arguments) {
  return {.attempts = arguments.failed ? 1 : 0,
          .since = time_of(arguments.since),
          .error = arguments.error,
          .type = arguments.type};
}

int list(const Tool& tool, const ListArguments& arguments) {
  const PendingFilter filter = filter_of(arguments);
  StoreView view = look_at_store(tool, read_config(tool.config));
  const std::string now = utc_timestamp_iso();
  Listing listing(tool.json, {"NEXT", "FAILED", "AGE", "LAST ERROR", "EVENT"}, 3);
  const auto json_of = [&](const PendingSyncRow& row) { return row_json(row, now); };
  const auto cells_of = [&](const PendingSyncRow& row) -> std::vector<std::string> {
    return {next_attempt_text(row, now), std::to_string(row.attempt_count),
            age_text(row.created_at), without_common_prefix(row.last_error), row.event_id};
  };
  const RowIds ids =
      view.look([&](sqlite3* db) { return pending_row_ids(db, filter, arguments.limit); });
  visit_rows(view, ids, tool.json, pending_rows, [&](const PendingSyncRow& row) {
    listing.add(row, json_of, cells_of);
    return true;
  });
  const std::int64_t pending = tool.json ? 0 : view.look(count_pending_sync_rows);
  listing.finish(pending, more_by_limit(listing.rows(), arguments.limit));
  return done;
}

std::string stats_text(const QueueFigures& all) {
  const SyncQueueStats& stats = all.queue;
  Table figures({"QUEUE", ""});
  for (const auto& [name, figure] : named_figures(all)) figures.add({name, figure});
  Table ages({"AGE", "EVENTS", ""});
  constexpr std::int64_t widest_bar = 40;
  for (std::size_t i = 0; i < stats.by_age.size(); ++i) {
    const std::int64_t count = stats.by_age[i];
    const std::int64_t bar =
        count == 0 ? 0 : std::max<std::int64_t>(1, count * widest_bar / stats.pending);
    ages.add({age_class_text(i), std::to_string(count),
              std::string(static_cast<std::size_t>(bar), '#')});
  }
  const int width = terminal_width();
  std::string text = figures.text(width) + '\n' + ages.text(width);
  if (all.errors.empty()) return text;
  Table errors({"EVENTS", "OLDEST", "LAST ERROR"});
  for (const ErrorCount& each : all.errors) {
    errors.add({std::to_string(each.rows), age_text(each.oldest_at), each.error});
  }
  return text + '\n' + errors.text(width);
}

json stats_json(const QueueFigures& all) {
  const SyncQueueStats& stats = all.queue;
  json ages = json::array();
  for (std::size_t i = 0; i < stats.by_age.size(); ++i) {
    const bool bounded = i < sync_age_bounds_sec.size();
    ages.push_back({{"below_sec", bounded ? json(sync_age_bounds_sec[i]) : json(nullptr)},
                    {"count", stats.by_age[i]}});
  }
  json errors = json::array();
  for (const ErrorCount& each : all.errors) {
    errors.push_back({{"error", each.error}, {"count", each.rows}, {"oldest", each.oldest_at}});
  }
  return {{"pending", stats.pending},
          {"due", stats.due},
          {"oldest_pending", moment_json(stats.oldest_pending_at)},
          {"oldest_due", moment_json(stats.oldest_due_at)},
          {"last_success_at", all.last_success_at},
          {"failed", stats.failed},
          {"failed_often", stats.failed_often},
          {"beyond_schedule", stats.beyond_schedule},
          {"next_attempt_at", stats.next_attempt_at},
          {"errors", errors},
          {"by_age", ages}};
}

int show_stats(const Tool& tool) {
  const QueueFigures stats = look_at_store(tool, read_config(tool.config)).look(read_queue_figures);
  if (tool.json) {
    print_json(stats_json(stats));
  } else {
    print(stats_text(stats));
  }
  return done;
}

int watch_stats(const Tool& tool) {
  const Config config = read_config(tool.config);
  watch([&] { return stats_text(look_at_store(tool, config).look(read_queue_figures)); });
  return done;
}

}  // namespace

void add_queue_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "queue", "Events that wait for their delivery");

  const auto arguments = std::make_shared<ListArguments>();
  CLI::App& list_command = add_command(tool, group, "list", "List the pending events, oldest first",
                                       [&tool, arguments] { return list(tool, *arguments); });
  add_limit(list_command, arguments->limit);
  add_flag(list_command, "--failed", arguments->failed, "Only those whose last attempt failed");
  add_option(list_command, "--type", arguments->type, "Only events of this type");
  add_option(list_command, "--since", arguments->since, since_meaning,
             {.word = "TIME", .check = is_time});
  add_option(list_command, "--error", arguments->error, "Only those with this in the last error");

  add_command(tool, group, "stats", "Count the pending events, with their ages and failures",
              [&tool] { return show_stats(tool); });
  add_command(tool, group, "watch", "The same on a terminal, refreshed until a key is pressed",
              [&tool] { return watch_stats(tool); });
  add_flush_command(group, tool);
  add_event_commands_of_queue(group, tool);
  add_queue_check_command(group, tool);
}

}  // namespace zunol_monitoring::ctl
