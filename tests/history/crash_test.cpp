// Events survive a process that is killed at any moment, with a backend that fails half of the
// time.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <thread>

#include "tests/store/sql.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/config/load.h"
#include "zunol_monitoring/history/queueing_history_writer.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

namespace {

using Ids = std::set<std::string>;

class Crash : public testing::Test {
 protected:
  /// Bounded unless the environment asks for more.
  static int rounds() {
    const char* value = std::getenv("ZUNOL_CRASH_ROUNDS");
    return value != nullptr ? std::atoi(value) : 12;
  }

  void write_config(const std::string& transport) {
    write_text_file(dir_ / "backend",
                    "case $(od -An -N1 -tu1 /dev/urandom) in *[02468]) "
                    "echo 'fails before the append'; exit 1 ;; esac\n" ZUNOL_SOURCE_DIR
                    "/backends/sqlite-ledger " +
                        (dir_ / "ledger.db").string() +
                        "\ncase $(od -An -N1 -tu1 /dev/urandom) in *7) "
                        "echo 'fails behind the append'; exit 1 ;; esac\n");
    write_text_file(
        config_file_,
        "storage: {local_db: " + db_.string() + "}\nvorn: {queue_only: false, transport: " +
            transport + ", history_block_id: block, max_batch: 10, export_dir: " + spool_.string() +
            ", append_command: " ZUNOL_BIN_DIR "/zunol-vorn-append-event, bridge_command: sh " +
            (dir_ / "backend").string() + "}\n");
  }

  /// Lets the driver run for a random time and kills it.
  void run_and_kill() {
    std::vector<std::string> arguments = {ZUNOL_BIN_DIR "/outbox-driver", config_file_, accepted_};
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t driver = 0;
    ASSERT_EQ(posix_spawn(&driver, argv[0], &quiet, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&quiet);
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + random_() % 120));
    kill(driver, SIGKILL);
    int status = 0;
    waitpid(driver, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it ended by itself";
  }

  void make_due() const { sql(db_, "UPDATE vorn_sync_queue SET next_attempt_at=''"); }

  void deliver_the_rest() const {
    const Config config = load_config(config_file_);
    SqliteStore store(db_);
    QueueingVornHistoryWriter writer(config, store);
    testing::internal::CaptureStderr();  // half of the deliveries fail
    while (!store.list_sync_events(1, true).empty()) {
      writer.flush();
      make_due();
    }
    testing::internal::GetCapturedStderr();
  }

  /// Kills the driver again and again, with the queue due and whole each time; then delivers the
  /// rest.
  void crash_and_recover() {
    for (int round = 0; round < rounds(); ++round) {
      ASSERT_NO_FATAL_FAILURE(run_and_kill());
      if (!fs::exists(db_)) continue;  // killed before its first step
      { const SqliteStore store(db_); }
      ASSERT_EQ(sql(db_, "PRAGMA integrity_check"), "ok\n");
      make_due();
    }
    deliver_the_rest();
  }

  static Ids lines_of(const std::string& text) {
    std::istringstream in(text);
    Ids ids;
    for (std::string line; std::getline(in, line);) ids.insert(line);
    return ids;
  }
  Ids queued() const { return lines_of(sql(db_, "SELECT event_id FROM vorn_sync_queue")); }
  void expect_all_accepted(const Ids& delivered) const {
    const Ids accepted = lines_of(read_text_file(accepted_));
    EXPECT_GT(accepted.size(), static_cast<std::size_t>(rounds()));
    for (const std::string& id : accepted) EXPECT_TRUE(delivered.contains(id)) << id;
    EXPECT_EQ(delivered, queued());
  }

  const TempDir dir_;
  const EnvGuard tmpdir_{"TMPDIR", dir_.path().c_str()};  // a killed driver leaves an event file
  const fs::path db_ = dir_ / "state/agent.db";
  const fs::path spool_ = dir_ / "spool";
  const std::string config_file_ = dir_ / "config.yaml";
  const std::string accepted_ = dir_ / "accepted";
  std::mt19937 random_{20261122};
};

}  // namespace

TEST_F(Crash, TheLedgerEndsWithEachEventOnce) {
  write_config("command");
  crash_and_recover();
  const fs::path ledger = dir_ / "ledger.db";
  expect_all_accepted(lines_of(sql(ledger, "SELECT event_id FROM ledger")));
  EXPECT_EQ(sql(ledger, "SELECT count(*) - count(DISTINCT event_id) FROM ledger"), "0\n");
  EXPECT_EQ(sql(ledger, "PRAGMA integrity_check"), "ok\n");
  EXPECT_EQ(sql(db_, "ATTACH '" + ledger.string() +
                         "' AS l; SELECT count(*) FROM vorn_sync_queue q JOIN l.ledger e "
                         "USING(event_id) WHERE e.event <> q.payload || char(10)"),
            "0\n");
}

TEST_F(Crash, TheSpoolHoldsOnlyWholeEvents) {
  write_config("spool");
  crash_and_recover();
  Ids delivered;
  for (const auto& entry : fs::directory_iterator(spool_)) {
    if (entry.path().extension() != ".json") continue;
    const std::string text = read_text_file(entry.path());
    ASSERT_TRUE(text.ends_with("}\n")) << entry.path();
    EXPECT_TRUE(delivered.insert(nlohmann::json::parse(text)["event_id"]).second);
  }
  expect_all_accepted(delivered);
}
