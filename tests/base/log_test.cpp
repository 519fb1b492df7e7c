#include "zunol_monitoring/base/log.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support.h"
#include "zunol_monitoring/base/files.h"

using namespace zunol_monitoring;

namespace {

/// Puts the logger back as a process finds it.
class Log : public testing::Test {
 protected:
  void TearDown() override {
    set_log_json(false);
    set_log_debug(false);
    set_log_file({});
  }
  /// What `action` writes to standard error.
  template <class Action>
  static std::string err_of(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
  }
  const TempDir dir_;
};

}  // namespace

TEST_F(Log, PlainLines) {
  const auto line_of = [](LogLevel level, const char* message) {
    std::cerr.width(60);  // a host's, for what it prints itself
    const std::string err = err_of([&] { log_message(level, message); });
    std::cerr.width(0);
    EXPECT_TRUE(has_form(err.substr(0, 21), "9999-99-99T99:99:99Z ")) << err;
    return err.substr(21);
  };
  EXPECT_EQ(line_of(LogLevel::Info, "text"), "INFO text\n");
  EXPECT_EQ(line_of(LogLevel::Warn, "two\nlines"), "WARN two\nlines\n");
  EXPECT_EQ(line_of(LogLevel::Error, ""), "ERROR \n");
  EXPECT_EQ(line_of(static_cast<LogLevel>(9), "x"), "INFO x\n");
}

TEST_F(Log, DebugIsSilentUntilItIsSet) {
  EXPECT_EQ(err_of([] { log_message(LogLevel::Debug, "x"); }), "");
  set_log_debug(true);
  EXPECT_TRUE(err_of([] { log_message(LogLevel::Debug, "x"); }).ends_with("DEBUG x\n"));
}

TEST_F(Log, JsonLinesHaveThreeKeys) {
  set_log_json(true);
  const std::string err = err_of([] { log_message(LogLevel::Warn, "\xc3\xa9\"\n"); });
  EXPECT_TRUE(err.starts_with(R"({"level":"WARN","message":"é\"\n","ts":")")) << err;
  EXPECT_EQ(nlohmann::json::parse(err).size(), 3U);
  EXPECT_EQ(
      err_of([] { EXPECT_THROW(log_message(LogLevel::Info, "\xff"), nlohmann::json::exception); }),
      "");
}

TEST_F(Log, TheFileGetsTheSameLinesBehindWhatItHas) {
  const auto file = dir_ / "a/b/agent.log";
  write_text_file(file, "earlier\n");
  set_log_file(file);
  const std::string err = err_of([] {
    log_message(LogLevel::Info, "one");
    log_message(LogLevel::Info, "two");
  });
  EXPECT_EQ(read_text_file(file), "earlier\n" + err);

  std::filesystem::remove_all(dir_ / "a");
  err_of([] { log_message(LogLevel::Info, "made anew"); });
  EXPECT_TRUE(read_text_file(file).ends_with("made anew\n"));

  set_log_file(dir_.path());  // cannot be opened
  EXPECT_TRUE(err_of([] { log_message(LogLevel::Info, "skipped"); }).ends_with("skipped\n"));
  set_log_file(file / "below/a/file");
  EXPECT_TRUE(err_of([] {
                EXPECT_THROW(log_message(LogLevel::Info, "raised"),
                             std::filesystem::filesystem_error);
              }).ends_with("raised\n"));
}

TEST_F(Log, ManyThreadsWriteBothPlacesInOneOrder) {
  set_log_file(dir_ / "log");
  const std::string err = err_of([&] {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([i] {
        for (int j = 0; j < 500; ++j) log_message(LogLevel::Info, std::to_string(i));
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_EQ(std::ranges::count(err, '\n'), 2000);
  EXPECT_EQ(read_text_file(dir_ / "log"), err);
}
