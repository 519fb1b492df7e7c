// Each operation of the store beside the bare SQLite calls that do the same, on a memory-backed
// file system; and the maintenance of a store of 200 MB beside the bare statements, with the
// longest time that another connection had to wait for it.
#include <zunol_monitoring.h>

#include <atomic>
#include <functional>
#include <nlohmann/json.hpp>
#include <thread>

#include "bench/bare_sqlite.h"
#include "bench/paired.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

namespace {

const std::string now = "2026-11-19T02:58:20Z";
const std::string text(120, 'x');
constexpr int seed_rows = 1000;
constexpr int listed = 100;

const Incident sample_incident = {.id = "",
                                  .fingerprint = "disk:/var",
                                  .check_type = "disk",
                                  .check_name = "disk usage",
                                  .target = "/var",
                                  .level = Severity::Critical,
                                  .status = IncidentStatus::New,
                                  .title = "Disk is full",
                                  .message = text,
                                  .current_value = "97 %",
                                  .first_seen_at = now,
                                  .last_seen_at = now};
const CheckResult sample_result = {.check_type = "disk",
                                   .check_name = "disk usage",
                                   .target = "/var",
                                   .message = text,
                                   .value = 97.5,
                                   .labels = {{"device", "/dev/sda1"}, {"fstype", "ext4"}},
                                   .created_at = now};

/// The library's store and a bare connection, on databases of the same content.
struct Scene {
  Directory directory{memory};
  SqliteStore store{directory.path / "ours.db"};
  SqliteStore schema{directory.path / "bare.db"};  // makes the tables and stays idle
  sqlite3* bare = bare_open(directory.path / "bare.db");
  int ours_next = 0;
  int bare_next = 0;

