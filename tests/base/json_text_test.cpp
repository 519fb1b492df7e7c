#include "base/json_text.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "tests/support.h"

using namespace zunol_monitoring;
using nlohmann::json;

TEST(JsonText, IsWhatTheLibraryWrites) {
  json every_byte = json::array();
  for (char byte = 0; byte < 127; ++byte) every_byte.push_back(std::string("a") + byte + "b");
  const json rows = {nullptr,
                     true,
                     -5,
                     std::numeric_limits<std::uint64_t>::max(),
                     91.5,
                     1e300,
                     std::numeric_limits<double>::infinity(),
                     "",
                     "é\u2028\U0001F600\x7f",
                     json::array(),
                     json::object(),
                     json::binary({1, 2}),
                     {1, {2, {}, {3}}, "x"},
                     {{"", ""}, {"a\"b\\", {{"c\n", json::object()}, {"d", {1, 2}}}}, {"ü", false}},
                     every_byte};
  for (const json& row : rows) EXPECT_EQ(compact_json(row), row.dump());
}

TEST(JsonText, TextThatIsNoUtf8Raises) {
  for (const json& row : {json("a\xff"), json{{"\xc3", 1}}}) {
    const auto error = error_of([&] { compact_json(row); });
    EXPECT_TRUE(error);
    EXPECT_EQ(error, error_of([&] { (void)row.dump(); }));
  }
}
