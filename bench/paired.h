// Benchmarks whose result is a ratio: the library's way and the bare calls that do the same, run in
// turn.
#pragma once

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <vector>

template <class Work>
double seconds_of(Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The same in a new process, whose heap has seen nothing yet.
template <class Work>
double seconds_in_new_process(Work& work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
  const pid_t child = fork();
  double seconds = 0;
  if (child == 0) {
    seconds = seconds_of(work);
    _exit(write(ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  close(ends[1]);
  const bool complete = read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!complete) throw std::runtime_error("the work failed");
  return seconds;
}

inline void nothing() {}

/// Runs both once an iteration, behind `prepare`, which is not timed, and each first every other
/// time, as the first one finds the caches swept. The time of the benchmark is that of `ours`; the
/// counters are the median microseconds of each and the median of the ratios of neighbouring runs.
template <class Ours, class Bare, class Prepare = void (*)()>
void run_paired(benchmark::State& state, Ours ours, Bare bare, bool new_process = false,
                Prepare prepare = nothing) {
  std::vector<double> our_times;
  std::vector<double> bare_times;
  std::vector<double> ratios;
  const auto seconds = [new_process](auto& work) {
    return new_process ? seconds_in_new_process(work) : seconds_of(work);
  };
  for (auto _ : state) {
    prepare();
    double our_time = 0;
    double bare_time = 0;
    if (ratios.size() % 2 == 0) {
      our_time = seconds(ours);
      bare_time = seconds(bare);
    } else {
      bare_time = seconds(bare);
      our_time = seconds(ours);
    }
    our_times.push_back(our_time);
    bare_times.push_back(bare_time);
    ratios.push_back(our_time / bare_time);
    state.SetIterationTime(our_time);
  }
  const auto median = [](std::vector<double>& values) {
    std::ranges::nth_element(values, values.begin() + static_cast<long>(values.size() / 2));
    return values[values.size() / 2];
  };
  state.counters["ours_us"] = median(our_times) * 1e6;
  state.counters["bare_us"] = median(bare_times) * 1e6;
  state.counters["ratio"] = median(ratios);
}
