// Measuring whole processes: time, peak memory, instructions.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// One way to do a job: what runs, in which environment, and what makes ready for each run.
struct Program {
  std::vector<std::string> arguments;
  std::vector<std::string> environment;
  std::function<void()> prepare = [] {};
  int expected_status = 0;
};

/// Two programs, run in turn so that both see the same machine.
struct Pair {
  double median_seconds = 0;
  double reference_median_seconds = 0;
  double median_ratio = 0;  ///< of the ratios of neighbouring runs
};

/// Runs each program `rounds` times, A B A B ... Raises when a run ends with another status than
/// the expected one.
Pair time_pair(const Program& program, const Program& reference, int rounds);

/// The high-water mark of the program's own resident memory, in KiB, its children left out. It is
/// read at the moment of exit: what a waiting parent is told includes the parent's own memory.
long peak_memory_kib(const Program& program);

/// Instructions of the program in user mode, its children left out, counted by valgrind; nothing
/// where valgrind is not installed.
std::optional<long> instructions(const Program& program);
