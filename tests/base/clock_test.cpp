#include "zunol_monitoring/base/clock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "tests/support.h"
#include "zunol_monitoring/base/environment.h"
#include "zunol_monitoring/base/files.h"

using namespace zunol_monitoring;

TEST(Clock, TimestampsAreUtcOfWholeSeconds) {
  const EnvGuard zone("TZ", "Asia/Tokyo");
  using namespace std::chrono;
  EXPECT_EQ(utc_timestamp_iso(system_clock::time_point{1795057100s + 999ms}),
            "2026-11-19T02:58:20Z");
  EXPECT_EQ(utc_timestamp_iso(system_clock::time_point{-1ms}), "1969-12-31T23:59:59Z");
  EXPECT_TRUE(has_form(utc_timestamp_iso(), "9999-99-99T99:99:99Z"));
  EXPECT_TRUE(has_form(utc_timestamp_compact(), "99999999T999999Z"));
}

TEST(Clock, TheClocksTellThePresent) {
  const auto before = std::chrono::system_clock::now();
  const std::int64_t micros = now_microseconds();
  const std::string iso = utc_timestamp_iso();
  const std::string compact = utc_timestamp_compact();
  const auto after = std::chrono::system_clock::now();
  EXPECT_GE(iso, utc_timestamp_iso(before));
  EXPECT_LE(iso, utc_timestamp_iso(after));
  const auto in_micros = [](auto time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
  };
  EXPECT_GE(micros, in_micros(before));
  EXPECT_LE(micros, in_micros(after));
  const auto digits = [](std::string text) {
    std::erase_if(text, [](char byte) { return byte < '0' || byte > '9'; });
    return text;
  };
  EXPECT_GE(digits(compact), digits(iso));
  EXPECT_LE(digits(compact), digits(utc_timestamp_iso(after)));
}

TEST(Clock, IdsHaveOneShape) {
  std::size_t longest = 0;
  for (int i = 0; i < 100; ++i) {
    const std::string id = make_id("vorn-event");
    EXPECT_TRUE(has_form(id.substr(0, 28), "vorn-event_99999999T999999Z_")) << id;
    const std::string number = id.substr(28);
    EXPECT_LE(number.size(), 16U);
    EXPECT_EQ(number.find_first_not_of("0123456789abcdef"), std::string::npos) << id;
    EXPECT_NE(number.front(), '0') << id;
    longest = std::max(longest, number.size());
  }
  EXPECT_GT(longest, 14U);  // of 100 numbers of 64 bits
  EXPECT_EQ(make_id("").front(), '_');
}

TEST(Clock, IdsOfManyThreadsDiffer) {
  std::mutex mutex;
  std::set<std::string> ids;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        for (int j = 0; j < 2000; ++j) {
          const std::string id = make_id("evt");
          const std::lock_guard lock(mutex);
          ids.insert(id);
        }
      });
    }
  }
  EXPECT_EQ(ids.size(), 8000U);
}

TEST(Environment, AnEmptyVariableCountsAsUnset) {
  const EnvGuard empty("ZUNOL_TEST_EMPTY", "");
  const EnvGuard set("ZUNOL_TEST_SET", "value");
  EXPECT_EQ(env_or_default("ZUNOL_TEST_EMPTY", "fallback"), "fallback");
  EXPECT_EQ(env_or_default("ZUNOL_TEST_UNSET", "fallback"), "fallback");
  EXPECT_EQ(env_or_default("ZUNOL_TEST_SET", "fallback"), "value");
}

TEST(Clock, IdsOfAForkedProcessAreItsOwn) {
  make_id("evt");  // the generator is in use
  const TempDir dir;
  const pid_t child = fork();
  if (child == 0) {
    write_text_file(dir / "id", make_id(""));
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  const auto number = [](const std::string& id) { return id.substr(id.rfind('_')); };
  EXPECT_NE(number(read_text_file(dir / "id")), number(make_id("")));
}
