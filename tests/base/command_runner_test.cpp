#include "zunol_monitoring/base/command_runner.h"

#include <random>

#include "tests/support.h"

using namespace zunol_monitoring;

TEST(CommandRunner, QuotesEveryTextAsOneWord) {
  EXPECT_EQ(shell_quote(""), "''");
  EXPECT_EQ(shell_quote("plain"), "'plain'");
  EXPECT_EQ(shell_quote("it's"), R"('it'\''s')");
}

TEST(CommandRunner, AnyBytesReachTheChildUnchanged) {
  std::mt19937 random(20261122);
  for (int round = 0; round < 100; ++round) {
    std::string text;
    for (std::size_t size = random() % 64; text.size() < size;) {
      text += static_cast<char>(1 + random() % 255);
    }
    const CommandResult result = run_command({"printf", "%s", text});
    EXPECT_EQ(result.output, text);
    EXPECT_EQ(result.exit_code, 0);
  }
}

TEST(CommandRunner, StatusAndOutput) {
  const std::string megabyte(1000000, 'x');
  const auto expect = [](const Texts& arguments, int exit_code, const std::string& output,
                         const std::string& error) {
    const CommandResult result = run_command(arguments);
    EXPECT_EQ(result.exit_code, exit_code) << output;
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.error, error);
  };
  const auto sh = [](const char* line) { return Texts{"/bin/sh", "-c", line}; };
  expect({}, 1, "", "empty command");
  expect(sh("echo out; echo err >&2"), 0, "out\nerr\n", "");
  expect(sh("echo err >&2; exit 3"), 3, "err\n", "err\n");
  expect(sh("exit 255"), 255, "", "");
  expect(sh("printf 'a\\0lost\\nb'"), 0, "ab", "");  // a zero byte loses the rest of its line
  expect(sh("head -c 1000000 /dev/zero | tr '\\0' x; exit 1"), 1, megabyte, megabyte);
}

TEST(CommandRunner, OneArgumentWithABlankIsOneProgram) {
  const CommandResult result = run_command({"echo x"});
  EXPECT_EQ(result.exit_code, 127);
  EXPECT_NE(result.error.find("echo x"), std::string::npos);
}

TEST(CommandRunner, AShellEndedByASignalGivesTheRawStatus) {
  const CommandResult outer = run_command({"/bin/sh", "-c", "echo before; kill -9 $PPID"});
  EXPECT_EQ(outer.exit_code, 9);
  EXPECT_EQ(outer.error, "before\n");
  EXPECT_NE(run_command({"/bin/sh", "-c", "kill -9 $$"}).exit_code, 0);
}

TEST(CommandRunner, WhatNoLineCanHoldCannotRun) {
  for (const std::string& argument : {std::string("a\0b", 3), std::string(200000, 'x')}) {
    EXPECT_EQ(error_of([&] { run_command({"true", argument}); }), "cannot run command");
  }
}

TEST(CommandRunner, ShellLineReturnsTheDecodedStatus) {
  EXPECT_EQ(run_shell_line("exit 7"), 7);
  EXPECT_EQ(run_shell_line("true"), 0);
  EXPECT_EQ(run_shell_line("kill -9 $$"), 9);
}
