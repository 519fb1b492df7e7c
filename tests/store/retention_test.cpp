#include <sqlite3.h>

#include "store/connection.h"
#include "store/statement.h"
#include "tests/store/store_scene.h"
#include "zunol_monitoring/base/files.h"

namespace fs = std::filesystem;
using namespace zunol_monitoring;

namespace {

constexpr std::uint64_t mib = 1048576;

class Retention : public StoreScene {
 protected:
  /// `rows` of every kind that a busy agent writes: results, journal entries, both queues with a
  /// tenth of their rows pending, and incidents, a tenth of them open, with a trail of 3 events.
  void work(int rows) {
    query(
        "CREATE TEMP TABLE n AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n "
        "WHERE i<" +
        std::to_string(rows) +
        R"() SELECT i, hex(randomblob(8)) AS name, hex(zeroblob(200)) AS text FROM n;
INSERT INTO check_results(check_type, check_name, target, state, level, message, value, created_at)
  SELECT 'disk', 'name', '/', 'ok', 'info', text, i, printf('%09d', 99999-i) FROM n;
INSERT INTO agent_journal(category, action, status, details, created_at)
  SELECT 'c', 'a', 'ok', text, printf('%09d', 99999-i) FROM n;
INSERT INTO notification_queue(kind, payload, status, created_at)
  SELECT 'k', text, CASE i%10 WHEN 0 THEN 'pending' WHEN 1 THEN 'expired' ELSE 'sent' END, 't' FROM n;
INSERT INTO vorn_sync_queue(event_id, payload, status, created_at)
  SELECT name, text, iif(i%10, 'sent', 'pending'), 't' FROM n;
INSERT INTO incidents SELECT name, 'f', 'disk', 'name', '/', 'info',
  CASE i%10 WHEN 0 THEN 'snoozed' WHEN 1 THEN 'auto_resolved' ELSE 'resolved' END,
  't', text, '', '', printf('%09d', max(i) OVER () + 1 - i), '', 0 FROM n;
INSERT INTO incident_events(event_id, incident_id, type, created_at, payload)
  SELECT name || '/' || e.column1, name, 'opened', 't', 'p' FROM n, (VALUES(1), (2), (3)) AS e)");
    store_.set_state("state" + std::to_string(++works_), "kept");
    store_.set_state("empty", "");
  }
  /// What must never be given up for space.
  std::string kept() const {
    return query(R"(
SELECT event_id FROM vorn_sync_queue WHERE status='pending' ORDER BY 1;
SELECT id FROM notification_queue WHERE status='pending' ORDER BY 1;
CREATE TEMP VIEW open AS SELECT id FROM incidents WHERE status NOT IN ('resolved','auto_resolved');
SELECT id FROM open ORDER BY 1;
SELECT event_id FROM incident_events WHERE incident_id IN (SELECT id FROM open) ORDER BY 1;
SELECT key || length(value) FROM agent_state ORDER BY 1)");
  }
  std::string counts() const {
    return query(
        "SELECT (SELECT count(*) FROM check_results), (SELECT count(*) FROM agent_journal), "
        "(SELECT count(*) FROM incidents), (SELECT count(*) FROM incident_events), "
        "(SELECT count(*) FROM notification_queue), (SELECT count(*) FROM vorn_sync_queue)");
  }

 private:
  int works_ = 0;
};

}  // namespace

TEST_F(Retention, PruneKeepsTheResolvedOnesSeenLast) {
  work(10);  // 8 resolved, 1 auto-resolved, 1 open
  const std::string all = "1 2 3 4 5 6 7 8 9 10 ";
  for (const auto& [keep, kept] : {std::pair(0, all), {-1, all}, {9, all}, {2, "1 9 10 "}}) {
    store_.prune_resolved_incidents(keep);  // 1 is the open one
    std::string left;
    for (const Incident& incident : store_.list_incidents(-1)) {
      left.insert(0, std::to_string(std::stoi(incident.last_seen_at)) + ' ');
    }
    EXPECT_EQ(left, kept) << keep;
  }
  EXPECT_EQ(query("SELECT count(*) FROM incident_events"), "30\n");  // until the store is compacted
}

TEST_F(Retention, TheSizeIsThatOfThreeFiles) {
  const auto size = [](const fs::path& file) { return fs::file_size(file); };
  work(100);
  ASSERT_GT(size(file_.string() + "-wal"), 0U);
  EXPECT_EQ(store_.local_size_bytes(),
            size(file_) + size(file_.string() + "-wal") + size(file_.string() + "-shm"));
  for (const char* suffix : {"-wal", "-shm", ""}) fs::remove(file_.string() + suffix);
  EXPECT_EQ(store_.local_size_bytes(), 0U);
  fs::create_directory(file_.string() + "-wal");
  EXPECT_EQ(store_.local_size_bytes(), 0U);
}

