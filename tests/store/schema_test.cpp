#include <sqlite3.h>

#include <chrono>
#include <functional>

#include "store/connection.h"
#include "store/statement.h"
#include "tests/store/sql.h"
#include "zunol_monitoring/base/files.h"
#include "zunol_monitoring/store/sqlite_store.h"

using namespace zunol_monitoring;

namespace {

/// A line for each table with its columns in the order of their names, one for each index, and
/// what a table has beyond that. "!" is NOT NULL, and "#" the primary key.
std::string schema_of(const std::filesystem::path& file) {
  return sql(file, R"(
SELECT name || ': ' || (SELECT group_concat(text, ', ') FROM (SELECT name || ' ' || type || iif("notnull", '!', '')
  || iif(pk, '#', '') || ifnull(' ' || dflt_value, '') AS text FROM pragma_table_info(m.name) ORDER BY name))
  || iif(sql LIKE '%AUTOINCREMENT%', '; counted', '')
  || iif(sql GLOB '*CHECK*' OR sql LIKE '%REFERENCES%' OR sql LIKE '%UNIQUE%' OR sql LIKE '%COLLATE%'
    OR sql LIKE '%GENERATED%', sql, '')
FROM sqlite_schema m WHERE type='table' AND name NOT LIKE 'sqlite_%' ORDER BY name;
SELECT m.name || ': ' || m.tbl_name || '(' || group_concat(i.name, ', ') || ')' || iif(l."unique", ' UNIQUE', '')
  || iif(l.partial, ' partial', '')
FROM sqlite_schema m, pragma_index_info(m.name) i, pragma_index_list(m.tbl_name) l
WHERE m.type='index' AND m.sql IS NOT NULL AND l.name=m.name GROUP BY m.name ORDER BY 1)");
}

// Written out by hand.
constexpr const char* expected_schema =
    R"(agent_journal: action TEXT!, category TEXT!, created_at TEXT!, details TEXT! '', id INTEGER#, message TEXT! '', status TEXT!; counted
agent_state: key TEXT#, updated_at TEXT!, value TEXT!
check_results: check_name TEXT!, check_type TEXT!, created_at TEXT!, id INTEGER#, labels TEXT! '{}', level TEXT!, message TEXT!, state TEXT!, target TEXT!, value REAL!; counted
config_migrations: applied_at TEXT!, version INTEGER#
incident_events: created_at TEXT!, event_id TEXT#, incident_id TEXT!, payload TEXT!, type TEXT!
incidents: check_name TEXT!, check_type TEXT!, current_value TEXT!, fingerprint TEXT!, first_seen_at TEXT!, id TEXT#, last_seen_at TEXT!, level TEXT!, message TEXT!, repeat_count INTEGER! 0, resolved_at TEXT! '', status TEXT!, target TEXT!, title TEXT!
notification_queue: attempt_count INTEGER! 0, created_at TEXT!, id INTEGER#, kind TEXT!, last_error TEXT! '', payload TEXT!, sent_at TEXT! '', status TEXT! 'pending'; counted
telegram_actions_cursor: key TEXT#, updated_at TEXT!, value TEXT!
vorn_sync_queue: attempt_count INTEGER! 0, created_at TEXT!, event_id TEXT#, last_error TEXT! '', next_attempt_at TEXT! '', payload TEXT!, sent_at TEXT! '', status TEXT! 'pending'
idx_agent_journal_category_created_at: agent_journal(category, created_at, id)
idx_agent_journal_created_at: agent_journal(created_at, id)
idx_incidents_fingerprint_status: incidents(fingerprint, status)
idx_incidents_last_seen: incidents(last_seen_at)
idx_vorn_sync_queue_pending: vorn_sync_queue(status, next_attempt_at, created_at)
)";

/// The queue as it was before the columns that were added later, and with these of them.
std::string old_queue(const std::string& columns = "") {
  return "CREATE TABLE vorn_sync_queue(event_id TEXT PRIMARY KEY, payload TEXT NOT NULL, status "
         "TEXT NOT NULL DEFAULT 'pending', created_at TEXT NOT NULL" +
         columns + ");";
}

class Store : public testing::Test {
 protected:
  const TempDir dir_;
  const std::filesystem::path file_ = dir_ / "agent.db";
  SqliteStore store_;
};

using Schema = Store;

}  // namespace

