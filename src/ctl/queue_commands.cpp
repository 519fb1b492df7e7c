// zunol-monitoring-ctl queue: the events that wait for their delivery.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "ctl/age.h"
#include "ctl/listing.h"
#include "ctl/open_store.h"
#include "ctl/read_config.h"
#include "ctl/tool.h"
#include "history/drain.h"
#include "history/event_file.h"
#include "store/connection.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/config/duration.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

/// "due", or when the next attempt comes.
std::string next_attempt_text(const PendingSyncRow& row, const std::string& now) {
  if (row.next_attempt_at <= now) return "due";
  const auto age = age_of(row.next_attempt_at);
  return age ? "in " + span_text(-*age) : "?";
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

int list(const Tool& tool, int limit) {
  StoreView view = look_at_store(read_config(tool.config));
  const std::string now = utc_timestamp_iso();
  Listing listing(tool.json, {"EVENT", "AGE", "ATTEMPTS", "NEXT", "LAST ERROR"});
  const auto json_of = [&](const PendingSyncRow& row) { return row_json(row, now); };
  const auto cells_of = [&](const PendingSyncRow& row) -> std::vector<std::string> {
    return {row.event_id, age_text(row.created_at), std::to_string(row.attempt_count),
            next_attempt_text(row, now), row.last_error};
  };
  const RowIds ids = view.look([&](sqlite3* db) { return pending_row_ids(db, limit); });
  visit_rows(view, ids, pending_rows, [&](const PendingSyncRow& row) {
    listing.add(row, json_of, cells_of);
    return true;
  });
  listing.finish();
  if (tool.json || ids.size() < static_cast<std::size_t>(limit)) return done;
  const std::int64_t pending = view.look(count_pending_sync_rows);
  if (pending > limit) {
    print(std::to_string(limit) + " of " + std::to_string(pending) + " rows; --limit shows more\n");
  }
  return done;
}

json moment_json(const std::string& at) {
  if (at.empty()) return nullptr;
  return {{"created_at", at}, {"age_sec", age_json(at)}};
}

std::string moment_text(std::int64_t events, const std::string& at) {
  if (events == 0) return "none";
  return at.empty() ? "?" : at + " (" + age_text(at) + " ago)";
}

/// The class of age `index` of SyncQueueStats::by_age.
std::string age_class_text(std::size_t index) {
  if (index == sync_age_bounds_sec.size()) return "older";
  return "below " + span_text(sync_age_bounds_sec[index]);
}

void print_stats(const SyncQueueStats& stats) {
  Table figures({"QUEUE", ""});
  figures.add({"pending", std::to_string(stats.pending)});
  figures.add({"due", std::to_string(stats.due)});
  figures.add({"oldest pending", moment_text(stats.pending, stats.oldest_pending_at)});
  figures.add({"oldest due", moment_text(stats.due, stats.oldest_due_at)});
  figures.add({"failed " + std::to_string(many_sync_failures) + " times or more",
               std::to_string(stats.failed_often)});
  if (stats.beyond_schedule > 0) {
    figures.add({"waiting for over an hour, as the clock was put back",
                 std::to_string(stats.beyond_schedule)});
  }
  Table ages({"AGE", "EVENTS", ""});
  constexpr std::int64_t widest_bar = 40;
  for (std::size_t i = 0; i < stats.by_age.size(); ++i) {
    const std::int64_t count = stats.by_age[i];
    const std::int64_t bar =
        count == 0 ? 0 : std::max<std::int64_t>(1, count * widest_bar / stats.pending);
    ages.add({age_class_text(i), std::to_string(count),
              std::string(static_cast<std::size_t>(bar), '#')});
  }
  print(figures.text(terminal_width()) + '\n' + ages.text(terminal_width()));
}

json stats_json(const SyncQueueStats& stats) {
  json ages = json::array();
  for (std::size_t i = 0; i < stats.by_age.size(); ++i) {
    const bool bounded = i < sync_age_bounds_sec.size();
    ages.push_back({{"below_sec", bounded ? json(sync_age_bounds_sec[i]) : json(nullptr)},
                    {"count", stats.by_age[i]}});
  }
  return {{"pending", stats.pending},
          {"due", stats.due},
          {"oldest_pending", moment_json(stats.oldest_pending_at)},
          {"oldest_due", moment_json(stats.oldest_due_at)},
          {"failed_often", stats.failed_often},
          {"beyond_schedule", stats.beyond_schedule},
          {"next_attempt_at", stats.next_attempt_at},
          {"by_age", ages}};
}

int show_stats(const Tool& tool) {
  const SyncQueueStats stats = look_at_store(read_config(tool.config)).look(sync_queue_stats);
  if (tool.json) {
    print_json(stats_json(stats));
  } else {
    print_stats(stats);
  }
  return done;
}

/// A line on standard error that grows with the work, where that is a terminal.
class ProgressBar {
 public:
  explicit ProgressBar(std::int64_t total) : total_(total) {}
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(std::int64_t finished) const {
    if (!visible_ || total_ == 0) return;
    constexpr std::int64_t width = 30;
    const auto full = static_cast<std::size_t>(std::min(finished, total_) * width / total_);
    std::fprintf(stderr, "\r[%s%s] %lld of %lld", std::string(full, '#').c_str(),
                 std::string(width - full, ' ').c_str(), static_cast<long long>(finished),
                 static_cast<long long>(total_));
  }
  /// Makes room for another line.
  void clear() const {
    if (visible_) std::fputs("\r\x1b[K", stderr);
  }

 private:
  std::int64_t total_;
  bool visible_ = isatty(STDERR_FILENO) == 1;
};

/// How often the user has asked to end: once behind the row on its way, twice at once.
volatile std::sig_atomic_t interrupts = 0;

struct FlushArguments {
  bool all = false;
  std::string timeout = "120s";  ///< longer than the minute that sqlite-ledger waits for its ledger
  int stop_after = 0;            ///< failures in a row; 0: never
};

Config load_delivering_config(const Tool& tool) {
  Config config = read_config(tool.config);
  for (const auto& [closed, gate] : {std::pair(!config.vorn.enabled, "vorn.enabled=false"),
                                     {config.vorn.queue_only, "vorn.queue_only=true"}}) {
    if (closed) throw std::runtime_error(std::string(gate) + ": nothing is delivered");
  }
  return config;
}

/// What a flush tells on its way and at its end.
class FlushReport {
 public:
  FlushReport(const Tool& tool, const FlushArguments& arguments, std::int64_t due)
      : json_(tool.json), stop_after_(arguments.stop_after), progress_(due) {}

  /// Whether the flush is to go on.
  bool add(const VornSyncItem& row, const std::optional<std::string>& failure) {
    ++(failure ? failures_ : delivered_);
    failures_in_a_row_ = failure ? failures_in_a_row_ + 1 : 0;
    if (failure && json_) {
      print_json({{"event_id", row.event_id}, {"error", *failure}});
    } else if (failure) {
      progress_.clear();
      print(coloured(Colour::red, "failed") + ' ' + printable(row.event_id + ": " + *failure) +
            '\n');
    }
    finish_output();
    progress_.show(delivered_ + failures_);
    return interrupts == 0 && !stopped_early();
  }
  /// Says what is done, and what is left; returns the exit status.
  int finish(const SyncQueueStats& left) {
    progress_.clear();
    if (interrupts != 0) print_error("interrupted; the other events stay in the queue");
    if (stopped_early()) {
      print_error("ended after " + std::to_string(stop_after_) + " failures in a row");
    }
    if (json_) {
      print_json({{"delivered", delivered_},
                  {"failed", failures_},
                  {"interrupted", interrupts != 0},
                  {"stopped_early", stopped_early()},
                  {"pending", left.pending},
                  {"next_attempt_at", left.next_attempt_at}});
    } else {
      print(std::to_string(delivered_) + " delivered, " + std::to_string(failures_) + " failed" +
            left_text(left) + '\n');
    }
    return failures_ == 0 && interrupts == 0 ? done : failed;
  }

 private:
  bool stopped_early() const { return stop_after_ > 0 && failures_in_a_row_ >= stop_after_; }
  static std::string left_text(const SyncQueueStats& left) {
    if (left.pending == 0) return "";
    std::string text = ", " + std::to_string(left.pending) + " left";
    if (left.due > 0) text += ", " + std::to_string(left.due) + " of them due";
    if (const auto age = age_of(left.next_attempt_at)) {
      text += ", the next attempt " + (*age >= 0 ? "is due" : "in " + span_text(-*age));
    }
    return text;
  }

  bool json_;
  int stop_after_;
  ProgressBar progress_;
  std::int64_t delivered_ = 0;
  std::int64_t failures_ = 0;
  int failures_in_a_row_ = 0;
};

/// What is wrong with the text as a time limit, or "".
std::string is_time_limit(const std::string& text) {
  constexpr std::size_t most_digits = 6;
  const bool taken =
      text.find_first_not_of("0123456789") <= most_digits || text.size() <= most_digits;
  if (taken && parse_duration_seconds(text, -1) >= 0) return "";
  return text + " is no duration such as 90s or 5m, or 0 for none";
}

int flush(const Tool& tool, const FlushArguments& arguments) {
  const Config config = load_delivering_config(tool);
  const std::chrono::seconds limit(parse_duration_seconds(arguments.timeout, 0));
  SqliteStore store = open_to_change(config);
  remove_left_event_files();
  FlushReport report(tool, arguments, gather_due_rows(store, arguments.all));

  for (const int signal : {SIGINT, SIGTERM}) {
    std::signal(signal, [](int) { interrupts = interrupts + 1; });
  }
  const Drain drain{.limits = {.command_time = limit, .give_up = [] { return interrupts > 1; }},
                    .tell = [&report](const VornSyncItem& row, const auto& failure) {
                      return report.add(row, failure);
                    }};
  try {
    drain_due_rows(config, store, drain);
  } catch (const DeliveryGivenUp&) {
    // The row on its way stays as it was.
  }
  return report.finish(sync_queue_stats(StoreConnection::of(store)));
}

}  // namespace

void add_queue_commands(CLI::App& app, Tool& tool) {
  CLI::App& group = add_group(app, "queue", "Events that wait for their delivery");

  const auto limit = std::make_shared<int>(50);
  CLI::App& list_command = add_command(tool, group, "list", "List the pending events, oldest first",
                                       [&tool, limit] { return list(tool, *limit); });
  add_limit(list_command, *limit);

  add_command(tool, group, "stats", "Count the pending events, with their ages and failures",
              [&tool] { return show_stats(tool); });

  const auto arguments = std::make_shared<FlushArguments>();
  CLI::App& flush_command =
      add_command(tool, group, "flush", "Deliver the due events now; 1 when any of them fails",
                  [&tool, arguments] { return flush(tool, *arguments); });
  add_flag(flush_command, "--all", arguments->all, "Also those that wait for their next attempt");
  add_option(flush_command, "--timeout", arguments->timeout,
             "How long a command may take for one event, or 0 for no limit",
             {.word = "DURATION", .check = is_time_limit});
  add_number(flush_command, "--stop-after", arguments->stop_after, 0,
             "End after so many failures in a row, or 0 for never");
}

}  // namespace zunol_monitoring::ctl
