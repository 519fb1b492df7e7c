#include <gtest/gtest.h>
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

/// Every table with its columns in the order of their names, and every index with its columns.
std::string schema_of(const std::filesystem::path& file) {
  return sql(file,
             "SELECT m.name, c.name, c.type, c.\"notnull\", c.dflt_value, c.pk FROM sqlite_schema "
             "m, "
             "pragma_table_info(m.name) c WHERE m.type='table' AND m.name NOT LIKE 'sqlite_%' "
             "ORDER BY 1, 2") +
         sql(file,
             "SELECT m.name, m.tbl_name, group_concat(i.name), l.\"unique\", l.partial FROM "
             "sqlite_schema m, pragma_index_info(m.name) i, pragma_index_list(m.tbl_name) l WHERE "
             "m.type='index' AND m.sql IS NOT NULL AND l.name=m.name GROUP BY m.name ORDER BY 1") +
         sql(file, "SELECT name FROM sqlite_schema WHERE sql LIKE '%AUTOINCREMENT%' ORDER BY 1") +
         sql(file,
             "SELECT sql FROM sqlite_schema WHERE sql GLOB '*CHECK*' OR sql LIKE '%REFERENCES%' OR "
             "sql LIKE '%UNIQUE%' OR sql LIKE '%COLLATE%' OR sql LIKE '%GENERATED%'");
}

// Written out by hand: table, column, type, NOT NULL, default, primary key.
constexpr const char* expected_schema = R"(agent_journal|action|TEXT|1||0
agent_journal|category|TEXT|1||0
agent_journal|created_at|TEXT|1||0
agent_journal|details|TEXT|1|''|0
agent_journal|id|INTEGER|0||1
agent_journal|message|TEXT|1|''|0
agent_journal|status|TEXT|1||0
agent_state|key|TEXT|0||1
agent_state|updated_at|TEXT|1||0
agent_state|value|TEXT|1||0
check_results|check_name|TEXT|1||0
check_results|check_type|TEXT|1||0
check_results|created_at|TEXT|1||0
check_results|id|INTEGER|0||1
check_results|labels|TEXT|1|'{}'|0
check_results|level|TEXT|1||0
check_results|message|TEXT|1||0
check_results|state|TEXT|1||0
check_results|target|TEXT|1||0
check_results|value|REAL|1||0
config_migrations|applied_at|TEXT|1||0
config_migrations|version|INTEGER|0||1
incident_events|created_at|TEXT|1||0
incident_events|event_id|TEXT|0||1
incident_events|incident_id|TEXT|1||0
incident_events|payload|TEXT|1||0
incident_events|type|TEXT|1||0
incidents|check_name|TEXT|1||0
incidents|check_type|TEXT|1||0
incidents|current_value|TEXT|1||0
incidents|fingerprint|TEXT|1||0
incidents|first_seen_at|TEXT|1||0
incidents|id|TEXT|0||1
incidents|last_seen_at|TEXT|1||0
incidents|level|TEXT|1||0
incidents|message|TEXT|1||0
incidents|repeat_count|INTEGER|1|0|0
incidents|resolved_at|TEXT|1|''|0
incidents|status|TEXT|1||0
incidents|target|TEXT|1||0
incidents|title|TEXT|1||0
notification_queue|attempt_count|INTEGER|1|0|0
notification_queue|created_at|TEXT|1||0
notification_queue|id|INTEGER|0||1
notification_queue|kind|TEXT|1||0
notification_queue|last_error|TEXT|1|''|0
notification_queue|payload|TEXT|1||0
notification_queue|sent_at|TEXT|1|''|0
notification_queue|status|TEXT|1|'pending'|0
telegram_actions_cursor|key|TEXT|0||1
telegram_actions_cursor|updated_at|TEXT|1||0
telegram_actions_cursor|value|TEXT|1||0
vorn_sync_queue|attempt_count|INTEGER|1|0|0
vorn_sync_queue|created_at|TEXT|1||0
vorn_sync_queue|event_id|TEXT|0||1
vorn_sync_queue|last_error|TEXT|1|''|0
vorn_sync_queue|next_attempt_at|TEXT|1|''|0
vorn_sync_queue|payload|TEXT|1||0
vorn_sync_queue|sent_at|TEXT|1|''|0
vorn_sync_queue|status|TEXT|1|'pending'|0
idx_agent_journal_category_created_at|agent_journal|category,created_at,id|0|0
idx_agent_journal_created_at|agent_journal|created_at,id|0|0
idx_incidents_fingerprint_status|incidents|fingerprint,status|0|0
idx_incidents_last_seen|incidents|last_seen_at|0|0
idx_vorn_sync_queue_pending|vorn_sync_queue|status,next_attempt_at,created_at|0|0
agent_journal
check_results
notification_queue
)";

}  // namespace

