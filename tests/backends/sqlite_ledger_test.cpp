#include <thread>

#include "tests/process.h"

using zunol_monitoring::read_text_file;
using zunol_monitoring::write_text_file;

namespace {

struct SqliteLedger : testing::Test {
  SqliteLedger() { write_text_file(dir / "event.json", "{\"a\":1}\n"); }
  ProcessResult append() const { return append_to({ledger}); }
  ProcessResult append_to(Texts arguments) const {
    arguments.insert(arguments.begin(), ZUNOL_SOURCE_DIR "/backends/sqlite-ledger");
    return run_process(arguments, environment);
  }
  ProcessResult sql(const std::string& text) const {
    return run_process({"sqlite3", "-batch", ledger, text}, environment);
  }

  TempDir dir;
  std::string ledger = dir / "ledger.db";
  std::map<std::string, std::string> environment = {{"PATH", "/usr/bin:/bin"},
                                                    {"HOME", dir.path()},
                                                    {"ZUNOL_MONITORING_CONFIG", "config"},
                                                    {"ZUNOL_VORN_EVENT_FILE", dir / "event.json"},
                                                    {"ZUNOL_VORN_EVENT_ID", "evt_1"},
                                                    {"ZUNOL_VORN_HISTORY_BLOCK_ID", "block"},
                                                    {"ZUNOL_VORN_WALLET_FILE", "wallet"}};
};

void expect_one_line_of_failure(const ProcessResult& run, int status, const std::string& part) {
  EXPECT_EQ(run.status, status) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(run.err.starts_with("sqlite-ledger: ")) << run.err;
  EXPECT_NE(run.err.find(part), std::string::npos) << run.err;
  EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
}

}  // namespace

TEST_F(SqliteLedger, KeepsEachEventOfABlockOnceAndByteForByte) {
  std::string event = "{\"text\":\"it's\\u0000 \xc3\xa9 $(x) \"}";
  for (int byte = 1; byte < 256; ++byte) event += static_cast<char>(byte);
  event += std::string("\0 and more \n\n", 13);
  write_text_file(dir / "event.json", event);
  EXPECT_EQ(append().status, 0);
  EXPECT_EQ(mode_of(ledger), 0600U);

  const ProcessResult again = append();
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out + again.err, "appended\n");
  write_text_file(dir / "event.json", "{}");
  expect_one_line_of_failure(append(), 65, "has the id evt_1 with another event");
  EXPECT_EQ(sql("SELECT count(*), sequence, history_block_id, event_id, typeof(event), "
                "abs(strftime('%s', 'now') - strftime('%s', appended_at)) < 60 FROM ledger")
                .out,
            "1|1|block|evt_1|text|1\n");
  EXPECT_EQ(sql("SELECT \"unique\" FROM pragma_index_list('ledger')").out, "1\n");
  sql("SELECT writefile('" + (dir / "copy").string() + "', event) FROM ledger");
  EXPECT_EQ(read_text_file(dir / "copy"), event);
}

TEST_F(SqliteLedger, TheSameIdInAnotherBlockIsAnotherEvent) {
  append();
  environment["ZUNOL_VORN_HISTORY_BLOCK_ID"] = "other";
  EXPECT_EQ(append().status, 0);
  EXPECT_EQ(sql("SELECT group_concat(sequence || history_block_id) FROM ledger").out,
            "1block,2other\n");
}

TEST_F(SqliteLedger, RefusesToChangeOrForget) {
  append();
  for (const char* statement : {"UPDATE ledger SET event='x'", "DELETE FROM ledger"}) {
    const ProcessResult run = sql(statement);
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.err.find("the ledger is append-only"), std::string::npos) << run.err;
  }
  sql("INSERT OR REPLACE INTO ledger VALUES(1, 'b', 'i', 'x', 't')");
  sql("INSERT OR REPLACE INTO ledger VALUES(9, 'block', 'evt_1', 'x', 't')");
  EXPECT_EQ(sql("SELECT sequence, event FROM ledger").out, "1|{\"a\":1}\n\n");
}

TEST_F(SqliteLedger, NoVariableIsEverPartOfACommand) {
  const CwdGuard cwd(dir.path());
  std::size_t rows = 0;
  for (const std::string value :
       {"'", "''", "'); DROP TABLE ledger; --", "$(touch canary)", "`touch canary`",
        ".shell touch canary", "a\n.shell touch canary\nb", "-option", "%s\\n\\", "\xff\xfe", "*",
        "~", "!x", "trailing\n\n", "\"; touch canary; \""}) {
    SCOPED_TRACE(value);
    const std::string file = (dir / ("e" + value)).string();
    if (value.find('/') == std::string::npos) write_text_file(file, "{}");
    for (const char* name : {"EVENT_ID", "HISTORY_BLOCK_ID", "WALLET_FILE"}) {
      environment[std::string("ZUNOL_VORN_") + name] = value;
    }
    environment["ZUNOL_MONITORING_CONFIG"] = value;
    environment["ZUNOL_VORN_EVENT_FILE"] = file;
    const ProcessResult run = append();
    EXPECT_EQ(run.status, 0) << run.err;
    sql("SELECT writefile('" + (dir / "id").string() +
        "', event_id || history_block_id) FROM ledger WHERE sequence=" + std::to_string(++rows));
    EXPECT_EQ(read_text_file(dir / "id"), value + value);
  }
  EXPECT_FALSE(std::filesystem::exists("canary"));
}

