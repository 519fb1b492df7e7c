// Benchmarks whose result is a ratio: the library's way and the bare calls that do the same, run in
// turn.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

/// Runs both once an iteration. The time of the benchmark is that of `ours`; the counters are the
/// median microseconds of each and the median of the ratios of neighbouring runs.
template <class Ours, class Bare>
void run_paired(benchmark::State& state, Ours ours, Bare bare) {
  std::vector<double> our_times;
  std::vector<double> bare_times;
  std::vector<double> ratios;
  const auto seconds = [](auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  for (auto _ : state) {
    our_times.push_back(seconds(ours));
    bare_times.push_back(seconds(bare));
    ratios.push_back(our_times.back() / bare_times.back());
    state.SetIterationTime(our_times.back());
  }
  const auto median = [](std::vector<double>& values) {
    std::ranges::nth_element(values, values.begin() + static_cast<long>(values.size() / 2));
    return values[values.size() / 2];
  };
  state.counters["ours_us"] = median(our_times) * 1e6;
  state.counters["bare_us"] = median(bare_times) * 1e6;
  state.counters["ratio"] = median(ratios);
}