  Scene() {
    for (SqliteStore* filled : {&store, &schema}) {
      filled->exec("BEGIN");
      for (int i = 0; i < seed_rows; ++i) {
        const std::string id = "seed" + std::to_string(i);
        Incident incident = sample_incident;
        incident.id = incident.fingerprint = id;
        filled->insert_incident(incident);
        filled->insert_incident_event({id, "seed1", "opened", now, text});
        filled->enqueue_notification("alert", text);
        filled->append_journal("update", "check", "ok", text, "");
        filled->insert_check_result(sample_result);
        filled->enqueue_sync_event(id, text);
      }
      filled->set_state("cursor", "17");
      filled->exec("COMMIT");
    }
  }
  ~Scene() { sqlite3_close(bare); }
};

std::string id_of(int& next) { return "id" + std::to_string(next++); }
int row_of(int& next) { return next++ % seed_rows + 1; }

constexpr const char* incident_columns =
    "SELECT id, fingerprint, check_type, check_name, target, level, status, title, message, "
    "current_value, first_seen_at, last_seen_at, resolved_at, repeat_count FROM incidents ";

/// A row as its texts and numbers, the way a caller without the library would take it.
template <std::size_t columns>
struct BareRow {
  std::array<std::string, columns> texts;
  double number = 0;
};

template <std::size_t columns, class... Values>
void bare_list(sqlite3* db, const std::string& sql, const Values&... values) {
  std::vector<BareRow<columns>> rows;
  const auto take = [&rows](sqlite3_stmt* row) {
    BareRow<columns>& taken = rows.emplace_back();
    for (std::size_t i = 0; i < columns; ++i) taken.texts[i] = bare_text(row, static_cast<int>(i));
  };
  bare_rows(db, sql, take, values...);
  benchmark::DoNotOptimize(rows);
}

void bare_insert_incident(Scene& s) {
  const Incident& i = sample_incident;
  bare_write(s.bare,
             "INSERT INTO incidents(id, fingerprint, check_type, check_name, target, level, "
             "status, title, message, current_value, first_seen_at, last_seen_at, resolved_at, "
             "repeat_count) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
             id_of(s.bare_next), i.fingerprint, i.check_type, i.check_name, i.target,
             std::string("critical"), std::string("new"), i.title, i.message, i.current_value,
             i.first_seen_at, i.last_seen_at, i.resolved_at, i.repeat_count);
}

void ours_insert_incident(Scene& s) {
  Incident incident = sample_incident;
  incident.id = id_of(s.ours_next);
  s.store.insert_incident(incident);
}

/// The labels go through the JSON library on both sides: the column holds JSON.
void bare_insert_check_result(Scene& s) {
  const CheckResult& r = sample_result;
  bare_write(s.bare,
             "INSERT INTO check_results(check_type, check_name, target, state, level, message, "
             "value, created_at, labels) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)",
             r.check_type, r.check_name, r.target, std::string("ok"), std::string("info"),
             r.message, r.value, r.created_at, nlohmann::json(r.labels).dump());
}

void bare_list_check_results(Scene& s) {
  std::vector<BareRow<8>> rows;
  std::vector<nlohmann::json> labels;
  const auto take = [&](sqlite3_stmt* row) {
    BareRow<8>& taken = rows.emplace_back();
    for (std::size_t i = 0; i < 6; ++i) taken.texts[i] = bare_text(row, static_cast<int>(i));
    taken.number = sqlite3_column_double(row, 6);
    taken.texts[7] = bare_text(row, 7);
    labels.push_back(nlohmann::json::parse(bare_text(row, 8)));
  };
  bare_rows(s.bare,
            "SELECT check_type, check_name, target, state, level, message, value, created_at, "
            "labels FROM check_results ORDER BY created_at DESC, id DESC LIMIT ?",
            take, listed);
  benchmark::DoNotOptimize(rows);
}

template <class... Values>
void bare_number(sqlite3* db, const std::string& sql, const Values&... values) {
  double number = 0;
  bare_rows(
      db, sql, [&number](sqlite3_stmt* row) { number = sqlite3_column_double(row, 0); }, values...);
  benchmark::DoNotOptimize(number);
}

const std::string seed = "seed500";
const std::string disk = "disk";
const std::string disk_usage = "disk usage";
const std::string resolved = "resolved";
const std::string empty;

const struct {
  const char* name;
  std::function<void(Scene&)> ours;
  std::function<void(Scene&)> bare;
} operations[] = {
    {"insert_incident", ours_insert_incident, bare_insert_incident},
    {"update_incident_occurrence",
     [](Scene& s) {
       Incident incident = sample_incident;
       incident.id = seed;
       s.store.update_incident_occurrence(incident);
     },
     [](Scene& s) {
       const Incident& i = sample_incident;
       bare_write(s.bare,
                  "UPDATE incidents SET level=?, title=?, message=?, current_value=?, "
                  "last_seen_at=?, repeat_count=repeat_count+1 WHERE id=?",
                  std::string("critical"), i.title, i.message, i.current_value, i.last_seen_at,
                  seed);
     }},
    {"set_incident_status",
     [](Scene& s) { s.store.set_incident_status(seed, IncidentStatus::Resolved, now); },
     [](Scene& s) {
       bare_write(s.bare, "UPDATE incidents SET status=?, resolved_at=?, last_seen_at=? WHERE id=?",
                  resolved, now, now, seed);
     }},
    {"insert_incident_event",
     [](Scene& s) {
       s.store.insert_incident_event({id_of(s.ours_next), "i", "opened", now, text});
     },
     [](Scene& s) {
       bare_write(s.bare,
                  "INSERT OR IGNORE INTO incident_events(event_id, incident_id, type, created_at, "
                  "payload) VALUES(?, ?, ?, ?, ?)",
                  id_of(s.bare_next), std::string("i"), std::string("opened"), now, text);
     }},
    {"count_open_incidents",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.count_open_incidents()); },
     [](Scene& s) {
       bare_number(s.bare,
                   "SELECT count(*) FROM incidents WHERE status NOT IN "
                   "('resolved','auto_resolved')");
     }},
    {"find_incident", [](Scene& s) { benchmark::DoNotOptimize(s.store.find_incident(seed)); },
     [](Scene& s) { bare_list<14>(s.bare, std::string(incident_columns) + "WHERE id=?", seed); }},
    {"find_open_incident",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.find_open_incident(seed)); },
     [](Scene& s) {
       bare_list<14>(s.bare,
                     std::string(incident_columns) +
                         "WHERE fingerprint=? AND status NOT IN ('resolved','auto_resolved') ORDER "
                         "BY last_seen_at DESC LIMIT 1",
                     seed);
     }},
    {"list_incidents", [](Scene& s) { benchmark::DoNotOptimize(s.store.list_incidents(listed)); },
     [](Scene& s) {
       bare_list<14>(s.bare, std::string(incident_columns) + "ORDER BY last_seen_at DESC LIMIT ?",
                     listed);
     }},
    {"list_incident_events",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.list_incident_events("seed1", listed)); },
     [](Scene& s) {
       bare_list<5>(s.bare,
                    "SELECT event_id, incident_id, type, created_at, payload FROM "
                    "incident_events WHERE incident_id=? ORDER BY created_at DESC LIMIT ?",
                    std::string("seed1"), listed);
     }},
    {"enqueue_notification", [](Scene& s) { s.store.enqueue_notification("alert", text); },
     [](Scene& s) {
       bare_write(s.bare,
                  "INSERT INTO notification_queue(kind, payload, status, created_at) VALUES(?, ?, "
                  "'pending', ?)",
                  std::string("alert"), text, now);
     }},
    {"record_notification_failure",
     [](Scene& s) { s.store.record_notification_failure(row_of(s.ours_next), text); },
     [](Scene& s) {
       bare_write(s.bare,
                  "UPDATE notification_queue SET attempt_count=attempt_count+1, last_error=? WHERE "
                  "id=?",
                  text, row_of(s.bare_next));
     }},
    {"list_pending_notifications",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.list_pending_notifications(listed)); },
     [](Scene& s) {
       bare_list<7>(s.bare,
                    "SELECT id, kind, payload, status, attempt_count, last_error, created_at FROM "
                    "notification_queue WHERE status='pending' ORDER BY created_at ASC LIMIT ?",
                    listed);
     }},
    {"mark_notification_sent",
     [](Scene& s) { s.store.mark_notification_sent(row_of(s.ours_next)); },
     [](Scene& s) {
       bare_write(s.bare, "UPDATE notification_queue SET status='sent', sent_at=? WHERE id=?", now,
                  row_of(s.bare_next));
     }},
    {"expire_notification",
     [](Scene& s) { s.store.expire_notification(row_of(s.ours_next), text); },
     [](Scene& s) {
       bare_write(s.bare,
                  "UPDATE notification_queue SET status='expired', last_error=?, sent_at=? WHERE "
                  "id=?",
                  text, now, row_of(s.bare_next));
     }},
    {"append_journal",
     [](Scene& s) { s.store.append_journal("update", "check", "ok", text, empty); },
     [](Scene& s) {
       bare_write(s.bare,
                  "INSERT INTO agent_journal(category, action, status, message, details, "
                  "created_at) VALUES(?, ?, ?, ?, ?, ?)",
                  std::string("update"), std::string("check"), std::string("ok"), text, empty, now);
     }},
    {"list_journal", [](Scene& s) { benchmark::DoNotOptimize(s.store.list_journal(listed, "")); },
     [](Scene& s) {
       bare_list<7>(s.bare,
                    "SELECT id, category, action, status, message, details, created_at FROM "
                    "agent_journal ORDER BY id DESC LIMIT ?",
                    listed);
     }},
    {"set_state", [](Scene& s) { s.store.set_state("cursor", "18"); },
     [](Scene& s) {
       bare_write(s.bare,
                  "INSERT INTO agent_state(key, value, updated_at) VALUES(?, ?, ?) ON "
                  "CONFLICT(key) DO UPDATE SET value=excluded.value, "
                  "updated_at=excluded.updated_at",
                  std::string("cursor"), std::string("18"), now);
     }},
    {"get_state", [](Scene& s) { benchmark::DoNotOptimize(s.store.get_state("cursor", "")); },
     [](Scene& s) {
       bare_list<1>(s.bare, "SELECT value FROM agent_state WHERE key=?", std::string("cursor"));
     }},
    {"insert_check_result", [](Scene& s) { s.store.insert_check_result(sample_result); },
     bare_insert_check_result},
    {"list_check_results",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.list_check_results(listed, "")); },
     bare_list_check_results},
    {"average_check_value",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.average_check_value(disk, disk_usage, now)); },
     [](Scene& s) {
       bare_number(s.bare,
                   "SELECT avg(value) FROM check_results WHERE check_type=? AND check_name=? AND "
                   "created_at>=?",
                   disk, disk_usage, now);
     }},
    {"max_check_value",
     [](Scene& s) { benchmark::DoNotOptimize(s.store.max_check_value(disk, disk_usage, now)); },
     [](Scene& s) {
       bare_number(s.bare,
                   "SELECT max(value) FROM check_results WHERE check_type=? AND check_name=? AND "
                   "created_at>=?",
                   disk, disk_usage, now);
     }},
    {"mark_sync_event_sent", [](Scene& s) { s.store.mark_sync_event_sent(seed); },
     [](Scene& s) {
       bare_write(s.bare,
                  "UPDATE vorn_sync_queue SET status='sent', sent_at=?, next_attempt_at='', "
                  "last_error='' WHERE event_id=?",
                  now, seed);
     }},
    {"record_sync_failure", [](Scene& s) { s.store.record_sync_failure(seed, text); },
     [](Scene& s) {
       bare_number(s.bare, "SELECT attempt_count FROM vorn_sync_queue WHERE event_id=?", seed);
       bare_write(s.bare,
                  "UPDATE vorn_sync_queue SET attempt_count=attempt_count+1, next_attempt_at=?, "
                  "last_error=? WHERE event_id=?",
                  now, text, seed);
     }},
    {"prune_resolved_incidents", [](Scene& s) { s.store.prune_resolved_incidents(10); },
     [](Scene& s) {
       bare_write(s.bare,
                  "DELETE FROM incidents WHERE id IN (SELECT id FROM incidents WHERE status IN "
                  "('resolved','auto_resolved') ORDER BY last_seen_at DESC LIMIT -1 OFFSET ?)",
                  10);
     }},
};