TEST_F(SqliteLedger, WhatIsMissingIsNamedInOneLine) {
  const auto all = environment;
  for (const auto& [name, value] : all) {
    if (!name.starts_with("ZUNOL_")) continue;
    environment.erase(name);
    expect_one_line_of_failure(append(), 64, name + " is not set");
    EXPECT_FALSE(std::filesystem::exists(ledger));
    environment = all;
  }
  expect_one_line_of_failure(append_to({}), 64, "usage: sqlite-ledger LEDGER");
  expect_one_line_of_failure(append_to({dir / "no/where.db"}), 75, "cannot append to");
  for (const char* name : {"fifo", "ledger-journal", "ledger-wal"}) {
    ASSERT_EQ(mkfifo((dir / name).c_str(), 0600), 0);
  }
  for (const char* name : {"fifo", ".", "ledger"}) {
    expect_one_line_of_failure(append_to({dir / name}), 75, " is no regular file");
  }
  write_text_file(dir / "junk", std::string(5000, 'x'));
  expect_one_line_of_failure(append_to({dir / "junk"}), 75, "not a database");
  for (const std::string file : {"missing\nfile", ""}) {
    environment["ZUNOL_VORN_EVENT_FILE"] = (dir / file).string();
    expect_one_line_of_failure(append(), 66, "cannot read event file");
  }
  environment["PATH"] = dir.path();
  std::filesystem::create_symlink("/usr/bin/tr", dir / "tr");
  environment["ZUNOL_VORN_EVENT_FILE"] = dir / "event.json";
  expect_one_line_of_failure(append(), 75, "the program sqlite3 is not installed");
}

TEST_F(SqliteLedger, NothingButTheWholeEventCountsAsAppended) {
  write_text_file(dir / "event.json", "");
  expect_one_line_of_failure(append(), 66, "is empty");
  EXPECT_FALSE(std::filesystem::exists(ledger));

  // What stands in front of the real sqlite3, and the error.
  environment["PATH"] = (dir / "bin").string() + ":/usr/bin:/bin";
  for (const Texts& row : rows_of(R"(
exit 0 => sqlite3 said nothing
exec /usr/bin/sqlite3 -cmd 'PRAGMA user_version' "$@" => : 0 appended
echo 'database or disk is full' >&2; exit 13 => database or disk is full
: >"$ZUNOL_VORN_EVENT_FILE"; exec /usr/bin/sqlite3 "$@" => the event file was not read
rm "$ZUNOL_VORN_EVENT_FILE"; exec /usr/bin/sqlite3 "$@" => event file was not read
)",
                                  "=>")) {
    write_text_file(dir / "event.json", "{}");
    write_text_file(dir / "bin/sqlite3", "#!/bin/sh\n" + row.at(0) + "\n");
    std::filesystem::permissions(dir / "bin/sqlite3", std::filesystem::perms(0700));
    environment["ZUNOL_VORN_EVENT_ID"] = row[1];
    expect_one_line_of_failure(append(), 75, row[1]);
  }
  write_text_file(dir / "event.json", "{}");
  environment["PATH"] = "/usr/bin:/bin";
  sql("CREATE TRIGGER theirs BEFORE INSERT ON ledger BEGIN SELECT RAISE(IGNORE); END");
  environment["ZUNOL_VORN_EVENT_ID"] = "evt_2";
  expect_one_line_of_failure(append(), 75, "the ledger did not keep the event");
  sql("DROP TRIGGER theirs; CREATE TRIGGER theirs AFTER INSERT ON ledger BEGIN SELECT edit('', "
      "'true'); END");
  expect_one_line_of_failure(append(), 75, "unsafe use of edit()");
}

// The run before may have been killed behind its commit, and a power cut would still undo that.
TEST_F(SqliteLedger, AnEventThatIsThereIsSyncedOnceMore) {
  std::filesystem::create_symlink(dir / "real/ledger.db", ledger);
  std::filesystem::create_directory(dir / "real");
  write_text_file(dir / "bin/sync", "#!/bin/sh\necho \"$@\" >>\"$HOME/synced\"\n");
  std::filesystem::permissions(dir / "bin/sync", std::filesystem::perms(0700));
  environment["PATH"] = (dir / "bin").string() + ":/usr/bin:/bin";
  EXPECT_EQ(append().out, "appended\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "synced"));
  EXPECT_EQ(append().out, "appended\n");
  EXPECT_EQ(read_text_file(dir / "synced"), "-- " + (dir / "real").string() + "\n");
  write_text_file(dir / "bin/sync", "#!/bin/sh\necho 'Input/output error'; exit 1\n");
  expect_one_line_of_failure(append(), 75, "Input/output error");
}

TEST_F(SqliteLedger, TheUsersOwnSettingsOfSqliteDoNotCount) {
  write_text_file(dir / ".sqliterc", ".bail on\nSELECT no_such_column;\n");
  EXPECT_EQ(append().status, 0);
}

TEST_F(SqliteLedger, ALedgerPathIsNeverAnOptionOrAUri) {
  const CwdGuard cwd(dir.path());
  for (const char* name : {"-version", ":memory:", "file:x?mode=memory"}) {
    EXPECT_EQ(append_to({name}).status, 0) << name;
    EXPECT_TRUE(std::filesystem::exists(dir / name)) << name;
  }
}

TEST_F(SqliteLedger, OneLedgerServesManyAtOnce) {
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 8; ++writer) {
    writers.emplace_back([this, writer] {
      auto variables = environment;
      for (int event = 0; event < 5; ++event) {
        variables["ZUNOL_VORN_EVENT_ID"] = std::to_string(writer / 2) + "-" + std::to_string(event);
        const ProcessResult run =
            run_process({ZUNOL_SOURCE_DIR "/backends/sqlite-ledger", ledger}, variables);
        EXPECT_EQ(run.status, 0) << run.err;
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(sql("SELECT count(*) FROM ledger; PRAGMA integrity_check").out, "20\nok\n");
}
