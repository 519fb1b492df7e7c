// Events from a program in any language, one of the commands of the group event.
#pragma once

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

void add_stream_command(CLI::App& group, Tool& tool);

}  // namespace zunol_monitoring::ctl
