// What `queue stats` tells of the queue, in the words that it has for people.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>
#include <vector>

#include "store/inspection.h"

namespace zunol_monitoring::ctl {

struct QueueFigures {
  SyncQueueStats queue;
  std::string last_success_at;
  std::vector<ErrorCount> errors;  ///< the most frequent ones
};

/// For StoreView::look.
QueueFigures read_queue_figures(sqlite3* db);

/// Each figure behind its name: "pending" and "3", "oldest pending" and
/// "2026-01-31T12:00:00Z (5m ago)".
std::vector<std::pair<std::string, std::string>> named_figures(const QueueFigures& figures);

/// A moment of SyncQueueStats for programs: its time and age, null for none.
nlohmann::json moment_json(const std::string& at);

/// The class of age `index` of SyncQueueStats::by_age: "below 1m", "older".
std::string age_class_text(std::size_t index);

}  // namespace zunol_monitoring::ctl
