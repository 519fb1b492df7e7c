#include "zunol_monitoring/config/duration.h"

#include <limits>

#include "tests/support.h"

using namespace zunol_monitoring;

TEST(Duration, IsDigitsWithOneOfTheUnits) {
  for (const Texts& row : rows_of(R"(
90 = 90 | 90s = 90 | 15m = 900 | 1h = 3600 | 1d = 86400 | 007 = 7 | 250ms = 1 | 90000ms = 1
0ms = 0 | 0 = 0 | 9223372036854775807 = 9223372036854775807 | 9223372036854775807d = 9223372036854775807
)",
                                  "|")) {
    for (const std::string& cell : row) {
      const Texts sides = split(cell, " = ");
      EXPECT_EQ(std::to_string(parse_duration_seconds(sides[0], -9)), sides.at(1)) << cell;
    }
  }
  for (const char* wrong : {"", "s", "5 m", " 5m", "5M", "-5m", "+5m", "1.5h", "5min", "5m ", "5w"})
    EXPECT_EQ(parse_duration_seconds(wrong, -9), -9) << wrong;
  for (const char* huge : {"9223372036854775808", "9223372036854775808s", "99999999999999999999x"})
    EXPECT_EQ(error_of([&] { (void)parse_duration_seconds(huge, 0); }), "stoll") << huge;
}
