// The commands of postgres-ledger. Each returns its exit status and raises what ends in try_again.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zunol_monitoring::postgres_ledger {

/// Appends the one event that the variables of the append command name, within time_limit(), and
/// prints "appended".
int append_one(const std::string& service);

struct Collection {
  std::string service;
  std::vector<std::filesystem::path> directories;
  std::string block;  ///< of the events; empty: the name of their directory
  bool each = false;  ///< the directories hold one directory for each block
  int batch = 1000;   ///< events in one commit, at most
  int period_sec = 60;
  bool once = false;
};

/// Moves the events of spool directories into the ledger. A file goes once a commit has its event,
/// and is set aside once the ledger has said that it can never have it; nothing else touches it.
/// Ends behind the present batch on SIGTERM and SIGINT.
int collect(const Collection& collection);

/// Prints the head of each block.
int print_anchors(const std::string& service);

struct Verification {
  std::string service;
  std::string anchor_file;          ///< empty: none
  std::vector<std::string> blocks;  ///< none: all
};

/// Tells the first row of each block that is not as it was appended.
int verify(const Verification& verification);

int print_schema();
int install_schema(const std::string& service);

/// Whether the first word of the command line is no service.
bool is_command(std::string_view word);
int run_command_line(int argc, char** argv);

}  // namespace zunol_monitoring::postgres_ledger
