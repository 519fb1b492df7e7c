#include "events/parse_envelope.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support.h"

using namespace zunol_monitoring;
using nlohmann::json;

TEST(ParseEnvelope, KeepsTheTopLevelAndEmptiesWhatIsBelow) {
  const struct {
    const char* text;
    const char* envelope;
  } rows[] = {
      {"null", "null"},
      {" \"text\" ", "\"text\""},
      {"-1", "-1"},
      {"[1,{\"a\":2}]", "[]"},
      {"{}", "{}"},
      {R"({"s":"t","u":1,"i":-1,"f":1.5,"b":true,"n":null})",
       R"({"s":"t","u":1,"i":-1,"f":1.5,"b":true,"n":null})"},
      {R"({"o":{"a":{"b":[1]},"c":"x"},"a":[[],{"z":1}],"last":"kept"})",
       R"({"o":{},"a":[],"last":"kept"})"},
      {R"({"k":{"a":1},"k":"the last of one key counts"})",
       R"({"k":"the last of one key counts"})"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(parse_envelope(row.text), json::parse(row.envelope)) << row.text;
  }
}

TEST(ParseEnvelope, RefusesWhatTheLibraryRefusesInItsWords) {
  for (const std::string text :
       {"", " ", "{", "[1", "{}x", "{} {}", "// c\n{}", "{\"a\":1,}", "{a:1}", "{\"a\":1e999}",
        "{\"a\":{\"b\":1e999}}", "\"\x80\"", "{\"a\":{\"b\":\"\xc3\"}}", "{\"a\":\"\\ud800\"}",
        "{\"a\":{\"b\":nul}}", "\"a\nb\""}) {
    const auto expected = error_of([&] { const json value = json::parse(text); });
    ASSERT_TRUE(expected.has_value()) << text;
    EXPECT_EQ(error_of([&] { parse_envelope(text); }), expected) << text;
  }
}

TEST(ParseEnvelope, DepthCostsNoStack) {
  const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
  EXPECT_EQ(parse_envelope("{\"payload\":{\"a\":" + deep + "}}"), json::parse(R"({"payload":{}})"));
}