constexpr std::uint64_t max_bytes = 10485760;

std::uint64_t size_of(const fs::path& file) {
  std::uint64_t size = 0;
  for (const char* suffix : {"", "-wal", "-shm"}) {
    std::error_code missing;
    const std::uintmax_t bytes = fs::file_size(file.string() + suffix, missing);
    if (!missing) size += bytes;
  }
  return size;
}

/// A busy agent's rows, 200 MB of them, a twentieth of the queues pending.
void fill_200_mb(const fs::path& file) {
  SqliteStore store(file);
  const std::string numbers =
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<150000) INSERT INTO ";
  const std::string payload = "hex(zeroblob(100))";
  const std::string status = "iif(i%20, 'sent', 'pending')";
  store.exec(numbers +
             "check_results(check_type, check_name, target, state, level, message, value, "
             "created_at) SELECT 'disk', 'disk usage', '/var', 'ok', 'info', " +
             payload + ", i, '2026-11-19T02:58:20Z' FROM n");
  store.exec(numbers +
             "agent_journal(category, action, status, message, created_at) SELECT 'update', "
             "'check', 'ok', " +
             payload + ", '2026-11-19T02:58:20Z' FROM n");
  store.exec(numbers + "notification_queue(kind, payload, status, created_at) SELECT 'alert', " +
             payload + ", " + status + ", '2026-11-19T02:58:20Z' FROM n");
  store.exec(numbers +
             "vorn_sync_queue(event_id, payload, status, created_at) SELECT hex(randomblob(16)), " +
             payload + ", " + status + ", '2026-11-19T02:58:20Z' FROM n");
  store.exec("PRAGMA wal_checkpoint(TRUNCATE)");
}

