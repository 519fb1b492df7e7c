// The command that delivers, one of the group queue.
#pragma once

#include <optional>
#include <string>

#include "ctl/tool.h"
#include "zunol_monitoring/config/records/vorn_config.h"

namespace zunol_monitoring::ctl {

/// Why the configuration lets no flush deliver, if it does not.
std::optional<std::string> closed_flush_gate(const VornConfig& vorn);

void add_flush_command(CLI::App& group, Tool& tool);

}  // namespace zunol_monitoring::ctl
