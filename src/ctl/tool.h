// The frame of zunol-monitoring-ctl: the options that all commands share, and how a group of
// commands joins it.
//
// A group is one source file with one function, which adds its commands to the command line. A
// command returns its exit status, and an exception that leaves it becomes one line on standard
// error and status 1.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// Its header takes long to compile: only tool.cpp and command_line.cpp include it.
namespace CLI {
class App;
}

namespace zunol_monitoring::ctl {

// The exit status of every command.
inline constexpr int done = 0;
inline constexpr int failed = 1;  ///< the answer is no, or the work failed
inline constexpr int wrong_usage = 2;

struct Tool {
  std::filesystem::path config;  ///< --config; by default the file that the append command reads
  bool json = false;             ///< --json
  std::function<int()> chosen;   ///< the command that the command line names
};

/// Adds the group `name`, of which the user has to name a command.
CLI::App& add_group(CLI::App& app, const std::string& name, const std::string& description);

/// Adds a command, which `run` executes once the whole command line is read.
CLI::App& add_command(Tool& tool, CLI::App& group, const std::string& name,
                      const std::string& description, std::function<int()> run);

/// Adds an option without a value.
void add_flag(CLI::App& command, const std::string& name, bool& given,
              const std::string& description);

struct OptionForm {
  std::string word = "TEXT";         ///< what stands for the value in the help
  bool required = false;             ///< must be given
  std::vector<std::string> allowed;  ///< the values it may have, any where there are none
  std::string excluded;              ///< an option that may not be given with it
  /// What is wrong with a value, or "", for an option whose default the help tells.
  std::function<std::string(const std::string&)> check;
};

/// Adds an option, or an argument where the name has no dash. Value is a text, an optional text, or
/// a list of texts for any number of them.
template <class Value>
void add_option(CLI::App& command, const std::string& name, Value& value,
                const std::string& description, const OptionForm& form = {});

/// Adds an option with a whole number from `least` on; `value` holds its default, or less for none.
void add_number(CLI::App& command, const std::string& name, int& value, int least,
                const std::string& description, const std::string& word = "N");

/// Adds --limit, a number of rows from 1 on; `limit` holds its default.
void add_limit(CLI::App& command, int& limit);

// The groups. Each remembers the tool, which must outlive the command line.
void add_doctor_commands(CLI::App& app, Tool& tool);
void add_config_commands(CLI::App& app, Tool& tool);
void add_event_commands(CLI::App& app, Tool& tool);
void add_queue_commands(CLI::App& app, Tool& tool);
void add_store_commands(CLI::App& app, Tool& tool);
void add_record_commands(CLI::App& app, Tool& tool);
void add_ledger_commands(CLI::App& app, Tool& tool);

}  // namespace zunol_monitoring::ctl
