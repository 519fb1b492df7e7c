// What all commands share: usage, help, streams, tables and ages.
#include "ctl/age.h"
#include "ctl/output.h"
#include "ctl/table.h"
#include "tests/ctl/ctl_scene.h"

using namespace zunol_monitoring::ctl;
using CommandLine = Ctl;

TEST_F(CommandLine, WrongUsageIsOneLineAndStatusTwo) {
  configure();
  expect_errors("", 2, R"x(
=> a command is required; see zunol-monitoring-ctl --help
nope => unknown command nope; see zunol-monitoring-ctl --help
config => a command is required; see zunol-monitoring-ctl config --help
config chek => unknown command chek; see zunol-monitoring-ctl config --help
config check --strickt => --strickt; see zunol-monitoring-ctl config check --help
--config => --config
event send => TYPE is required
event send test_event more => more
event send test_event --data 1 --data-file - => --data-file
event check => FILE is required
event check "$(printf 'line\nfeed')" "$(printf 'x\ny')" => x y
queue =>
queue nonsense => nonsense
queue list --limit 0 => --limit
queue list --limit -1 => --limit
queue list --limit 99999999999 => --limit
queue list --since yesterday => is no time
queue check --max-age soon => is no duration
queue flush now => now
queue flush --timeout '5 minutes' => is no duration
queue flush --timeout -1 => is no duration
queue flush --timeout 99999999999h => is no duration
store =>
incidents --level high => --level
journal --limit x => --limit
results --type => --type
report => --html is required
report --html r --since yesterday => is no time
)x");
}

TEST_F(CommandLine, HelpAndVersionGoToStandardOutput) {
  expect_parts(out("--help"), {"event"});
  expect_parts(out("config -h"), {"Usage: zunol-monitoring-ctl config"});
  expect_parts(out("event send --help"), {"Usage: zunol-monitoring-ctl event send [OPTIONS] TYPE"});
  // The help tells no default where there is none.
  EXPECT_EQ(out("queue check --help").find("=-1"), std::string::npos);
  expect_parts(out("--version"), {"zunol-monitoring-ctl 1."});
}

TEST_F(CommandLine, OutputThatCannotBeWrittenIsAnError) {
  configure();
  for (const char* command : {"config check", "config schema", "event types", "--help"}) {
    for (const char* sink : {">&-", ">/dev/full"}) {
      expect_one_error(std::string(command) + sink, 1, "cannot write standard output: ");
    }
  }
  // A file opened meanwhile must not become the standard output that was closed.
  expect_one_error("event send test_event --id e1 >&-", 1,
                   "the event e1 is queued, but cannot write standard output: ");
  EXPECT_EQ(ctl("config check 2>&- nowhere").status, 1);
}

TEST_F(CommandLine, ColourIsForTerminalsWithoutNoColor) {
  configure("summary: {mode: x}\n");
  const auto coloured = [&](const char* line) {
    return sh(line).out.find('\x1b') != std::string::npos;
  };
  EXPECT_FALSE(coloured("\"$ctl\" config check"));
  EXPECT_TRUE(coloured("script -qec '\"$ctl\" config check' /dev/null"));
  EXPECT_FALSE(coloured("NO_COLOR=1 script -qec '\"$ctl\" config check' /dev/null"));
}

TEST_F(CommandLine, TablesAreCutToTheTerminal) {
  configure();
  const Texts lines = lines_of(
      sh("script -qec 'stty cols 50; \"$ctl\" config show --origin' /dev/null | tr -d '\\r'").out);
  EXPECT_GT(lines.size(), 200U);
  for (const std::string& line : lines) {
    EXPECT_LE(line.size(), line.ends_with("…") ? 52U : 50U) << line;  // "…" has three bytes
  }
}

TEST(Table, AlignsAndCutsByColumns) {
  set_character_type();
  EXPECT_EQ(printable("a\x9b\xe2\x80\xae\xe6\x97"), "a\xef\xbf\xbd \xef\xbf\xbd\xef\xbf\xbd");
  Table wide({"日本語", "X"});
  wide.add({"a", "b"});
  EXPECT_EQ(wide.text(0), "日本語  X\na       b\n");
  EXPECT_EQ(wide.text(6), "日本…\na    …\n");
  Table table({"ID", "LAST ERROR", "N"});
  table.add({"a", "é\n\x1b[31m", "1\xc2\x9b"});
  table.add({"longer", "", "22"});
  EXPECT_EQ(table.text(0), R"(ID      LAST ERROR  N
a       é  [31m     1
longer              22
)");
  EXPECT_EQ(table.text(10), "ID      L…\na       é…\nlonger   …\n");
  EXPECT_EQ(table.text(9), "ID      …\na       …\nlonger  …\n");
}

TEST(Age, NamesTheTwoLargestUnits) {
  std::string spans;
  for (const int seconds : {0, 59, 60, 3599, 3600, 86399, 86400, -90, 8640000}) {
    spans += span_text(seconds) + ", ";
  }
  EXPECT_EQ(spans, "0s, 59s, 1m, 59m 59s, 1h, 23h 59m, 1d, -1m 30s, 100d, ");
  EXPECT_EQ(seconds_of_timestamp("1970-01-02T00:00:01Z", -1), 86401);
  for (const char* far : {"0001-01-01T00:00:00Z", "1969-12-31T23:59:59Z", "9999-12-31T23:59:59Z"}) {
    EXPECT_EQ(timestamp_of_seconds(seconds_of_timestamp(far, 0)), far);
  }
  for (const char* wrong : {"", "1970-01-02", "1970-01-02T00:00:01Zx", "19700102T000001Z"}) {
    EXPECT_EQ(seconds_of_timestamp(wrong, -1), -1) << wrong;
  }
}
