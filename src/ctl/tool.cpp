#include "ctl/tool.h"

#include <CLI/CLI.hpp>

namespace zunol_monitoring::ctl {

CLI::App& add_group(CLI::App& app, const std::string& name, const std::string& description) {
  CLI::App* group = app.add_subcommand(name, description);
  group->require_subcommand(1);
  group->fallthrough();  // the shared options may stand anywhere
  return *group;
}

CLI::App& add_command(Tool& tool, CLI::App& group, const std::string& name,
                      const std::string& description, std::function<int()> run) {
  CLI::App* command = group.add_subcommand(name, description);
  command->fallthrough();
  command->callback([&tool, run = std::move(run)] { tool.chosen = run; });
  return *command;
}

}  // namespace zunol_monitoring::ctl
