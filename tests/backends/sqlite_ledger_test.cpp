#include <gtest/gtest.h>

#include <thread>

#include "tests/process.h"

using zunol_monitoring::read_text_file;
using zunol_monitoring::write_text_file;

namespace {

struct LedgerScene {
  TempDir dir;
  std::string ledger = dir / "ledger.db";
  std::map<std::string, std::string> environment = {{"PATH", "/usr/bin:/bin"},
                                                    {"HOME", dir.path()},
                                                    {"ZUNOL_MONITORING_CONFIG", "config"},
                                                    {"ZUNOL_VORN_EVENT_FILE", dir / "event.json"},
                                                    {"ZUNOL_VORN_EVENT_ID", "evt_1"},
                                                    {"ZUNOL_VORN_HISTORY_BLOCK_ID", "block"},
                                                    {"ZUNOL_VORN_WALLET_FILE", "wallet"}};

  LedgerScene() { write_text_file(dir / "event.json", "{\"a\":1}\n"); }

  ProcessResult append() const { return append_to({ledger}); }
  ProcessResult append_to(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), ZUNOL_SOURCE_DIR "/backends/sqlite-ledger");
    return run_process(arguments, environment);
  }
  ProcessResult sql(const std::string& text) const {
    return run_process({"sqlite3", "-batch", ledger, text}, environment);
  }
};

void expect_one_line_of_failure(const ProcessResult& run, int status, const std::string& part) {
  EXPECT_EQ(run.status, status) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(run.err.starts_with("sqlite-ledger: ")) << run.err;
  EXPECT_NE(run.err.find(part), std::string::npos) << run.err;
  EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
}

}  // namespace

TEST(SqliteLedger, KeepsEachEventOfABlockOnceAndByteForByte) {
  const LedgerScene scene;
  std::string event = "{\"text\":\"it's\\u0000 \xc3\xa9 $(x) \"}";
  for (int byte = 1; byte < 256; ++byte) event += static_cast<char>(byte);
  event += std::string("\0 and more \n\n", 13);
  write_text_file(scene.dir / "event.json", event);
  EXPECT_EQ(scene.append().status, 0);
  EXPECT_EQ(mode_of(scene.ledger), 0600U);

  const ProcessResult again = scene.append();
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out + again.err, "appended\n");
  write_text_file(scene.dir / "event.json", "{}");
  expect_one_line_of_failure(scene.append(), 65, "has the id evt_1 with another event");
  EXPECT_EQ(scene
                .sql("SELECT count(*), sequence, history_block_id, event_id, typeof(event), "
                     "abs(strftime('%s', 'now') - strftime('%s', appended_at)) < 60 FROM ledger")
                .out,
            "1|1|block|evt_1|text|1\n");
  EXPECT_EQ(scene.sql("SELECT \"unique\" FROM pragma_index_list('ledger')").out, "1\n");
  scene.sql("SELECT writefile('" + (scene.dir / "copy").string() + "', event) FROM ledger");
  EXPECT_EQ(read_text_file(scene.dir / "copy"), event);
}

TEST(SqliteLedger, TheSameIdInAnotherBlockIsAnotherEvent) {
  LedgerScene scene;
  scene.append();
  scene.environment["ZUNOL_VORN_HISTORY_BLOCK_ID"] = "other";
  EXPECT_EQ(scene.append().status, 0);
  EXPECT_EQ(scene.sql("SELECT group_concat(sequence || history_block_id) FROM ledger").out,
            "1block,2other\n");
}

TEST(SqliteLedger, RefusesToChangeOrForget) {
  const LedgerScene scene;
  scene.append();
  for (const char* statement : {"UPDATE ledger SET event='x'", "DELETE FROM ledger"}) {
    const ProcessResult run = scene.sql(statement);
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.err.find("the ledger is append-only"), std::string::npos) << run.err;
  }
  scene.sql("INSERT OR REPLACE INTO ledger VALUES(1, 'b', 'i', 'x', 't')");
  scene.sql("INSERT OR REPLACE INTO ledger VALUES(9, 'block', 'evt_1', 'x', 't')");
  EXPECT_EQ(scene.sql("SELECT sequence, event FROM ledger").out, "1|{\"a\":1}\n\n");
}

TEST(SqliteLedger, NoVariableIsEverPartOfACommand) {
  LedgerScene scene;
  const CwdGuard cwd(scene.dir.path());
  std::size_t rows = 0;
  for (const std::string value :
       {"'", "''", "'); DROP TABLE ledger; --", "$(touch canary)", "`touch canary`",
        ".shell touch canary", "a\n.shell touch canary\nb", "-option", "%s\\n\\", "\xff\xfe", "*",
        "~", "!x", "trailing\n\n", "\"; touch canary; \""}) {
    SCOPED_TRACE(value);
    const std::string file = (scene.dir / ("e" + value)).string();
    if (value.find('/') == std::string::npos) write_text_file(file, "{}");
    for (const char* name : {"EVENT_ID", "HISTORY_BLOCK_ID", "WALLET_FILE"}) {
      scene.environment[std::string("ZUNOL_VORN_") + name] = value;
    }
    scene.environment["ZUNOL_MONITORING_CONFIG"] = value;
    scene.environment["ZUNOL_VORN_EVENT_FILE"] = file;
    const ProcessResult run = scene.append();
    EXPECT_EQ(run.status, 0) << run.err;
    scene.sql(
        "SELECT writefile('" + (scene.dir / "id").string() +
        "', event_id || history_block_id) FROM ledger WHERE sequence=" + std::to_string(++rows));
    EXPECT_EQ(read_text_file(scene.dir / "id"), value + value);
  }
  EXPECT_FALSE(std::filesystem::exists("canary"));
}

