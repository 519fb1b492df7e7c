#include "ctl/tool.h"

#include <CLI/CLI.hpp>
#include <limits>

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

void add_limit(CLI::App& command, int& limit) {
  command.add_option("--limit", limit, "At most so many rows")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()))
      ->type_name("ROWS")
      ->capture_default_str();
}

}  // namespace zunol_monitoring::ctl