TEST(Schema, AFreshDatabaseHasEveryTableAndIndex) {
  const TempDir dir;
  const auto file = dir / "a/b/agent.db";
  { const SqliteStore store(file); }
  EXPECT_EQ(schema_of(file), expected_schema);
  EXPECT_EQ(
      sql(file, "SELECT group_concat(name) FROM pragma_table_info('vorn_sync_queue')"),
      "event_id,payload,status,attempt_count,next_attempt_at,last_error,created_at,sent_at\n");
  const std::string before = sql(file, "SELECT * FROM sqlite_schema");
  { const SqliteStore again(file); }
  EXPECT_EQ(sql(file, "SELECT * FROM sqlite_schema"), before);
}

TEST(Schema, OlderDatabasesGetWhatTheyLack) {
  const std::string results =
      "CREATE TABLE check_results(id INTEGER PRIMARY KEY AUTOINCREMENT, check_type TEXT NOT NULL, "
      "check_name TEXT NOT NULL, target TEXT NOT NULL, state TEXT NOT NULL, level TEXT NOT NULL, "
      "message TEXT NOT NULL, value REAL NOT NULL, created_at TEXT NOT NULL);"
      "INSERT INTO check_results VALUES(1, 't', 'n', '', 'ok', 'info', '', 1.5, 'then');";
  // Any of the columns that were added later may be there already.
  const std::string notification_columns[] = {", attempt_count INTEGER NOT NULL DEFAULT 0",
                                              ", last_error TEXT NOT NULL DEFAULT ''",
                                              ", sent_at TEXT NOT NULL DEFAULT ''"};
  const std::string queue_columns[] = {
      ", attempt_count INTEGER NOT NULL DEFAULT 0", ", next_attempt_at TEXT NOT NULL DEFAULT ''",
      ", last_error TEXT NOT NULL DEFAULT ''", ", sent_at TEXT NOT NULL DEFAULT ''"};
  const auto some_of = [](const auto& columns, unsigned mask) {
    std::string chosen;
    for (std::size_t i = 0; i < std::size(columns); ++i) {
      if ((mask >> i & 1U) != 0) chosen += columns[i];
    }
    return chosen;
  };
  for (unsigned mask = 0; mask < 16; ++mask) {
    const TempDir dir;
    const auto file = dir / "agent.db";
    sql(file,
        results +
            "CREATE TABLE notification_queue(id INTEGER PRIMARY KEY AUTOINCREMENT, kind TEXT "
            "NOT NULL, payload TEXT NOT NULL, status TEXT NOT NULL DEFAULT 'pending', "
            "created_at TEXT NOT NULL" +
            some_of(notification_columns, mask) +
            ");CREATE TABLE vorn_sync_queue(event_id TEXT PRIMARY KEY, payload TEXT NOT NULL, "
            "status TEXT NOT NULL DEFAULT 'pending', created_at TEXT NOT NULL" +
            some_of(queue_columns, mask) +
            ");INSERT INTO vorn_sync_queue(event_id, payload, created_at) "
            "VALUES('evt_old', '{}', '2026-01-01T00:00:00Z')");
    SqliteStore store(file);
    EXPECT_EQ(schema_of(file), expected_schema) << mask;
    EXPECT_EQ(sql(file, "SELECT labels FROM check_results"), "{}\n");
    ASSERT_EQ(store.list_sync_events(10, false).size(), 1U);
    EXPECT_EQ(store.list_sync_events(10, false)[0].event_id, "evt_old");
  }
  const TempDir dir;
  sql(dir / "agent.db",
      "CREATE TABLE vorn_sync_queue(event_id TEXT PRIMARY KEY, payload TEXT NOT NULL, "
      "status TEXT NOT NULL DEFAULT 'pending', created_at TEXT NOT NULL)");
  { const SqliteStore store(dir / "agent.db"); }
  EXPECT_EQ(
      sql(dir / "agent.db", "SELECT group_concat(name) FROM pragma_table_info('vorn_sync_queue')"),
      "event_id,payload,status,created_at,attempt_count,next_attempt_at,last_error,sent_at\n");
}

