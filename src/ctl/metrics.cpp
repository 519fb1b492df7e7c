// zunol-monitoring-ctl queue check and metrics: whether events are delivered, for other programs.
#include "ctl/metrics.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/private_file.h"
#include "ctl/age.h"
#include "ctl/open_store.h"
#include "ctl/output.h"
#include "ctl/queue_figures.h"
#include "ctl/read_config.h"
#include "store/inspection.h"
#include "zunol_monitoring/base/clock.h"
#include "zunol_monitoring/config/duration.h"

namespace zunol_monitoring::ctl {
namespace {

using nlohmann::json;

// ---- queue check

struct Bounds {
  std::string max_age = default_max_age;
  int max_pending = -1;  ///< none
  int max_failed = -1;
};

/// The bounds that the queue breaks, one sentence each.
std::vector<std::string> breaches(const SyncQueueStats& stats, const Bounds& bounds) {
  std::vector<std::string> found;
  const std::int64_t age = age_of(stats.oldest_pending_at).value_or(0);
  if (age > parse_duration_seconds(bounds.max_age, 0)) {
    found.push_back("the oldest event waits for " + span_text(age) + ", more than " +
                    bounds.max_age);
  }
  if (bounds.max_pending >= 0 && stats.pending > bounds.max_pending) {
    found.push_back(std::to_string(stats.pending) + " events wait, more than " +
                    std::to_string(bounds.max_pending));
  }
  if (bounds.max_failed >= 0 && stats.failed > bounds.max_failed) {
    found.push_back(std::to_string(stats.failed) + " events have failed, more than " +
                    std::to_string(bounds.max_failed));
  }
  return found;
}

int check(const Tool& tool, const Bounds& bounds) {
  const SyncQueueStats stats = look_at_store(tool, read_config(tool.config)).look(sync_queue_stats);
  const std::vector<std::string> found = breaches(stats, bounds);
  if (tool.json) {
    print_json({{"ok", found.empty()},
                {"breaches", found},
                {"pending", stats.pending},
                {"failed", stats.failed},
                {"oldest_age_sec", age_json(stats.oldest_pending_at)}});
  } else if (found.empty()) {
    print("ok: " + std::to_string(stats.pending) + " events wait" +
          (stats.pending > 0 ? ", the oldest for " + age_text(stats.oldest_pending_at) : "") +
          '\n');
  } else {
    std::string line = "breach: ";
    for (const std::string& breach : found) line += (&breach == &found[0] ? "" : "; ") + breach;
    print(line + '\n');
  }
  return found.empty() ? done : failed;
}

// ---- metrics

/// One text in the format, a family of samples after the other.
class MetricsText {
 public:
  std::string text;

  void family(const char* name, const char* help) {
    name_ = std::string("zunol_monitoring_") + name;
    text += "# HELP " + name_ + ' ' + help + "\n# TYPE " + name_ + " gauge\n";
  }
  void sample(std::int64_t value, const std::string& labels = "") {
    text += name_ + labels + ' ' + std::to_string(value) + '\n';
  }
  void gauge(const char* name, const char* help, std::int64_t value) {
    family(name, help);
    sample(value);
  }
  /// A time, which is left out where it is none.
  void moment(const char* name, const char* help, const std::string& at) {
    const std::int64_t seconds = seconds_of_timestamp(at, -1);
    if (seconds != -1) gauge(name, help, seconds);
  }

