// The values of a check over time, drawn on a line.
#pragma once

#include <string>

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

/// A number for people, in at most 6 digits.
std::string number_text(double value);

/// Adds `plot` to the command `results`.
void add_plot_command(CLI::App& results, Tool& tool);

}  // namespace zunol_monitoring::ctl
