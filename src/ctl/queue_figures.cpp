#include "ctl/queue_figures.h"

#include <nlohmann/json.hpp>

#include "ctl/age.h"

namespace zunol_monitoring::ctl {
namespace {

constexpr int errors_told = 10;

std::string moment_text(std::int64_t events, const std::string& at) {
  if (events == 0) return "none";
  return at.empty() ? "?" : at + " (" + age_text(at) + " ago)";
}

}  // namespace

nlohmann::json moment_json(const std::string& at) {
  if (at.empty()) return nullptr;
  return {{"created_at", at}, {"age_sec", age_json(at)}};
}

QueueFigures read_queue_figures(sqlite3* db) {
  return {.queue = sync_queue_stats(db),
          .last_success_at = last_success_at(db),
          .errors = count_sync_errors(db, errors_told)};
}

std::vector<std::pair<std::string, std::string>> named_figures(const QueueFigures& figures) {
  const SyncQueueStats& stats = figures.queue;
  std::vector<std::pair<std::string, std::string>> named = {
      {"pending", std::to_string(stats.pending)},
      {"due", std::to_string(stats.due)},
      {"oldest pending", moment_text(stats.pending, stats.oldest_pending_at)},
      {"oldest due", moment_text(stats.due, stats.oldest_due_at)},
      {"last success",
       moment_text(figures.last_success_at.empty() ? 0 : 1, figures.last_success_at)},
      {"failed " + std::to_string(many_sync_failures) + " times or more",
       std::to_string(stats.failed_often)}};
  if (stats.beyond_schedule > 0) {
    named.emplace_back("waiting for over an hour, as the clock was put back",
                       std::to_string(stats.beyond_schedule));
  }
  return named;
}

std::string age_class_text(std::size_t index) {
  if (index == sync_age_bounds_sec.size()) return "older";
  return "below " + span_text(sync_age_bounds_sec[index]);
}

}  // namespace zunol_monitoring::ctl
