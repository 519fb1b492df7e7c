// The commands about single events of the queue, of the group queue.
#pragma once

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

void add_event_commands_of_queue(CLI::App& group, Tool& tool);

}  // namespace zunol_monitoring::ctl
