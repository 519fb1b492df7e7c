// The command that delivers, one of the group queue.
#pragma once

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

void add_flush_command(CLI::App& group, Tool& tool);

}  // namespace zunol_monitoring::ctl
