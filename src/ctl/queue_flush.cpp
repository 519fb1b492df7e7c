// zunol-monitoring-ctl queue flush: what is due is delivered now.
#include "ctl/queue_flush.h"

#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "base/progress_bar.h"
#include "ctl/age.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/read_config.h"
#include "history/drain.h"
#include "history/event_file.h"
#include "store/connection.h"
#include "store/inspection.h"
#include "zunol_monitoring/config/duration.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

/// How often the user has asked to end: once behind the row on its way, twice at once.
volatile std::sig_atomic_t interrupts = 0;

struct FlushArguments {
  bool all = false;
  std::string timeout = "120s";  ///< longer than the minute that sqlite-ledger waits for its ledger
  int stop_after = 0;            ///< failures in a row; 0: never
};

Config load_delivering_config(const Tool& tool) {
  Config config = read_config(tool.config);
  if (const auto gate = closed_flush_gate(config.vorn)) {
    throw std::runtime_error(*gate + ": nothing is delivered");
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

int flush(const Tool& tool, const FlushArguments& arguments) {
  const Config config = load_delivering_config(tool);
  const std::chrono::seconds limit(parse_duration_seconds(arguments.timeout, 0));
  auto store_or_none = open_to_change(config);
  if (!store_or_none) {
    tell_absent_store(tool, config);
    return FlushReport(tool, arguments, 0).finish({});
  }
  SqliteStore& store = *store_or_none;
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

std::optional<std::string> closed_flush_gate(const VornConfig& vorn) {
  if (!vorn.enabled) return "vorn.enabled=false";
  if (vorn.queue_only) return "vorn.queue_only=true";
  return std::nullopt;
}

void add_flush_command(CLI::App& group, Tool& tool) {
  const auto arguments = std::make_shared<FlushArguments>();
  CLI::App& flush_command =
      add_command(tool, group, "flush", "Deliver the due events now; 1 when any of them fails",
                  [&tool, arguments] { return flush(tool, *arguments); });
  add_flag(flush_command, "--all", arguments->all, "Also those that wait for their next attempt");
  add_option(flush_command, "--timeout", arguments->timeout,
             "How long a command may take for one event, or 0 for no limit",
             {.word = "DURATION", .check = is_span});
  add_number(flush_command, "--stop-after", arguments->stop_after, 0,
             "End after so many failures in a row, or 0 for never");
}

}  // namespace zunol_monitoring::ctl
