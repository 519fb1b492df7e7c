// Benchmarks whose result is a ratio: the library's way and the bare calls that do the same, run in
// turn.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <type_traits>
#include <vector>

/// Work that returns a number has taken its own time, in seconds.
template <class Work>
double seconds_of(Work& work) {
  if constexpr (std::is_same_v<std::invoke_result_t<Work&>, double>) {
    return work();
  } else {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
}

inline void nothing() {}

/// Runs both once an iteration, behind `prepare`, which is not timed, and each first every other
/// time, as the first one finds the caches swept. The time of the benchmark is that of `ours`; the
/// counters are the median microseconds of each and the median of the ratios of neighbouring runs.
template <class Ours, class Bare, class Prepare = void (*)()>
void run_paired(benchmark::State& state, Ours ours, Bare bare, Prepare prepare = nothing) {
  std::vector<double> our_times;
  std::vector<double> bare_times;
  std::vector<double> ratios;
  for (auto _ : state) {
    prepare();
    double our_time = 0;
    double bare_time = 0;
    if (ratios.size() % 2 == 0) {
      our_time = seconds_of(ours);
      bare_time = seconds_of(bare);
    } else {
      bare_time = seconds_of(bare);
      our_time = seconds_of(ours);
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
