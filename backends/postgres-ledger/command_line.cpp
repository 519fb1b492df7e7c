#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <string_view>

#include "commands.h"
#include "failure.h"

namespace zunol_monitoring::postgres_ledger {
namespace {

constexpr int most_of_a_batch = 1000;
constexpr int longest_period_sec = 86400;

constexpr const char* collect_name = "collect";
constexpr const char* verify_name = "verify";
constexpr const char* anchor_name = "anchor";
constexpr const char* schema_name = "schema";
/// All of them: any other word is a service.
constexpr std::string_view names[] = {collect_name, verify_name, anchor_name, schema_name};

/// The command line, whose command fills `chosen`.
struct CommandLine {
  CLI::App app{
      "Keeps the history of many hosts in PostgreSQL. Without a command it is a backend of "
      "zunol-vorn-append-event: postgres-ledger [SERVICE].",
      "postgres-ledger"};
  Collection collection;
  Verification verification;
  std::string service;
  bool install = false;
  std::function<int()> chosen;

  CommandLine() {
    app.set_version_flag("--version", "postgres-ledger " ZUNOL_VERSION);
    app.require_subcommand(1);
    add_collect();
    CLI::App& verify_command =
        add(verify_name, "Tell the first changed or missing row of each block",
            [this] { return verify(verification); });
    verify_command.add_option("--anchor", verification.anchor_file, "Heads kept elsewhere")
        ->type_name("FILE");
    verify_command.add_option("BLOCK", verification.blocks, "These only")->type_name("");
    add(anchor_name, "Print the head of each block, to be kept elsewhere",
        [this] { return print_anchors(service); });
    add(schema_name, "Print the SQL of the tables and functions", [this] {
      return install ? install_schema(service) : print_schema();
    }).add_flag("--install", install, "Install it, as a superuser");
  }

  void add_collect() {
    CLI::App& command =
        add(collect_name, "Move the event files of spool directories into the ledger",
            [this] { return collect(collection); });
    command.add_option("DIR", collection.directories, "Each is one block, of its name")
        ->type_name("")
        ->required();
    CLI::Option* block =
        command.add_option("--block", collection.block, "The block of all these events")
            ->type_name("ID");
    command.add_flag("--each", collection.each, "DIR has a directory for each block, of its name")
        ->excludes(block);
    command.add_option("--batch", collection.batch, "Events in one commit, at most")
        ->check(CLI::Range(1, most_of_a_batch))
        ->type_name("N")
        ->capture_default_str();
    command.add_option("--period", collection.period_sec, "Seconds between two looks, about")
        ->check(CLI::Range(1, longest_period_sec))
        ->type_name("N")
        ->capture_default_str();
    command.add_flag("--once", collection.once, "End after one look");
  }

  CLI::App& add(const std::string& name, const std::string& description,
                const std::function<int()>& run) {
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("--service", service, "The libpq service of the ledger")->type_name("NAME");
    command->callback([this, run] { chosen = run; });
    return *command;
  }
};

}  // namespace

bool is_command(std::string_view word) {
  return word.starts_with('-') || std::ranges::find(names, word) != std::end(names);
}

int run_command_line(int argc, char** argv) {
  CommandLine line;
  try {
    line.app.parse(argc, argv);
  } catch (const CLI::Success& asked) {  // help and version
    return line.app.exit(asked);
  } catch (const CLI::ParseError& error) {
    throw Failure(wrong_usage, std::string(error.what()) + "; see postgres-ledger --help");
  }
  line.collection.service = line.service;
  line.verification.service = line.service;
  return line.chosen();
}

}  // namespace zunol_monitoring::postgres_ledger
