#include "events/parse_envelope.h"

#include <nlohmann/json.hpp>

#include "events/shorten_strings.h"
#include "tests/support.h"

using namespace zunol_monitoring;
using nlohmann::json;

namespace {

/// `text` with 1000 letters for each "@".
std::string spread(std::string_view text) {
  std::string spread;
  for (const char c : text) spread.append(c == '@' ? 1000 : 1, c == '@' ? 'x' : c);
  return spread;
}

/// An event whose long string is shortened, with these members behind it.
std::string long_event(std::string_view members) {
  return R"({"long":{"text":")" + std::string(200000, 'x') + "\"}," + spread(members) + '}';
}

}  // namespace

TEST(ParseEnvelope, KeepsTheTopLevelAndEmptiesWhatIsBelow) {
  for (const Texts& row : rows_of(R"(
null => null
 "text"  => "text"
-1 => -1
[1,{"a":2}] => []
{} => {}
{"s":"t","u":1,"i":-1,"f":1.5,"b":true,"n":null} => {"s":"t","u":1,"i":-1,"f":1.5,"b":true,"n":null}
{"o":{"a":{"b":[1]},"c":"x"},"a":[[],{"z":1}],"last":"kept"} => {"o":{},"a":[],"last":"kept"}
{"k":{"a":1},"k":"the last of one key counts"} => {"k":"the last of one key counts"}
)",
                                  "=>")) {
    EXPECT_EQ(parse_envelope(' ' + row.at(0) + ' '), json::parse(row[1])) << row[0];
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

TEST(ParseEnvelope, TakesLongStringsAsTheyWere) {
  for (const Texts& row : rows_of(R"(
"a":"@","@":1 => {"long":{},"a":"@","@":1}
"@b":1,"@c":2,"@b":"@" => {"long":{},"@b":"@","@c":2}
"a":{"@":"@","k":["@\"}]@",{"@\\":"@\u00e9@"}]},"b":"@" => {"long":{},"a":{},"b":"@"}
"a":{"k":"\"[{"},"b":{"k":"\"[{"},"c":"@" => {"long":{},"a":{},"b":{},"c":"@"}
"a":["@ü@ü","\ud83d\ude00@"],"b":"@" => {"long":{},"a":[],"b":"@"}
)",
                                  "=>")) {
    const std::string text = long_event(row.at(0));
    ASSERT_LT(shorten_strings(text, 65536).value_or(text).size(), 10000U) << row[0];
    EXPECT_EQ(parse_envelope(text), json::parse(spread(row[1]))) << row[0];
  }
  const std::string text = long_event(R"("a":1)");
  EXPECT_EQ(parse_envelope(text + std::string("\0}", 2)), parse_envelope(text));
}

TEST(ParseEnvelope, RefusesWhatIsWrongAroundLongStringsInTheLibrarysWords) {
  for (const std::string members :
       {R"("a":{"b":"\u12@"})", R"("a":{"b":"\ud800@\udc00"})", R"("a":{"b":"\x@"})",
        R"("a":{"b":"@)", R"("a":{"b":"@\")", R"("a":{"b":"@"x})", R"("a":{"b":@})",
        R"("a":{"b":"@",})", R"("a":["@",1e999])", R"("a":["@"]])", "\"a\":{\"b\":\"@\n\"}",
        "\"a\":{\"b\":\"@\xc3@\xa9\"}", "\"a\":[\"\xf0\x9f@\x98\x80\"]", "]"}) {
    for (const std::string& text : {long_event(members), long_event(members) + '\0'}) {
      const auto expected = error_of([&] { const json value = json::parse(text); });
      ASSERT_TRUE(expected.has_value()) << members;
      EXPECT_EQ(error_of([&] { parse_envelope(text); }), expected) << members;
    }
  }
}

TEST(ParseEnvelope, LeavesATextWholeWhereShorteningGainsLittle) {
  const std::string rows = std::string(100000, '[') + long_event("\"a\":1");
  for (const std::string& text : {rows, "{\"a\":\"" + std::string(100000, 'x') + "\"}",
                                  "{\"a\":[\"" + std::string(200000, '\x7f') + "\"]}"}) {
    EXPECT_EQ(shorten_strings(text, 65536), std::nullopt) << text.substr(0, 20);
  }
}
