// What a monitoring system asks of queue and store.
#pragma once

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

/// How long the oldest event may wait before it is a breach.
inline constexpr const char* default_max_age = "10m";

/// Adds `queue check`, one line and a status, to the group queue.
void add_queue_check_command(CLI::App& group, Tool& tool);

/// Adds `metrics`, all figures in the Prometheus text format.
void add_metrics_command(CLI::App& app, Tool& tool);

}  // namespace zunol_monitoring::ctl
