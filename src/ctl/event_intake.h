// Events that a user hands in: read within bounds, judged, and queued.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "zunol_monitoring/config/config.h"
#include "zunol_monitoring/store/sqlite_store.h"

namespace zunol_monitoring::ctl {

/// The value of a JSON text. Raises std::runtime_error with "the data is no JSON: " and why, or
/// "the data has more than 1000000 values", before they are built.
nlohmann::json parse_data(const std::string& text);

/// The data with level and id in it, where the event takes them from.
nlohmann::json event_data(nlohmann::json data, const std::optional<std::string>& level,
                          const std::optional<std::string>& id);

/// With a longer one no file system takes the name of the event's marker, or of its spool file.
std::size_t longest_id_bytes(const VornConfig& vorn);

/// Raises std::runtime_error with "invalid event: " and the judge's reason, and for an id whose
/// marker or spool file would not be its own.
void require_good_event(const Config& config, const std::string& type, const nlohmann::json& data);

/// The keys of the data that the event takes from elsewhere and drops.
std::vector<std::string> dropped_keys(const nlohmann::json& data);

struct QueuedEvent {
  std::string event_id;
  bool queued = false;  ///< false: an event of this id is there already, and stays
};

/// Queues a good event; on return it is on the disk. Raises what the writer raises.
QueuedEvent queue_event(const Config& config, SqliteStore& store, const std::string& type,
                        const nlohmann::json& data);

}  // namespace zunol_monitoring::ctl
