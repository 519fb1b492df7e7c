// The outbox beside the bare SQLite calls, shells and file operations that do the same, and the
// cost of a flush as the queue grows. The memory-backed rows use /dev/shm, the others the directory
// for temporary files.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zunol_monitoring.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "bench/bare_sqlite.h"
#include "bench/paired.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

namespace {

fs::path place(const benchmark::State& state) {
  return state.range(0) == 0 ? memory : fs::temp_directory_path();
}

/// A store, and a second connection of its own kind to another file for the bare calls.
struct Scene {
  Directory directory;
  Config config = default_config();
  SqliteStore store;
  SqliteStore bare_owner;  // makes the schema and stays idle
  sqlite3* bare = bare_open(directory.path / "bare.db");
  QueueingVornHistoryWriter writer{config, store};

  explicit Scene(const fs::path& below)
      : directory(below),
        store(directory.path / "ours.db"),
        bare_owner(directory.path / "bare.db") {
    config.vorn.queue_only = false;
  }
  ~Scene() { sqlite3_close(bare); }

  /// The same rows in both: `count` pending ones, a row each 1/1000 of a day.
  void fill(long count, int payload_size = 200) {
    const std::string sql =
        "DELETE FROM vorn_sync_queue; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n "
        "WHERE i<" +
        std::to_string(count) +
        ") INSERT INTO vorn_sync_queue(event_id, payload, "
        "status, created_at) SELECT 'evt_' || i, hex(zeroblob(" +
        std::to_string(payload_size / 2) +
        ")), 'pending', strftime('%Y-%m-%dT%H:%M:%SZ', 1700000000 + i * 86, 'unixepoch') FROM n";
    bare_exec(bare, sql);
    store.exec(sql);
  }
};

constexpr const char* insert_sql =
    "INSERT OR IGNORE INTO vorn_sync_queue(event_id, payload, status, created_at) "
    "VALUES(?, ?, 'pending', ?)";
constexpr const char* mark_sql =
    "UPDATE vorn_sync_queue SET status='sent', sent_at=?, next_attempt_at='', last_error='' "
    "WHERE event_id=?";
constexpr const char* due_sql =
    "SELECT event_id, payload, status, attempt_count, last_error, created_at FROM vorn_sync_queue "
    "WHERE status='pending' AND (next_attempt_at='' OR next_attempt_at<=?) "
    "ORDER BY created_at ASC LIMIT ?";

struct BareRow {
  std::string columns[5];
  int attempts = 0;
};

std::vector<BareRow> bare_list(sqlite3* db, int limit) {
  std::vector<BareRow> rows;
  const std::string far_away = "2030-01-01T00:00:00Z";
  const auto take = [&rows](sqlite3_stmt* row) {
    rows.push_back({{bare_text(row, 0), bare_text(row, 1), bare_text(row, 2), bare_text(row, 4),
                     bare_text(row, 5)},
                    sqlite3_column_int(row, 3)});
  };
  bare_rows(db, due_sql, take, far_away, limit);
  return rows;
}

const std::string event_text(300, 'x');
const std::string now = "2026-11-19T02:58:20Z";

void enqueue_sync_event(benchmark::State& state) {
  Scene scene(place(state));
  int ours = 0;
  int bare = 0;
  run_paired(
      state, [&] { scene.store.enqueue_sync_event("evt_" + std::to_string(++ours), event_text); },
      [&] {
        bare_write(scene.bare, insert_sql, "evt_" + std::to_string(++bare), event_text, now);
      });
}
BENCHMARK(enqueue_sync_event)->ArgName("disk")->Arg(0)->Arg(1)->UseManualTime();

/// Build, judge, serialise and insert, against the insert alone of an event of the same size. The
/// caller's data is moved in, as that of a caller who has just made it.
void whole_enqueue(benchmark::State& state) {
  Scene scene(place(state));
  const nlohmann::json data = {
      {"level", "warning"}, {"check", "disk"}, {"path", "/var"}, {"used_percent", 91.5}};
  const std::string text = build_event(scene.config, "check_failed", data).dump();
  // Ids of the same kind, as their order decides how many pages an insert touches.
  std::vector<std::string> ids(400000);
  for (std::string& id : ids) id = make_id("evt");
  std::size_t next = 0;
  nlohmann::json made;
  run_paired(
      state, [&] { scene.writer.enqueue("check_failed", std::move(made)); },
      [&] { scene.bare_owner.enqueue_sync_event(ids[next++ % ids.size()], text); },
      [&] { made = data; });
}
BENCHMARK(whole_enqueue)->ArgName("disk")->Arg(0)->Arg(1)->UseManualTime();

void list_due(benchmark::State& state) {
  Scene scene(memory);
  scene.fill(state.range(0));
  run_paired(
      state, [&] { benchmark::DoNotOptimize(scene.store.list_sync_events(100, false)); },
      [&] { benchmark::DoNotOptimize(bare_list(scene.bare, 100)); });
}
BENCHMARK(list_due)
    ->ArgName("pending")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->UseManualTime();

/// A flush that fails must not be taken for a fast one.
void expect_sent(int sent, int expected) {
  if (sent != expected) throw std::runtime_error("the flush failed");
}

void flush_over_command(benchmark::State& state) {
  Scene scene(memory);
  scene.config.vorn.transport = "command";
  scene.config.vorn.append_command = "/bin/true";
  scene.fill(1000000 / 10);
  scene.config.vorn.max_batch = 10;
  const std::string line =
      "/bin/sh -c \"ZUNOL_VORN_EVENT_FILE='/tmp/x' ZUNOL_VORN_EVENT_ID='evt' /bin/true\" 2>&1";
  run_paired(
      state, [&] { expect_sent(scene.writer.flush(), 10); },
      [&] {
        benchmark::DoNotOptimize(bare_list(scene.bare, 10));
        for (int i = 0; i < 10; ++i) {
          FILE* shell = popen(line.c_str(), "r");
          while (std::fgetc(shell) != EOF) {
          }
          pclose(shell);
        }
      });
}
BENCHMARK(flush_over_command)->UseManualTime()->Unit(benchmark::kMillisecond);

void bare_spool(const fs::path& directory, const std::string& name, const std::string& payload) {
  mkdir(directory.c_str(), 0750);
  chmod(directory.c_str(), 0750);
  const fs::path final_path = directory / name;
  const fs::path temporary = final_path.string() + ".tmp.vorn_20261119T025820Z_0123456789abcdef";
  const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  fchmod(file, 0600);
  if (write(file, payload.data(), payload.size()) < 0) throw std::runtime_error("write");
  fsync(file);
  close(file);
  rename(temporary.c_str(), final_path.c_str());
  chmod(final_path.c_str(), 0640);
  const int handle = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  fsync(handle);
  close(handle);
}

void flush_over_spool(benchmark::State& state) {
  Scene scene(place(state));
  scene.config.vorn.transport = "spool";
  scene.config.vorn.export_dir = scene.directory.path / "ours";
  scene.config.vorn.max_batch = 100;
  const fs::path bare_directory = scene.directory.path / "bare";
  const std::string refill = "UPDATE vorn_sync_queue SET status='pending'";
  scene.fill(100);
  scene.writer.flush();
  run_paired(
      state,
      [&] {
        scene.store.exec(refill);
        expect_sent(scene.writer.flush(), 100);
      },
      [&] {
        bare_exec(scene.bare, refill);
        for (const BareRow& row : bare_list(scene.bare, 100)) {
          bare_spool(bare_directory, row.columns[4] + '_' + row.columns[0] + ".json",
                     row.columns[1] + '\n');
          bare_write(scene.bare, mark_sql, now, row.columns[0]);
        }
      });
}
BENCHMARK(flush_over_spool)
    ->ArgName("disk")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// One flush of 100 rows over the spool while `pending` rows wait.
void flush_of_a_queue(benchmark::State& state) {
  Scene scene(memory);
  scene.config.vorn.transport = "spool";
  scene.config.vorn.export_dir = scene.directory.path / "spool";
  scene.fill(state.range(0));
  for (auto _ : state) {
    if (scene.writer.flush() != 100) state.SkipWithError("the queue is empty");
    state.PauseTiming();
    scene.store.exec("UPDATE vorn_sync_queue SET status='pending' WHERE status='sent'");
    state.ResumeTiming();
  }
}
BENCHMARK(flush_of_a_queue)
    ->ArgName("pending")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

long status_kib(const char* key) {
  std::ifstream lines("/proc/self/status");
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(key)) return std::stol(line.substr(std::strlen(key)));
  }
  return 0;
}

/// How much a flush of 1,000 rows of 64 KiB takes beside the batch itself, in a process of its own.
void print_flush_memory() {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child != 0) {
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) throw std::runtime_error("the flush failed");
    return;
  }
  {
    Scene scene(memory);
    scene.fill(1000, 65536);
    scene.config.vorn.transport = "spool";
    scene.config.vorn.export_dir = scene.directory.path / "spool";
    scene.config.vorn.max_batch = 1000;
    const long before = status_kib("VmRSS:");
    std::ofstream("/proc/self/clear_refs") << 5;  // forget the high-water mark so far
    expect_sent(scene.writer.flush(), 1000);
    const double used = static_cast<double>(status_kib("VmHWM:") - before);
    std::printf("memory of a flush of 1000 rows of 64 KiB: %.0f KiB, %.3f times the batch\n", used,
                used / (1000.0 * 64));
  }
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
  print_flush_memory();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
