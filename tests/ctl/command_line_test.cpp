// What all commands share: usage, help, streams, tables and ages.
#include <gtest/gtest.h>

#include "ctl/age.h"
#include "ctl/output.h"
#include "ctl/table.h"
#include "tests/ctl/ctl_scene.h"

using namespace zunol_monitoring::ctl;

namespace {

using Arguments = std::vector<std::string>;

}  // namespace

TEST(CommandLine, WrongUsageIsOneLineAndStatusTwo) {
  const struct {
    Arguments arguments;
    const char* part;
  } rows[] = {
      {{}, "a command is required; see zunol-monitoring-ctl --help"},
      {{"nope"}, "unknown command nope; see zunol-monitoring-ctl --help"},
      {{"config"}, "a command is required; see zunol-monitoring-ctl config --help"},
      {{"config", "chek"}, "unknown command chek; see zunol-monitoring-ctl config --help"},
      {{"config", "check", "--strickt"}, "--strickt; see zunol-monitoring-ctl config check --help"},
      {{"--config"}, "--config"},
      {{"event", "send"}, "TYPE is required"},
      {{"event", "send", "test_event", "more"}, "more"},
      {{"event", "send", "test_event", "--data", "1", "--data-file", "-"}, "--data-file"},
      {{"event", "check"}, "FILE is required"},
      {{"event", "check", "line\nfeed", "x\ny"}, "x y"},
  };
  const CtlScene scene;
  for (const auto& row : rows) expect_one_error(scene.run(row.arguments), 2, row.part);
}

TEST(CommandLine, HelpAndVersionGoToStandardOutput) {
  const CtlScene scene;
  const struct {
    Arguments arguments;
    const char* part;
  } rows[] = {
      {{"--help"}, "event"},
      {{"config", "-h"}, "Usage: zunol-monitoring-ctl config"},
      {{"event", "send", "--help"}, "Usage: zunol-monitoring-ctl event send [OPTIONS] TYPE"},
      {{"--version"}, "zunol-monitoring-ctl 1."},
  };
  for (const auto& row : rows) {
    const ProcessResult result = scene.run(row.arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find(row.part), std::string::npos) << result.out;
  }
}

TEST(CommandLine, OutputThatCannotBeWrittenIsAnError) {
  const CtlScene scene;
  scene.configure();
  for (const char* command : {"config check", "config schema", "event types", "--help"}) {
    for (const char* sink : {">&-", ">/dev/full"}) {
      expect_one_error(scene.run_line(std::string("\"$ctl\" ") + command + sink), 1,
                       "cannot write standard output: ");
    }
  }
  // A file opened meanwhile must not become the standard output that was closed.
  expect_one_error(scene.run_line("\"$ctl\" event send test_event --id e1 >&-"), 1,
                   "the event e1 is queued, but cannot write standard output: ");
  EXPECT_EQ(scene.run_line("\"$ctl\" config check 2>&- nowhere").status, 1);
}

TEST(CommandLine, ColourIsForTerminalsWithoutNoColor) {
  const CtlScene scene;
  scene.configure("summary: {mode: x}\n");
  const auto coloured = [&](const char* line) {
    return scene.run_line(line).out.find('\x1b') != std::string::npos;
  };
  EXPECT_FALSE(coloured("\"$ctl\" config check"));
  EXPECT_TRUE(coloured("script -qec '\"$ctl\" config check' /dev/null"));
  EXPECT_FALSE(coloured("NO_COLOR=1 script -qec '\"$ctl\" config check' /dev/null"));
}

TEST(CommandLine, TablesAreCutToTheTerminal) {
  const CtlScene scene;
  scene.configure();
  const ProcessResult result = scene.run_line(
      "script -qec 'stty cols 50; \"$ctl\" config show --origin' /dev/null | tr -d '\\r'");
  std::istringstream lines(result.out);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const bool cut = line.ends_with("…");
    EXPECT_LE(line.size(), cut ? 52U : 50U) << line;  // "…" has three bytes
  }
  EXPECT_GT(count, 200);
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
  EXPECT_EQ(table.text(0),
            "ID      LAST ERROR  N\n"
            "a       é  [31m     1\n"
            "longer              22\n");
  EXPECT_EQ(table.text(10),
            "ID      L…\n"
            "a       é…\n"
            "longer   …\n");
  EXPECT_EQ(table.text(9),
            "ID      …\n"
            "a       …\n"
            "longer  …\n");
}

TEST(Age, NamesTheTwoLargestUnits) {
  const struct {
    std::int64_t seconds;
    const char* text;
  } rows[] = {{0, "0s"},          {59, "59s"},   {60, "1m"},       {3599, "59m 59s"}, {3600, "1h"},
              {86399, "23h 59m"}, {86400, "1d"}, {-90, "-1m 30s"}, {8640000, "100d"}};
  for (const auto& row : rows) EXPECT_EQ(span_text(row.seconds), row.text);
  EXPECT_EQ(seconds_of_timestamp("1970-01-02T00:00:01Z", -1), 86401);
  for (const char* wrong : {"", "1970-01-02", "1970-01-02T00:00:01Zx", "19700102T000001Z"}) {
    EXPECT_EQ(seconds_of_timestamp(wrong, -1), -1) << wrong;
  }
}
