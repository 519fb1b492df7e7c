#include "ctl/sqlite_ledger.h"
#include "tests/ctl/ctl_scene.h"

using nlohmann::json;

namespace {

/// Four events that the command has brought into a ledger, and one that waits.
struct Ledger : Ctl {
  Ledger() {
    write("wallet", "x");
    configure("vorn: {history_block_id: b, queue_only: false, transport: command, wallet_file: " +
              (dir / "wallet").string() +
              ", append_command: '" ZUNOL_BIN_DIR
              "/zunol-vorn-append-event', bridge_command: \"'" ZUNOL_SOURCE_DIR
              "/backends/sqlite-ledger' '" +
              file + "'\"}\n");
    for (const char* id : {"e1", "e_2", "e3", "e4"}) send(id);
    EXPECT_EQ(ctl("queue flush").status, 0);
  }
  void send(const std::string& id) const {
    EXPECT_EQ(ctl("event send check_failed --id '" + id + "'").status, 0);
  }
  ProcessResult sql(const std::string& text) const {
    return run_process({"sqlite3", "-batch", file, text}, environment);
  }

  const std::string file = dir / "ledger.db";
};

const std::string drop_triggers =
    "DROP TRIGGER ledger_refuses_update; DROP TRIGGER ledger_refuses_delete; "
    "DROP TRIGGER ledger_chain_refuses_update; DROP TRIGGER ledger_chain_refuses_delete; ";

}  // namespace

TEST(SqliteLedger, ItsFileIsReadFromTheShellTextOfTheBackend) {
  for (const Texts& row : rows_of(R"x(
/usr/sqlite-ledger /a/l.db => /a/l.db
X=1 'sqlite-ledger' "/a b/it's.db" => /a b/it's.db
sqlite-ledger /a\ b/l.db; echo done => /a b/l.db
sh -c 'said=$("$@") || exit' - /usr/sqlite-ledger '/a b' => /a b
sh -c '/usr/sqlite-ledger "/a b/l.db"|grep -q appended' => /a b/l.db
postgres-ledger sqlite =>
sqlite-ledger =>
)x",
                                  "=>")) {
    const auto ledger = zunol_monitoring::ctl::sqlite_ledger_of(row[0]);
    EXPECT_EQ(ledger ? ledger->file.string() : "", row[1]) << row[0];
  }
}