void bare_maintenance(sqlite3* db, const fs::path& file) {
  const auto keep = [db](const std::string& table, const std::string& rows) {
    bare_exec(db, "DELETE FROM " + table + " WHERE id NOT IN (SELECT id FROM " + table +
                      " ORDER BY id DESC LIMIT " + rows + ")");
  };
  bare_write(db,
             "DELETE FROM incidents WHERE id IN (SELECT id FROM incidents WHERE status IN "
             "('resolved','auto_resolved') ORDER BY last_seen_at DESC LIMIT -1 OFFSET ?)",
             10);
  keep("check_results", "10000");
  bare_exec(db, "DELETE FROM incident_events WHERE incident_id NOT IN (SELECT id FROM incidents)");
  keep("agent_journal", "10000");
  bare_exec(db, "DELETE FROM notification_queue WHERE status!='pending'");
  bare_exec(db, "DELETE FROM vorn_sync_queue WHERE status='sent'");
  bare_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)");
  bare_exec(db, "VACUUM");
  if (size_of(file) <= max_bytes) return;
  keep("check_results", "1000");
  keep("agent_journal", "1000");
  bare_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)");
  bare_exec(db, "VACUUM");
}

/// Another process of the agent, which appends to the journal all the time.
class Neighbour {
 public:
  explicit Neighbour(const fs::path& file) : thread_([this, file] { write(file); }) {}
  ~Neighbour() {
    stop_ = true;
    thread_.join();
  }
  double longest_wait_ms() const { return longest_ms_; }

