#include "zunol_monitoring/config/duration.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support.h"

using namespace zunol_monitoring;

TEST(Duration, Grammar) {
  const struct {
    const char* text;
    std::int64_t seconds;
  } rows[] = {{"90", 90},   {"90s", 90},    {"15m", 900}, {"1h", 3600}, {"1d", 86400}, {"007", 7},
              {"250ms", 1}, {"90000ms", 1}, {"0ms", 0},   {"0", 0},     {"", -9},      {"s", -9},
              {"5 m", -9},  {" 5m", -9},    {"5M", -9},   {"-5m", -9},  {"+5m", -9},   {"1.5h", -9},
              {"5min", -9}, {"5m ", -9},    {"5w", -9}};
  for (const auto& row : rows)
    EXPECT_EQ(parse_duration_seconds(row.text, -9), row.seconds) << row.text;
  for (const char* most : {"9223372036854775807", "9223372036854775807d"})
    EXPECT_EQ(parse_duration_seconds(most, -9), std::numeric_limits<std::int64_t>::max()) << most;
}

TEST(Duration, DigitsBeyond64BitsRaiseWhateverTheUnit) {
  for (const char* text :
       {"9223372036854775808", "9223372036854775808s", "99999999999999999999x"}) {
    EXPECT_EQ(error_of([&] { (void)parse_duration_seconds(text, 0); }), "stoll") << text;
  }
}