TEST(SqliteStore, SetsItsPragmas) {
  const TempDir dir;
  SqliteStore store(dir / "agent.db");
  EXPECT_EQ(sql(dir / "agent.db", "PRAGMA journal_mode"), "wal\n");
  // An enqueue that has returned is on the disk: full synchronisation, which is 2.
  Statement synchronous(StoreConnection::of(store), "PRAGMA synchronous");
  EXPECT_EQ(synchronous.next_or_raise() ? synchronous.integer(0) : -1, 2);
  store.exec("CREATE TABLE child(incident TEXT REFERENCES incidents(id))");
  EXPECT_EQ(error_of([&] { store.exec("INSERT INTO child VALUES('nobody')"); }),
            "FOREIGN KEY constraint failed");
}

TEST(SqliteStore, ManyProcessesOpenANewOrOldDatabaseAtOnce) {
  for (int round = 0; round < 10; ++round) {
    const TempDir dir;
    if (round % 2 == 1) {
      sql(dir / "agent.db",
          "CREATE TABLE vorn_sync_queue(event_id TEXT PRIMARY KEY, payload TEXT NOT NULL, "
          "status TEXT NOT NULL DEFAULT 'pending', created_at TEXT NOT NULL)");
    }
    std::vector<pid_t> children(4);
    for (pid_t& child : children) {
      child = fork();
      if (child == 0) {
        const auto failure = error_of([&] { const SqliteStore store(dir / "agent.db"); });
        _exit(failure ? 1 : 0);
      }
    }
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0) << round;
    }
    EXPECT_EQ(schema_of(dir / "agent.db"), expected_schema);
  }
}

