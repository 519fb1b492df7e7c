// Running a program as its user would: with an environment of its own, and nothing in between.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support.h"
#include "zunol_monitoring/base/files.h"

struct ProcessResult {
  int status = -1;  ///< exit status, or 1000 and the number of the signal that ended it
  std::string out;
  std::string err;
};

/// Starts `arguments` with exactly the variables of `environment` and waits for it.
inline ProcessResult run_process(const std::vector<std::string>& arguments,
                                 const std::map<std::string, std::string>& environment) {
  const TempDir output;
  std::vector<char*> argv;
  for (const std::string& text : arguments) argv.push_back(const_cast<char*>(text.c_str()));
  argv.push_back(nullptr);
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) variables.push_back(name + '=' + value);
  std::vector<char*> envp;
  for (std::string& text : variables) envp.push_back(text.data());
  envp.push_back(nullptr);

  const std::string out = output / "out";
  const std::string err = output / "err";
  constexpr int create = O_WRONLY | O_CREAT | O_APPEND;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), create, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), create, 0600);
  pid_t child = 0;
  const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(error, 0) << "cannot start " << arguments[0];
  if (error != 0) return {};

  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status),
          zunol_monitoring::read_text_file(out), zunol_monitoring::read_text_file(err)};
}