TEST_F(Schema, AFreshDatabaseHasEveryTableAndIndex) {
  const auto file = dir_ / "a/b/agent.db";
  { const SqliteStore store(file); }
  EXPECT_EQ(schema_of(file), expected_schema);
  const std::string columns = "SELECT group_concat(name) FROM pragma_table_info('vorn_sync_queue')";
  EXPECT_EQ(
      sql(file, columns),
      "event_id,payload,status,attempt_count,next_attempt_at,last_error,created_at,sent_at\n");
  const std::string before = sql(file, "SELECT * FROM sqlite_schema");
  { const SqliteStore again(file); }
  EXPECT_EQ(sql(file, "SELECT * FROM sqlite_schema"), before);
  sql(file_, old_queue());
  { const SqliteStore store(file_); }
  EXPECT_EQ(
      sql(file_, columns),
      "event_id,payload,status,created_at,attempt_count,next_attempt_at,last_error,sent_at\n");
}

TEST_F(Schema, OlderDatabasesGetWhatTheyLack) {
  // Any of the columns that were added later may be there already.
  const Texts added = {
      ", attempt_count INTEGER NOT NULL DEFAULT 0", ", last_error TEXT NOT NULL DEFAULT ''",
      ", sent_at TEXT NOT NULL DEFAULT ''", ", next_attempt_at TEXT NOT NULL DEFAULT ''"};
  for (unsigned mask = 0; mask < 16; ++mask) {
    std::string of_both;
    for (std::size_t i = 0; i < 3; ++i) {
      if ((mask >> i & 1U) != 0) of_both += added[i];
    }
    const auto file = dir_ / std::to_string(mask);
    sql(file, old_queue(of_both + (mask >= 8 ? added[3] : "")) + R"(
CREATE TABLE check_results(id INTEGER PRIMARY KEY AUTOINCREMENT, check_type TEXT NOT NULL, check_name TEXT NOT NULL,
  target TEXT NOT NULL, state TEXT NOT NULL, level TEXT NOT NULL, message TEXT NOT NULL, value REAL NOT NULL,
  created_at TEXT NOT NULL);
INSERT INTO check_results VALUES(1, 't', 'n', '', 'ok', 'info', '', 1.5, 'then');
INSERT INTO vorn_sync_queue(event_id, payload, created_at) VALUES('evt_old', '{}', '2026-01-01T00:00:00Z');
CREATE TABLE notification_queue(id INTEGER PRIMARY KEY AUTOINCREMENT, kind TEXT NOT NULL, payload TEXT NOT NULL,
  status TEXT NOT NULL DEFAULT 'pending', created_at TEXT NOT NULL)" +
                  of_both + ")");
    SqliteStore store(file);
    EXPECT_EQ(schema_of(file), expected_schema) << mask;
    EXPECT_EQ(sql(file, "SELECT labels FROM check_results"), "{}\n");
    EXPECT_EQ(store.list_sync_events(10, false).at(0).event_id, "evt_old");
  }
}

TEST_F(Store, SetsItsPragmas) {
  store_ = SqliteStore(file_);
  EXPECT_EQ(sql(file_, "PRAGMA journal_mode"), "wal\n");
  // An enqueue that has returned is on the disk: full synchronisation, which is 2.
  Statement synchronous(StoreConnection::of(store_), "PRAGMA synchronous");
  EXPECT_EQ(synchronous.next_or_raise() ? synchronous.integer(0) : -1, 2);
  store_.exec("CREATE TABLE child(incident TEXT REFERENCES incidents(id))");
  EXPECT_EQ(error_of([&] { store_.exec("INSERT INTO child VALUES('nobody')"); }),
            "FOREIGN KEY constraint failed");
}

TEST_F(Store, ManyProcessesOpenANewOrOldDatabaseAtOnce) {
  for (int round = 0; round < 10; ++round) {
    const auto file = dir_ / std::to_string(round);
    if (round % 2 == 1) sql(file, old_queue());
    pid_t children[4];
    for (pid_t& child : children) {
      child = fork();
      if (child == 0) _exit(error_of([&] { const SqliteStore store(file); }) ? 1 : 0);
    }
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0) << round;
    }
    EXPECT_EQ(schema_of(file), expected_schema);
  }
}

TEST_F(Store, OpensAnotherFileInPlaceOfTheFirst) {
  store_ = SqliteStore(dir_ / "one.db");
  store_.open(dir_ / "two.db");
  store_.apply_schema();
  store_.enqueue_sync_event("evt", "{}");
  EXPECT_EQ(sql(dir_ / "one.db", "SELECT count(*) FROM vorn_sync_queue"), "0\n");
  EXPECT_EQ(sql(dir_ / "two.db", "SELECT count(*) FROM vorn_sync_queue"), "1\n");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "one.db-wal"));  // the last connection removes it
  store_.close();
  store_.close();
  EXPECT_FALSE(std::filesystem::exists(dir_ / "two.db-wal"));
}

