// What would stop a delivery from here, as the user who asks. Nothing is changed or kept open, and
// no file is opened that is none.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "ctl/tool.h"
#include "zunol_monitoring/config/config.h"

namespace zunol_monitoring::ctl {

struct Obstacle {
  std::string what;
  std::string remedy;  ///< what to do
};

/// In the configuration: broken rules and closed gates. On the host: programs that are not found,
/// files and directories that the user cannot use or others can, the wallet, and full disks.
std::vector<Obstacle> host_obstacles(const Config& config);

/// Whether the events are looked at one by one.
enum class EventLook { none, all };

/// In the store: damage, parts of the schema that are missing, a clock behind its newest row, and
/// pending events that cannot pass.
std::vector<Obstacle> store_obstacles(const Tool& tool, const Config& config, EventLook look);

// The faults of such events, as what they have.
Obstacle shared_marker_fault();
Obstacle long_id_fault(const VornConfig& vorn);
Obstacle large_event_fault();

nlohmann::json to_json(const std::vector<Obstacle>& obstacles);

}  // namespace zunol_monitoring::ctl