 private:
  std::string name_;
};

std::string label(const char* name, const std::string& value) {
  std::string text = std::string("{") + name + "=\"";
  for (const char byte : printable(value)) {
    if (byte == '"' || byte == '\\') text += '\\';
    text += byte;
  }
  return text + "\"}";
}

struct Figures {
  SyncQueueStats queue;
  std::string last_success_at;
  std::string last_maintenance_at;
  std::int64_t open_incidents = 0;
  std::vector<TableRows> tables;
};

Figures read_figures(sqlite3* db) {
  return {.queue = sync_queue_stats(db),
          .last_success_at = last_success_at(db),
          .last_maintenance_at = last_maintenance_at(db),
          .open_incidents = count_open_incidents(db),
          .tables = count_table_rows(db)};
}

std::string metrics_text(const Config& config, const Figures& figures) {
  const SyncQueueStats& queue = figures.queue;
  MetricsText metrics;
  metrics.gauge("queue_pending", "Events that wait for their delivery.", queue.pending);
  metrics.gauge("queue_due", "Pending events whose next attempt has come.", queue.due);
  metrics.gauge("queue_oldest_pending_age_seconds", "Age of the oldest pending event.",
                age_of(queue.oldest_pending_at).value_or(0));
  metrics.gauge("queue_oldest_due_age_seconds", "Age of the oldest event that is due.",
                age_of(queue.oldest_due_at).value_or(0));
  metrics.gauge("queue_failed", "Pending events whose last attempt failed.", queue.failed);
  metrics.gauge("queue_failed_often", "Pending events that have failed 8 times or more.",
                queue.failed_often);
  metrics.gauge("queue_beyond_schedule",
                "Pending events that wait for over an hour, as the clock was put back.",
                queue.beyond_schedule);
  metrics.moment("queue_last_success_timestamp_seconds", "When an event was last delivered.",
                 figures.last_success_at);
  metrics.gauge("store_size_bytes", "Bytes of the database and the files beside it.",
                static_cast<std::int64_t>(store_size_bytes(config.storage.local_db)));
  metrics.gauge("store_limit_bytes", "The limit of the store, 0 for none.",
                static_cast<std::int64_t>(config.storage.max_local_bytes));
  metrics.family("store_rows", "Rows of each table.");
  for (const TableRows& table : figures.tables) {
    metrics.sample(table.rows, label("table", table.table));
  }
  metrics.gauge("open_incidents", "Incidents that are not resolved.", figures.open_incidents);
  metrics.moment("last_maintenance_timestamp_seconds", "When the store was last maintained.",
                 figures.last_maintenance_at);
  metrics.moment("metrics_timestamp_seconds", "When these figures were taken.",
                 utc_timestamp_iso());
  return metrics.text;
}

json metrics_json(const Config& config, const Figures& figures) {
  json rows = json::object();
  for (const TableRows& table : figures.tables) rows[table.table] = table.rows;
  return {{"pending", figures.queue.pending},
          {"due", figures.queue.due},
          {"oldest_pending", moment_json(figures.queue.oldest_pending_at)},
          {"oldest_due", moment_json(figures.queue.oldest_due_at)},
          {"failed", figures.queue.failed},
          {"failed_often", figures.queue.failed_often},
          {"beyond_schedule", figures.queue.beyond_schedule},
          {"last_success_at", figures.last_success_at},
          {"last_maintenance_at", figures.last_maintenance_at},
          {"size_bytes", store_size_bytes(config.storage.local_db)},
          {"max_bytes", config.storage.max_local_bytes},
          {"open_incidents", figures.open_incidents},
          {"rows", rows}};
}

int show_metrics(const Tool& tool, const std::string& output) {
  const Config config = read_config(tool.config);
  const Figures figures = look_at_store(tool, config).look(read_figures);
  if (tool.json) {
    print_json(metrics_json(config, figures));
  } else if (output.empty()) {
    print(metrics_text(config, figures));
  } else {
    replace_file(output, metrics_text(config, figures), world_readable);
  }
  return done;
}

}  // namespace

void add_queue_check_command(CLI::App& group, Tool& tool) {
  const auto bounds = std::make_shared<Bounds>();
  CLI::App& command =
      add_command(tool, group, "check", "Tell in one line whether events are delivered; 1 if not",
                  [&tool, bounds] { return check(tool, *bounds); });
  add_option(command, "--max-age", bounds->max_age, "How long the oldest event may wait",
             {.word = "DURATION", .check = is_span});
  add_number(command, "--max-pending", bounds->max_pending, 0, "How many events may wait");
  add_number(command, "--max-failed", bounds->max_failed, 0,
             "Of how many the last attempt may have failed");
}

void add_metrics_command(CLI::App& app, Tool& tool) {
  const auto output = std::make_shared<std::string>();
  CLI::App& command = add_command(tool, app, "metrics",
                                  "Print the figures of queue and store for a monitoring system",
                                  [&tool, output] { return show_metrics(tool, *output); });
  add_option(command, "--output", *output, "Write them to this file, whole or not at all",
             {.word = "FILE"});
}

}  // namespace zunol_monitoring::ctl
