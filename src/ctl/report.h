// The report on a host, as a page for people.
#pragma once

#include "ctl/tool.h"

namespace zunol_monitoring::ctl {

/// Adds `report`.
void add_report_command(CLI::App& app, Tool& tool);

}  // namespace zunol_monitoring::ctl
