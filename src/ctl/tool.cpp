#include "ctl/tool.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <optional>

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
  command->callback([&tool, command, run = std::move(run)] {
    if (command->get_subcommands().empty()) tool.chosen = run;  // the innermost command runs
  });
  return *command;
}

void add_flag(CLI::App& command, const std::string& name, bool& given,
              const std::string& description) {
  command.add_flag(name, given, description);
}

template <class Value>
void add_option(CLI::App& command, const std::string& name, Value& value,
                const std::string& description, const OptionForm& form) {
  CLI::Option* option = command.add_option(name, value, description);
  option->type_name(name.starts_with('-') ? form.word : "")->required(form.required);
  if (!form.allowed.empty()) option->check(CLI::IsMember(form.allowed));
  if (form.check) option->check(form.check)->capture_default_str();
  if (!form.excluded.empty()) option->excludes(command.get_option(form.excluded));
}

template void add_option(CLI::App&, const std::string&, std::string&, const std::string&,
                         const OptionForm&);
template void add_option(CLI::App&, const std::string&, std::optional<std::string>&,
                         const std::string&, const OptionForm&);
template void add_option(CLI::App&, const std::string&, std::vector<std::string>&,
                         const std::string&, const OptionForm&);

void add_number(CLI::App& command, const std::string& name, int& value, int least,
                const std::string& description, const std::string& word) {
  CLI::Option* option = command.add_option(name, value, description)
                            ->check(CLI::Range(least, std::numeric_limits<int>::max()))
                            ->type_name(word);
  if (value >= least) option->capture_default_str();
}

void add_limit(CLI::App& command, int& limit) {
  add_number(command, "--limit", limit, 1, "At most so many rows", "ROWS");
}

}  // namespace zunol_monitoring::ctl