TEST_F(Store, AFailingOpenLeavesAClosedStoreThatOpensAgain) {
  EXPECT_EQ(error_of([&] { store_.open(dir_.path()); }), "unable to open database file");
  write_text_file(dir_ / "file", "");
  EXPECT_THROW(store_.open(dir_ / "file/agent.db"), std::filesystem::filesystem_error);
  store_.open(dir_ / "good.db");
  store_.apply_schema();
  EXPECT_TRUE(store_.list_sync_events(1, true).empty());
}

TEST_F(Store, AnOpenWaitsTenSecondsForALockedDatabaseAndNoLonger) {
  sql(dir_ / "old.db", "CREATE TABLE other(a)");
  SqliteStore holder;
  const Connection lock(open_connection(dir_ / "old.db", SQLITE_OPEN_READWRITE));
  Statement(lock.get(), "BEGIN EXCLUSIVE").run();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(error_of([&] { holder.open(dir_ / "old.db"); }), "database is locked");
  const auto waited = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(waited, std::chrono::milliseconds(9900));
  EXPECT_LT(waited, std::chrono::seconds(15));  // and not twice
}

TEST_F(Store, FailuresTellWhatKindTheyAre) {
  const auto code_of = [](auto action) {
    try {
      action();
    } catch (const StoreError& error) {
      return error.code();
    }
    return SQLITE_OK;
  };
  store_ = SqliteStore(file_);
  store_.exec("PRAGMA max_page_count=1");
  EXPECT_EQ(code_of([&] { store_.enqueue_sync_event("a", std::string(9000, 'x')); }), SQLITE_FULL);
  store_.exec("PRAGMA busy_timeout=0");
  const Connection lock(open_connection(file_, SQLITE_OPEN_READWRITE));
  Statement(lock.get(), "BEGIN IMMEDIATE").run();
  EXPECT_EQ(code_of([&] { store_.enqueue_sync_event("a", "b"); }), SQLITE_BUSY);
  EXPECT_EQ(code_of([&] { store_.exec("VACUUM"); }), SQLITE_BUSY);
  write_text_file(dir_ / "junk.db", std::string(5000, 'x'));
  EXPECT_EQ(code_of([&] { store_.open(dir_ / "junk.db"); }), SQLITE_NOTADB);
  EXPECT_EQ(code_of([&] { store_.open(dir_.path()); }), SQLITE_CANTOPEN);
}

TEST_F(Store, AClosedStoreSaysSoAndAMovedOneIsClosed) {
  store_ = SqliteStore(file_);
  store_.enqueue_sync_event("evt", "{}");
  SqliteStore moved = std::move(store_);
  EXPECT_EQ(moved.list_sync_events(1, true).size(), 1U);
  EXPECT_GT(moved.local_size_bytes(), 0U);
  const std::function<void()> actions[] = {
      [&] { store_.enqueue_sync_event("a", "b"); }, [&] { (void)store_.list_incidents(1); },
      [&] { (void)store_.find_incident("a"); },     [&] { store_.apply_schema(); },
      [&] { store_.run_maintenance(0, 1); },        [&] { (void)store_.maintenance_gain(1, 1); }};
  for (const auto& action : actions) EXPECT_EQ(error_of(action), "the store is closed");
  EXPECT_EQ(error_of([&] { store_.exec("SELECT 1"); }), "sqlite exec failed");
  moved = SqliteStore(dir_ / "other.db");
  EXPECT_TRUE(moved.list_sync_events(1, true).empty());
  EXPECT_FALSE(std::filesystem::exists(dir_ / "agent.db-wal"));  // the first one is closed
}

TEST_F(Store, FailuresCarrySqlitesText) {
  write_text_file(dir_ / "junk.db", std::string(5000, 'x'));
  EXPECT_EQ(error_of([&] { const SqliteStore store(dir_ / "junk.db"); }), "file is not a database");

  store_ = SqliteStore(file_);
  EXPECT_EQ(error_of([&] { store_.exec("SELEKT"); }), "near \"SELEKT\": syntax error");
  store_.exec(
      "CREATE TRIGGER refuse BEFORE INSERT ON vorn_sync_queue "
      "BEGIN SELECT RAISE(ABORT, 'refused'); END");
  EXPECT_EQ(error_of([&] { store_.enqueue_sync_event("a", "b"); }), "refused");
  EXPECT_EQ(error_of([&] { store_.enqueue_sync_event("a", std::string(1000000001, 'x')); }),
            "string or blob too big");
  store_.exec("DROP TABLE vorn_sync_queue");
  EXPECT_EQ(error_of([&] { store_.enqueue_sync_event("a", "b"); }),
            "no such table: vorn_sync_queue");
  EXPECT_EQ(error_of([&] { (void)store_.list_sync_events(1, true); }),
            "no such table: vorn_sync_queue");
  // Every statement is finalised, or the connection could not be closed and its log not be removed.
  store_.close();
  EXPECT_FALSE(std::filesystem::exists(dir_ / "agent.db-wal"));
}