TEST_F(Ledger, ListsAndShowsItsRows) {
  EXPECT_EQ(each("ledger list --limit 3", "event_id"), "e4 e3 e_2 ");
  EXPECT_EQ(each("ledger list --block other", "event_id"), "");
  expect_parts(out("ledger list"), {"info", "check_failed", "e_2"});
  const json row = json_out("ledger show e_2");
  EXPECT_EQ(row["sequence"], 2);
  EXPECT_EQ(row["event"]["event_id"], "e_2");
  expect_parts(out("ledger show e3"), {"row 3, block b", "\"event_id\": \"e3\""});
  // Deeper than can be written by levels.
  const std::string deep = std::string(200'000, '[') + std::string(200'000, ']');
  write("deep", deep);
  sql("INSERT INTO ledger VALUES(5, 'b', 'deep', readfile('" + (dir / "deep").string() + "'), '')");
  EXPECT_EQ(json_out("ledger show deep")["event"], deep);
  EXPECT_TRUE(out("ledger show deep").ends_with('\n' + deep + '\n'));
  // A view can call the functions of the program sqlite3, one of which runs others.
  run_process({"sqlite3", dir / "evil.db",
               "CREATE TABLE ledger_chain(sequence, hash); INSERT INTO ledger_chain VALUES(1, '');"
               "CREATE VIEW ledger AS SELECT 1 AS sequence, '' AS history_block_id, '' AS event_id,"
               "edit('', 'touch " +
                   (dir / "run").string() + "; true') AS event"},
              environment);
  expect_errors("ledger ", 1, R"(
show e5 => no event e5 in
list --ledger $dir/config.yaml => config.yaml: file is not a database
verify --ledger $dir/evil.db => evil.db: it has no ledger in it
list --ledger $dir/no.db => no ledger at
list --ledger $dir => it is no regular file
verify --ledger $dir/state/agent.db => agent.db: it has no ledger in it
)");
  EXPECT_FALSE(fs::exists(dir / "run"));
  expect_one_error("ledger verify --anchor 1:x", 2, "is no row");
  configure();
  expect_one_error("ledger list", 1, "names no sqlite-ledger: --ledger names the file");
  EXPECT_EQ(each("ledger list --limit 1 --ledger $dir/ledger.db", "event_id"), "deep ");
}

TEST_F(Ledger, TellsTheFirstFaultOfItsHistory) {
  EXPECT_EQ(sql(drop_triggers).status, 0);
  const std::string anchor = json_out("ledger verify")["head"];
  EXPECT_TRUE(anchor.starts_with("4:")) << anchor;
  sql("VACUUM INTO '" + (dir / "whole.db").string() + '\'');
  const std::string cut =
      "DELETE FROM ledger WHERE sequence>2; DELETE FROM ledger_chain WHERE sequence>2";
  const std::vector<Texts> faults = {
      {"", ""},
      {"UPDATE ledger SET event=replace(event, 'e3', 'e5') WHERE sequence=3",
       "row 3 or its hash was changed"},
      {"UPDATE ledger SET event_id='e5' WHERE sequence=1", "row 1 or its hash was changed"},
      {"UPDATE ledger_chain SET hash='' WHERE sequence=4", "row 4 or its hash was changed"},
      {"INSERT INTO ledger VALUES(-9223372036854775808, 'b', 'e0', '', '')",
       "row -9223372036854775808 was put before the first"},
      {"INSERT INTO ledger VALUES(0, 'b', 'e0', '', '')", "row 0 was put before the first"},
      {"DELETE FROM ledger WHERE sequence IN (2, 3)", "rows are missing before row 4"},
      {"DELETE FROM ledger_chain WHERE sequence=3", "the chain leaves out row 3"},
      {"DELETE FROM ledger_chain", "no row is in the chain, so that nothing is proven"},
      {cut, "the end is missing: row 4 was appended, and the last is 2"},
      {"DELETE FROM ledger WHERE sequence=4; UPDATE sqlite_sequence SET seq=3",
       "the end is missing: row 4 was appended, and the last is 3"},
      {cut + "; UPDATE sqlite_sequence SET seq=2", ", the anchor, is missing"},
  };
  for (const Texts& fault : faults) {
    fs::copy_file(dir / "whole.db", file, fs::copy_options::overwrite_existing);
    EXPECT_EQ(sql(fault[0]).err, "");
    const std::string words = "ledger verify --json --anchor " + anchor;
    const json proof = json::parse(out(words, fault[1].empty() ? 0 : 1));
    EXPECT_EQ(proof["ok"], fault[1].empty());
    const std::string told = proof["fault"];
    EXPECT_TRUE(told.ends_with(fault[1])) << fault[0] << ": " << told;
  }
  EXPECT_EQ(json_out("ledger verify")["ok"], true);  // what an anchor alone tells
}

TEST_F(Ledger, RowsFromBeforeTheChainCountAsSuch) {
  sql("DROP TRIGGER ledger_chains; DROP TABLE ledger_chain");
  expect_one_error("ledger verify", 1, "it has no chain yet, which the next append begins");
  send("e5");
  EXPECT_EQ(ctl("queue flush").status, 0);
  const json proof = json_out("ledger verify");
  EXPECT_EQ(proof["unlinked"], 4);
  EXPECT_EQ(proof["rows"], 5);
}

TEST_F(Ledger, TellsSentEventsThatItDoesNotHave) {
  EXPECT_EQ(out("ledger missing"), "4 sent events looked for, 0 faults\n");
  send("e5");
  run_process({"sqlite3", db, "UPDATE vorn_sync_queue SET event_id='e:2' WHERE event_id='e5'"},
              environment);
  sql(drop_triggers +
      "DELETE FROM ledger WHERE sequence=1; UPDATE ledger SET event=event||' ' WHERE sequence=3");
  const std::string told = out("ledger missing", 1);
  expect_parts(told, {"e1: sent at 2", ", but the ledger has nothing\n", "e3: sent at 2",
                      "the ledger has another event\n", "e_2: shares its marker with e:2\n",
                      "4 sent events looked for, 3 faults\n"});
  EXPECT_EQ(lines_of(out("ledger missing --json --block other", 1)).size(), 5U);
}