TEST(SqliteLedger, WhatIsMissingIsNamedInOneLine) {
  for (const char* name :
       {"ZUNOL_MONITORING_CONFIG", "ZUNOL_VORN_EVENT_FILE", "ZUNOL_VORN_EVENT_ID",
        "ZUNOL_VORN_HISTORY_BLOCK_ID", "ZUNOL_VORN_WALLET_FILE"}) {
    LedgerScene scene;
    scene.environment.erase(name);
    expect_one_line_of_failure(scene.append(), 64, std::string(name) + " is not set");
    EXPECT_FALSE(std::filesystem::exists(scene.ledger));
  }
  LedgerScene scene;
  expect_one_line_of_failure(scene.append_to({}), 64, "usage: sqlite-ledger LEDGER");
  expect_one_line_of_failure(scene.append_to({scene.dir / "no/where.db"}), 75, "cannot append to");
  write_text_file(scene.dir / "junk", std::string(5000, 'x'));
  expect_one_line_of_failure(scene.append_to({scene.dir / "junk"}), 75, "not a database");
  for (const std::string file : {"missing\nfile", ""}) {
    scene.environment["ZUNOL_VORN_EVENT_FILE"] = (scene.dir / file).string();
    expect_one_line_of_failure(scene.append(), 66, "cannot read event file");
  }
  LedgerScene without_sqlite;
  without_sqlite.environment["PATH"] = without_sqlite.dir.path();
  std::filesystem::create_symlink("/usr/bin/tr", without_sqlite.dir / "tr");
  expect_one_line_of_failure(without_sqlite.append(), 75, "the program sqlite3 is not installed");
}

TEST(SqliteLedger, NothingButTheWholeEventCountsAsAppended) {
  LedgerScene scene;
  write_text_file(scene.dir / "event.json", "");
  expect_one_line_of_failure(scene.append(), 66, "is empty");
  EXPECT_FALSE(std::filesystem::exists(scene.ledger));

  write_text_file(scene.dir / "event.json", "{}");
  const struct {
    const char* program;  ///< that stands in front of the real one
    std::string text;
    const char* error;
  } rows[] = {
      {"sqlite3", "exit 0", "sqlite3 said nothing"},
      {"sqlite3", "exec /usr/bin/sqlite3 -cmd 'PRAGMA user_version' \"$@\"", ": 0 appended"},
      {"sqlite3", "echo 'database or disk is full' >&2; exit 13", "database or disk is full"},
      {"sqlite3", ": >\"$ZUNOL_VORN_EVENT_FILE\"; exec /usr/bin/sqlite3 \"$@\"",
       "the event file was not read"},
  };
  scene.environment["PATH"] = (scene.dir / "bin").string() + ":/usr/bin:/bin";
  for (const auto& row : rows) {
    const auto program = scene.dir / "bin" / row.program;
    write_text_file(program, "#!/bin/sh\n" + row.text + "\n");
    std::filesystem::permissions(program, std::filesystem::perms(0700));
    scene.environment["ZUNOL_VORN_EVENT_ID"] = row.error;
    expect_one_line_of_failure(scene.append(), 75, row.error);
    std::filesystem::remove(program);
  }
  write_text_file(scene.dir / "event.json", "{}");
  scene.environment["PATH"] = "/usr/bin:/bin";
  scene.sql("CREATE TRIGGER theirs BEFORE INSERT ON ledger BEGIN SELECT RAISE(IGNORE); END");
  scene.environment["ZUNOL_VORN_EVENT_ID"] = "evt_2";
  expect_one_line_of_failure(scene.append(), 75, "the ledger did not keep the event");
}

TEST(SqliteLedger, TheUsersOwnSettingsOfSqliteDoNotCount) {
  const LedgerScene scene;
  write_text_file(scene.dir / ".sqliterc", ".bail on\nSELECT no_such_column;\n");
  EXPECT_EQ(scene.append().status, 0);
}

TEST(SqliteLedger, ALedgerPathIsNeverAnOptionOrAUri) {
  const LedgerScene scene;
  const CwdGuard cwd(scene.dir.path());
  for (const char* name : {"-version", ":memory:", "file:x?mode=memory"}) {
    EXPECT_EQ(scene.append_to({name}).status, 0) << name;
    EXPECT_TRUE(std::filesystem::exists(scene.dir / name)) << name;
  }
}

TEST(SqliteLedger, OneLedgerServesManyAtOnce) {
  const LedgerScene scene;
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 8; ++writer) {
    writers.emplace_back([&scene, writer] {
      auto environment = scene.environment;
      for (int event = 0; event < 5; ++event) {
        environment["ZUNOL_VORN_EVENT_ID"] =
            std::to_string(writer / 2) + "-" + std::to_string(event);
        const ProcessResult run =
            run_process({ZUNOL_SOURCE_DIR "/backends/sqlite-ledger", scene.ledger}, environment);
        EXPECT_EQ(run.status, 0) << run.err;
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(scene.sql("SELECT count(*) FROM ledger; PRAGMA integrity_check").out, "20\nok\n");
}
