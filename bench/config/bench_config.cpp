// The configuration beside a bare YAML::LoadFile of the same file.
#include <malloc.h>
#include <unistd.h>
#include <yaml-cpp/yaml.h>
#include <zunol_monitoring.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>

#include "bench/paired.h"

using namespace zunol_monitoring;

namespace {

bool heap_counted = false;
long heap_bytes = 0;  // signed, as blocks from before may be freed
long heap_peak_bytes = 0;

}  // namespace

// Every allocation of the program, counted while it is asked for. Not inlined, or the compiler
// takes the pair of malloc and delete for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  if (heap_counted) {
    heap_bytes += static_cast<long>(malloc_usable_size(block));
    heap_peak_bytes = std::max(heap_peak_bytes, heap_bytes);
  }
  return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  if (heap_counted && block != nullptr) heap_bytes -= static_cast<long>(malloc_usable_size(block));
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace {

/// The rendered defaults, with this number of http items.
struct Scene {
  Config config = default_config();
  // Memory-backed: truncating a file on a disk costs more than all the rest.
  std::string file = "/dev/shm/bench-config." + std::to_string(getpid());

  explicit Scene(long items = 0) {
    for (long i = 0; i < items; ++i) {
      config.checks.http.items.push_back({.name = "item " + std::to_string(i),
                                          .url = "https://host.example/" + std::to_string(i),
                                          .reject_text = {"error", "fatal"}});
    }
    render_config(config, file);
  }
  ~Scene() { std::filesystem::remove(file); }
};

void load_ours(const std::string& file) { benchmark::DoNotOptimize(load_config(file)); }
void load_bare(const std::string& file) { benchmark::DoNotOptimize(YAML::LoadFile(file)); }

/// The seconds of one load by this program started anew: its heap has seen nothing yet, as that of
/// every user of the library.
double seconds_in_new_process(const char* whose, const std::string& file) {
  const std::string line =
      std::filesystem::canonical("/proc/self/exe").string() + " --once " + whose + ' ' + file;
  FILE* output = popen(line.c_str(), "r");
  double seconds = 0;
  const int read = std::fscanf(output, "%lf", &seconds);
  if (pclose(output) != 0 || read != 1) throw std::runtime_error("the load failed");
  return seconds;
}

void load(benchmark::State& state) {
  const Scene scene(state.range(0));
  run_paired(
      state, [&] { return seconds_in_new_process("ours", scene.file); },
      [&] { return seconds_in_new_process("bare", scene.file); });
}
BENCHMARK(load)->ArgName("items")->Arg(0)->Arg(1000)->UseManualTime();

/// Again and again, in a heap that keeps the pages of the load before.
void load_again(benchmark::State& state) {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  const Scene scene(state.range(0));
  run_paired(
      state, [&] { load_ours(scene.file); }, [&] { load_bare(scene.file); });
}
BENCHMARK(load_again)->ArgName("items")->Arg(0)->Arg(1000)->UseManualTime();

/// A hundred validations against one load.
void validate_100_times(benchmark::State& state) {
  const Scene scene;
  run_paired(
      state,
      [&] {
        for (int i = 0; i < 100; ++i) benchmark::DoNotOptimize(validate_config(scene.config));
      },
      [&] { load_bare(scene.file); });
}
BENCHMARK(validate_100_times)->UseManualTime()->Iterations(200);

void render(benchmark::State& state) {
  const Scene scene;
  const std::string out = scene.file + ".out";
  run_paired(
      state, [&] { render_config(scene.config, out); }, [&] { load_bare(scene.file); });
  std::filesystem::remove(out);
}
BENCHMARK(render)->UseManualTime()->Iterations(200);

/// The most that the heap holds while `work` runs, in KiB, beyond what it held before.
template <class Work>
double heap_peak_kib(Work work) {
  heap_bytes = 0;
  heap_peak_bytes = 0;
  heap_counted = true;
  work();
  heap_counted = false;
  return static_cast<double>(heap_peak_bytes) / 1024;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && argv[1] == std::string("--once")) {
    const auto work = [&] {
      argv[2] == std::string("ours") ? load_ours(argv[3]) : load_bare(argv[3]);
    };
    std::printf("%.9f\n", seconds_of(work));
    return 0;
  }
  {
    const Scene scene;
    const double ours = heap_peak_kib([&] { load_ours(scene.file); });
    const double bare = heap_peak_kib([&] { load_bare(scene.file); });
    std::printf("peak of the heap in a load of the defaults: %.0f KiB, bare %.0f KiB, ratio %.3f\n",
                ours, bare, ours / bare);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
