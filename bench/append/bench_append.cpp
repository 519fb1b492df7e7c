// What the append command costs, as ratios against the least that its job can cost and against the
// same job written by hand in Python and with jq. Every pair is run in turn in this one call.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "measure.h"
#include "zunol_monitoring/base/command_runner.h"
#include "zunol_monitoring/base/files.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

namespace {

const std::string bin = ZUNOL_BIN_DIR;
const std::string scripts = ZUNOL_SOURCE_DIR "/bench/append";

/// A directory with a full configuration file, and the events.
struct Scene {
  fs::path directory;
  fs::path config = directory / "config.yaml";
  fs::path marker = directory / "state/vorn-bridge-ledger/evt_bench.ok";

  explicit Scene(fs::path where) : directory(std::move(where)) {
    std::string text = read_text_file(ZUNOL_SOURCE_DIR "/tests/config/default.yaml");
    const auto replace = [&text](const std::string& from, const std::string& to) {
      text.replace(text.find(from), from.size(), to);
    };
    replace("/var/lib/zunol/monitoring-agent/agent.db", (directory / "state/agent.db").string());
    replace("history_block_id: \"\"", "history_block_id: \"block\"");
    write_text_file(config, text);
  }
  ~Scene() { fs::remove_all(directory); }

  fs::path write_event(const std::string& name, const nlohmann::json& payload) const {
    const nlohmann::json event = {{"schema", "zunol.monitoring.event.v1"},
                                  {"event_id", "evt_bench"},
                                  {"agent_id", "agent_local"},
                                  {"project_id", "project_local"},
                                  {"server_name", "localhost"},
                                  {"type", "check_failed"},
                                  {"level", "warning"},
                                  {"created_at", "2026-11-19T02:58:20Z"},
                                  {"payload", payload}};
    write_text_file(directory / name, event.dump() + '\n');
    return directory / name;
  }

  std::vector<std::string> environment(const fs::path& event) const {
    return {"PATH=/usr/bin:/bin", "ZUNOL_MONITORING_CONFIG=" + config.string(),
            "ZUNOL_VORN_EVENT_FILE=" + event.string(), "ZUNOL_VORN_EVENT_ID=evt_bench",
            "ZUNOL_VORN_APPEND_BACKEND=/bin/true"};
  }

  /// The same job by other means. Fresh: no marker stands.
  Program program(std::vector<std::string> arguments, const fs::path& event, bool fresh) const {
    const auto prepare = [this, fresh] {
      if (fresh) fs::remove(marker);
    };
    return {std::move(arguments), environment(event), prepare};
  }

  /// The line that the command runs through the system shell.
  std::string double_shell_line(const fs::path& event) const {
    const std::string inner = "ZUNOL_MONITORING_CONFIG=" + shell_quote(config.string()) +
                              " ZUNOL_VORN_EVENT_FILE=" + shell_quote(event.string()) +
                              " ZUNOL_VORN_EVENT_ID='evt_bench'"
                              " ZUNOL_VORN_HISTORY_BLOCK_ID='block'"
                              " ZUNOL_VORN_WALLET_FILE='/etc/zunol/monitoring-agent/agent.vorn'"
                              " /bin/true";
    return "'/bin/sh' '-c' " + shell_quote(inner) + " 2>&1";
  }
};

void print_head() {
  std::printf("%-26s %-26s %9s %9s %7s %9s %9s\n", "the command", "against", "ms", "ref ms",
              "ratio", "KiB", "ref KiB");
}

void compare(const char* what, const char* against, const Program& program,
             const Program& reference, int rounds) {
  const Pair pair = time_pair(program, reference, rounds);
  std::printf("%-26s %-26s %9.3f %9.3f %7.3f %9ld %9ld\n", what, against, pair.median_seconds * 1e3,
              pair.reference_median_seconds * 1e3, pair.median_ratio, peak_memory_kib(program),
              peak_memory_kib(reference));
  std::fflush(stdout);
}

void print_instructions(const char* what, const Program& program) {
  const auto count = instructions(program);
  if (count) std::printf("%-40s %12.3f million instructions\n", what, double(*count) / 1e6);
  if (!count) std::printf("%-40s valgrind is not installed\n", what);
}

/// 10 MB in many small values.
nlohmann::json large_payload() {
  nlohmann::json rows = nlohmann::json::array();
  for (int row = 0; row < 100000; ++row) {
    rows.push_back({{"pid", row},
                    {"name", "process-" + std::to_string(row)},
                    {"cpu", row * 0.25},
                    {"state", "sleeping, waiting for something"},
                    {"threads", 4}});
  }
  return {{"processes", rows}};
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 300;
  if (rounds < 1) {
    std::fputs("usage: bench-append [rounds]\n", stderr);
    return 2;
  }
  const Scene scene(fs::temp_directory_path() / ("bench-append." + std::to_string(getpid())));
  const fs::path event = scene.write_event("event.json", {{"disk", "/"}, {"used_percent", 91.5}});
  const fs::path rows = scene.write_event("rows.json", large_payload());
  const fs::path text = scene.write_event("text.json", {{"text", std::string(10'000'000, 'x')}});

  const std::string command = bin + "/zunol-vorn-append-event";
  const auto ours = [&](const fs::path& file, bool fresh) {
    return scene.program({command}, file, fresh);
  };
  const auto bare = [&](const fs::path& file, bool shells) {
    std::vector<std::string> arguments = {bin + "/bench-bare-append", file.string(),
                                          scene.config.string()};
    if (shells) arguments.push_back(scene.double_shell_line(file));
    return scene.program(arguments, file, false);
  };
  const auto python = [&](const fs::path& file, bool fresh) {
    return scene.program({"/usr/bin/python3", scripts + "/append.py"}, file, fresh);
  };
  const auto jq = [&](bool fresh) { return scene.program({scripts + "/append-jq"}, event, fresh); };
  const Program shells{{"/bin/sh", "-c", scene.double_shell_line(event)}, {"PATH=/usr/bin:/bin"}};
  const Program unset{{command}, {}, [] {}, 1};
  const Program empty{{bin + "/bench-empty"}, {}};

  print_head();
  compare("start-up, no variable set", "empty C program", unset, empty, rounds);
  compare("fresh append", "the two shells alone", ours(event, true), shells, rounds);
  compare("fresh append", "bare parse, load, shells", ours(event, true), bare(event, true), rounds);
  compare("repeat", "bare parse, load, shells", ours(event, false), bare(event, true), rounds);
  compare("repeat", "bare parse, load", ours(event, false), bare(event, false), rounds);
  compare("fresh append", "Python", ours(event, true), python(event, true), rounds / 10 + 1);
  compare("repeat", "Python", ours(event, false), python(event, false), rounds / 10 + 1);
  compare("fresh append", "shell and jq", ours(event, true), jq(true), rounds / 10 + 1);
  compare("repeat", "shell and jq", ours(event, false), jq(false), rounds / 10 + 1);
  for (const auto& [name, file] : {std::pair{"10 MB of rows", rows}, {"10 MB of text", text}}) {
    compare(name, "bare parse, load, shells", ours(file, true), bare(file, true), rounds / 15 + 1);
    compare(name, "Python", ours(file, true), python(file, true), rounds / 15 + 1);
  }
  print_instructions("start-up, no variable set", unset);
  print_instructions("fresh append", ours(event, true));
  print_instructions("repeat", ours(event, false));
  print_instructions("bare parse, load", bare(event, false));
  return 0;
}
