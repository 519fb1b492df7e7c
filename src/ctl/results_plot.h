// The values of a check over time, drawn on a line.
#pragma once

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

/// Adds `plot` to the command `results`.
void add_plot_command(CLI::App& results, Tool& tool);

}  // namespace zunol_monitoring::ctl