 private:
  void write(const fs::path& file) {
    SqliteStore store(file);
    while (!stop_) {
      const auto start = std::chrono::steady_clock::now();
      store.append_journal("neighbour", "write", "ok", "", "");
      const std::chrono::duration<double, std::milli> took =
          std::chrono::steady_clock::now() - start;
      longest_ms_ = std::max(longest_ms_.load(), took.count());
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  std::atomic<bool> stop_ = false;
  std::atomic<double> longest_ms_ = 0;
  std::thread thread_;
};

void maintenance(benchmark::State& state) {
  const Directory directory(state.range(0) == 0 ? memory : fs::temp_directory_path());
  const fs::path full = directory.path / "full.db";
  const fs::path file = directory.path / "agent.db";
  fill_200_mb(full);
  state.counters["MB_before"] = static_cast<double>(size_of(full)) / 1e6;
  const auto with_fresh_copy = [&](auto work) {
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(file.string() + suffix);
    fs::copy_file(full, file);
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  std::vector<double> ratios;
  double ours_seconds = 0;
  for (auto _ : state) {
    ours_seconds = with_fresh_copy([&] {
      SqliteStore store(file);
      store.run_maintenance(10, max_bytes);
      state.counters["MB_after"] = static_cast<double>(store.local_size_bytes()) / 1e6;
    });
    state.counters["MB_closed"] = static_cast<double>(size_of(file)) / 1e6;
    const double bare_seconds = with_fresh_copy([&] {
      sqlite3* bare = bare_open(file);
      bare_maintenance(bare, file);
      sqlite3_close(bare);
    });
    ratios.push_back(ours_seconds / bare_seconds);
    state.SetIterationTime(ours_seconds);
  }
  std::ranges::sort(ratios);
  state.counters["ratio"] = ratios[ratios.size() / 2];
  with_fresh_copy([&] {
    SqliteStore store(file);
    const Neighbour neighbour(file);
    store.run_maintenance(10, max_bytes);
    state.counters["other_waited_ms"] = neighbour.longest_wait_ms();
  });
}
BENCHMARK(maintenance)
    ->ArgName("disk")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// A store that stands, and a new one: the first change of its journal mode writes.
void open_store(benchmark::State& state) {
  const Directory directory(state.range(0) != 0 ? fs::temp_directory_path() : memory);
  const bool anew = state.range(1) != 0;
  const fs::path ours = directory.path / "ours.db";
  const fs::path bare = directory.path / "bare.db";
  SqliteStore{ours}.close();
  SqliteStore{bare}.close();
  run_paired(
      state,
      [&] {
        SqliteStore store;
        store.open(ours);
      },
      [&] {
        sqlite3* db = bare_open(bare);
        bare_exec(db, "PRAGMA foreign_keys=ON");
        sqlite3_close(db);
      },
      [&] {
        if (!anew) return;
        fs::remove(ours);
        fs::remove(bare);
      });
}
BENCHMARK(open_store)->ArgNames({"disk", "new"})->ArgsProduct({{0, 1}, {0, 1}})->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  for (const auto& operation : operations) {
    benchmark::RegisterBenchmark(operation.name, [&operation](benchmark::State& state) {
      Scene scene;
      run_paired(
          state, [&] { operation.ours(scene); }, [&] { operation.bare(scene); });
    })->UseManualTime();
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