TEST(SqliteStore, OpensAnotherFileInPlaceOfTheFirst) {
  const TempDir dir;
  SqliteStore store(dir / "one.db");
  store.open(dir / "two.db");
  store.apply_schema();
  store.enqueue_sync_event("evt", "{}");
  EXPECT_EQ(sql(dir / "one.db", "SELECT count(*) FROM vorn_sync_queue"), "0\n");
  EXPECT_EQ(sql(dir / "two.db", "SELECT count(*) FROM vorn_sync_queue"), "1\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "one.db-wal"));  // the last connection removes it
  store.close();
  store.close();
  EXPECT_FALSE(std::filesystem::exists(dir / "two.db-wal"));
}

TEST(SqliteStore, AFailingOpenLeavesAClosedStoreThatOpensAgain) {
  const TempDir dir;
  SqliteStore store;
  EXPECT_EQ(error_of([&] { store.open(dir.path()); }), "unable to open database file");
  write_text_file(dir / "file", "");
  EXPECT_THROW(store.open(dir / "file/agent.db"), std::filesystem::filesystem_error);
  store.open(dir / "good.db");
  store.apply_schema();
  EXPECT_TRUE(store.list_sync_events(1, true).empty());
}

TEST(SqliteStore, AnOpenWaitsTenSecondsForALockedDatabaseAndNoLonger) {
  const TempDir dir;
  sql(dir / "old.db", "CREATE TABLE other(a)");
  SqliteStore holder;
  const Connection lock(open_connection(dir / "old.db", SQLITE_OPEN_READWRITE));
  Statement(lock.get(), "BEGIN EXCLUSIVE").run();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(error_of([&] { holder.open(dir / "old.db"); }), "database is locked");
  const auto waited = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(waited, std::chrono::milliseconds(9900));
  EXPECT_LT(waited, std::chrono::seconds(15));  // and not twice
}

TEST(SqliteStore, FailuresTellWhatKindTheyAre) {
  const TempDir dir;
  const auto code_of = [](auto action) {
    try {
      action();
    } catch (const StoreError& error) {
      return error.code();
    }
    return SQLITE_OK;
  };
  SqliteStore store(dir / "agent.db");
  store.exec("PRAGMA max_page_count=1");
  EXPECT_EQ(code_of([&] { store.enqueue_sync_event("a", std::string(9000, 'x')); }), SQLITE_FULL);
  store.exec("PRAGMA busy_timeout=0");
  const Connection lock(open_connection(dir / "agent.db", SQLITE_OPEN_READWRITE));
  Statement(lock.get(), "BEGIN IMMEDIATE").run();
  EXPECT_EQ(code_of([&] { store.enqueue_sync_event("a", "b"); }), SQLITE_BUSY);
  EXPECT_EQ(code_of([&] { store.exec("VACUUM"); }), SQLITE_BUSY);
  write_text_file(dir / "junk.db", std::string(5000, 'x'));
  EXPECT_EQ(code_of([&] { store.open(dir / "junk.db"); }), SQLITE_NOTADB);
  EXPECT_EQ(code_of([&] { store.open(dir.path()); }), SQLITE_CANTOPEN);
}

TEST(SqliteStore, AClosedStoreSaysSoAndAMovedOneIsClosed) {
  const TempDir dir;
  SqliteStore store(dir / "agent.db");
  store.enqueue_sync_event("evt", "{}");
  SqliteStore moved = std::move(store);
  EXPECT_EQ(moved.list_sync_events(1, true).size(), 1U);
  EXPECT_GT(moved.local_size_bytes(), 0U);
  const struct {
    const char* name;
    std::function<void()> action;
    const char* error;
  } rows[] = {
      {"enqueue", [&] { store.enqueue_sync_event("a", "b"); }, "the store is closed"},
      {"list", [&] { (void)store.list_incidents(1); }, "the store is closed"},
      {"find", [&] { (void)store.find_incident("a"); }, "the store is closed"},
      {"apply_schema", [&] { store.apply_schema(); }, "the store is closed"},
      {"maintenance", [&] { store.run_maintenance(0, 1); }, "the store is closed"},
      {"gain", [&] { (void)store.maintenance_gain(1, 1); }, "the store is closed"},
      {"exec", [&] { store.exec("SELECT 1"); }, "sqlite exec failed"},
  };
  for (const auto& row : rows) EXPECT_EQ(error_of(row.action), row.error) << row.name;
  moved = SqliteStore(dir / "other.db");
  EXPECT_TRUE(moved.list_sync_events(1, true).empty());
  EXPECT_FALSE(std::filesystem::exists(dir / "agent.db-wal"));  // the first one is closed
}

TEST(SqliteStore, FailuresCarrySqlitesText) {
  const TempDir dir;
  write_text_file(dir / "junk.db", std::string(5000, 'x'));
  EXPECT_EQ(error_of([&] { const SqliteStore store(dir / "junk.db"); }), "file is not a database");

  SqliteStore store(dir / "agent.db");
  EXPECT_EQ(error_of([&] { store.exec("SELEKT"); }), "near \"SELEKT\": syntax error");
  store.exec(
      "CREATE TRIGGER refuse BEFORE INSERT ON vorn_sync_queue "
      "BEGIN SELECT RAISE(ABORT, 'refused'); END");
  EXPECT_EQ(error_of([&] { store.enqueue_sync_event("a", "b"); }), "refused");
  EXPECT_EQ(error_of([&] { store.enqueue_sync_event("a", std::string(1000000001, 'x')); }),
            "string or blob too big");
  store.exec("DROP TABLE vorn_sync_queue");
  EXPECT_EQ(error_of([&] { store.enqueue_sync_event("a", "b"); }),
            "no such table: vorn_sync_queue");
  EXPECT_EQ(error_of([&] { (void)store.list_sync_events(1, true); }),
            "no such table: vorn_sync_queue");
  // Every statement is finalised, or the connection could not be closed and its log not be removed.
  store.close();
  EXPECT_FALSE(std::filesystem::exists(dir / "agent.db-wal"));
}
