#include "measure.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>

#include "zunol_monitoring/base/command_runner.h"

namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (const std::string& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

void expect_status(const Program& program, int status) {
  if (!WIFEXITED(status) || WEXITSTATUS(status) != program.expected_status) {
    throw std::runtime_error(program.arguments[0] + " ended with wait status " +
                             std::to_string(status));
  }
}

double run_seconds(const Program& program) {
  program.prepare();
  const auto arguments = pointers(program.arguments);
  const auto environment = pointers(program.environment);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  const int error =
      posix_spawn(&child, arguments[0], &quiet, nullptr, arguments.data(), environment.data());
  int status = 0;
  if (error == 0) waitpid(child, &status, 0);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  posix_spawn_file_actions_destroy(&quiet);
  if (error != 0) throw std::runtime_error("cannot start " + program.arguments[0]);
  expect_status(program, status);
  return elapsed.count();
}

double median(std::vector<double> values) {
  std::ranges::nth_element(values, values.begin() + static_cast<long>(values.size() / 2));
  return values[values.size() / 2];
}

}  // namespace

Pair time_pair(const Program& program, const Program& reference, int rounds) {
  run_seconds(program);
  run_seconds(reference);
  std::vector<double> times;
  std::vector<double> reference_times;
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    times.push_back(run_seconds(program));
    reference_times.push_back(run_seconds(reference));
    ratios.push_back(times.back() / reference_times.back());
  }
  return {median(times), median(reference_times), median(ratios)};
}

long peak_memory_kib(const Program& program) {
  program.prepare();
  const auto arguments = pointers(program.arguments);
  const auto environment = pointers(program.environment);
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDERR_FILENO);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execve(arguments[0], arguments.data(), environment.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);  // the stop that exec makes
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT);
  long kib = -1;
  for (int signal = 0; WIFSTOPPED(status);) {
    ptrace(PTRACE_CONT, child, nullptr, signal);
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) break;
    const bool exiting = status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXIT << 8));
    signal = exiting ? 0 : WSTOPSIG(status);
    if (!exiting) continue;
    std::ifstream lines("/proc/" + std::to_string(child) + "/status");
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("VmHWM:")) kib = std::stol(line.substr(6));
    }
  }
  expect_status(program, status);
  return kib;
}

std::optional<long> instructions(const Program& program) {
  program.prepare();
  std::string line = "env -i";
  for (const std::string& variable : program.environment) {
    line += ' ' + zunol_monitoring::shell_quote(variable);
  }
  line += " valgrind --tool=callgrind --callgrind-out-file=/dev/null";
  for (const std::string& argument : program.arguments) {
    line += ' ' + zunol_monitoring::shell_quote(argument);
  }
  const auto result = zunol_monitoring::run_command({"/bin/sh", "-c", line});
  const std::string marker = "Collected : ";
  const std::size_t found = result.output.find(marker);
  if (found == std::string::npos) return std::nullopt;
  return std::stol(result.output.substr(found + marker.size()));
}