TEST_F(Retention, WithinItsLimitAStoreIsOnlyPruned) {
  work(20);
  const std::string before = counts();
  store_.run_maintenance(0, 0);
  store_.run_maintenance(0, store_.local_size_bytes());
  EXPECT_EQ(counts(), before);
  store_.run_maintenance(1, 0);
  EXPECT_EQ(counts(), "20|20|3|60|20|20\n");
  store_.run_maintenance(1, store_.local_size_bytes() - 1);  // one byte too large
  EXPECT_EQ(counts(), "20|20|3|9|2|2\n");
}

TEST_F(Retention, TheGainTellsWhatARunWouldDelete) {
  work(2000);
  const auto rows = [&] {
    Texts cells = split(counts(), "|");
    cells.erase(cells.begin() + 3);  // the trail of an incident that goes is not counted
    int sum = 0;
    for (const std::string& count : cells) sum += std::stoi(count);
    return sum;
  };
  EXPECT_EQ(store_.maintenance_gain(10, 0).rows, 1790);  // resolved incidents, and no limit
  const int before = rows();
  const MaintenanceGain gain = store_.maintenance_gain(10, 1);
  store_.run_maintenance(10, 1);
  EXPECT_EQ(gain.rows, before - rows());
  EXPECT_EQ(store_.maintenance_gain(10, 1).rows, 0);
  EXPECT_EQ(store_.maintenance_gain(10, 1).free_bytes, 0U);
  store_.exec("DELETE FROM check_results");
  EXPECT_GT(store_.maintenance_gain(10, 1).free_bytes, 100000U);
  EXPECT_EQ(store_.maintenance_gain(10, 0).free_bytes, 0U);
}

TEST_F(Retention, AReaderInTheWayHoldsUpNothingButTheCheckpoint) {
  work(100);
  store_.exec("PRAGMA busy_timeout=100");  // what the 10 seconds would come to
  const Connection reader(open_connection(file_, SQLITE_OPEN_READONLY));
  Statement open(reader.get(), "SELECT id FROM check_results");
  EXPECT_TRUE(open.next_or_raise());
  const std::string before = kept();
  store_.run_maintenance(1, 1);
  EXPECT_EQ(counts(), "100|100|11|33|10|10\n");
  EXPECT_EQ(kept(), before);
  int seen = 1;  // the reader goes on with what it saw at its beginning
  while (open.next_or_raise()) ++seen;
  EXPECT_EQ(seen, 100);
}

TEST_F(Retention, StageTwoFollowsOnlyWhereStageOneWasNotEnough) {
  work(11000);
  const std::string before = kept();
  store_.run_maintenance(10, 80 * mib);
  EXPECT_EQ(counts(), "11000|11000|1110|33000|11000|11000\n") << "within its limit";
  store_.run_maintenance(10, 30 * mib);
  EXPECT_EQ(counts(), "10000|10000|1110|3330|1100|1100\n");
  EXPECT_EQ(query("SELECT min(id), max(id) FROM check_results"), "1001|11000\n");
  EXPECT_LE(store_.local_size_bytes(), 30 * mib);
  store_.run_maintenance(10, 1);  // no stage can reach it; that is no error
  EXPECT_EQ(counts(), "1000|1000|1110|3330|1100|1100\n");
  EXPECT_EQ(query("SELECT min(id), max(id) FROM agent_journal"), "10001|11000\n");
  EXPECT_EQ(query("PRAGMA freelist_count"), "0\n");
  store_.exec("PRAGMA wal_checkpoint(TRUNCATE)");  // the agent's next one
  EXPECT_LE(store_.local_size_bytes(), 10 * mib);
  EXPECT_EQ(kept(), before);
}

TEST_F(Retention, AFailingStatementEndsTheRunAndTheNextOneDoesTheRest) {
  work(100);
  query(
      "CREATE TRIGGER stop BEFORE DELETE ON notification_queue BEGIN SELECT RAISE(ABORT, 'stop'); "
      "END");
  EXPECT_EQ(error_of([&] { store_.run_maintenance(1, 1); }), "stop");
  EXPECT_EQ(counts(), "100|100|11|33|100|100\n");
  query("DROP TRIGGER stop");
  store_.run_maintenance(1, 1);
  EXPECT_EQ(counts(), "100|100|11|33|10|10\n");
}
