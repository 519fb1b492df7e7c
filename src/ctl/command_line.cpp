#include "ctl/command_line.h"

#include <CLI/CLI.hpp>

#include "ctl/metrics.h"
#include "ctl/output.h"
#include "ctl/report.h"
#include "ctl/tool.h"
#include "zunol_monitoring/config/load.h"

namespace zunol_monitoring::ctl {
namespace {

/// One line of what is wrong with the command line: the parser says of an unknown command only that
/// one is missing.
std::string usage_message(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* innermost = &app;
  while (!innermost->get_subcommands().empty()) innermost = innermost->get_subcommands().front();
  std::string message = error.what();
  if (error.get_name() == "RequiredError" && innermost->get_require_subcommand_min() != 0) {
    const auto words = app.remaining(true);
    message = words.empty() ? "a command is required" : "unknown command " + words.front();
  }
  std::string name;
  for (const CLI::App* each = innermost; each != &app; each = each->get_parent()) {
    name.insert(0, ' ' + each->get_name());
  }
  return message + "; see zunol-monitoring-ctl" + name + " --help";
}

}  // namespace

int run_command_line(int argc, char** argv) {
  CLI::App app("Looks after the monitoring agent's configuration, events and queue.",
               "zunol-monitoring-ctl");
  Tool tool;
  tool.config = default_config_path();
  app.add_option("--config", tool.config, "The configuration file")
      ->type_name("PATH")
      ->capture_default_str();
  app.add_flag("--json", tool.json, "Print JSON: one object, or one a line");
  app.set_version_flag("--version", "zunol-monitoring-ctl " ZUNOL_VERSION);
  app.footer("--config and --json may stand behind every command.");
  app.require_subcommand(1);
  add_doctor_commands(app, tool);
  add_config_commands(app, tool);
  add_event_commands(app, tool);
  add_queue_commands(app, tool);
  add_store_commands(app, tool);
  add_record_commands(app, tool);
  add_ledger_commands(app, tool);
  add_metrics_command(app, tool);
  add_report_command(app, tool);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    print(app.help());
    finish_output();
    return done;
  } catch (const CLI::CallForVersion& version) {
    print(std::string(version.what()) + '\n');
    finish_output();
    return done;
  } catch (const CLI::ParseError& error) {
    print_error(usage_message(app, error));
    return wrong_usage;
  }
  const int status = tool.chosen();
  finish_output();
  return status;
}

}  // namespace zunol_monitoring::ctl
