// Whatever a file holds, a load ends in a configuration or in an exception with a message.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "tests/config/load_text.h"
#include "zunol_monitoring/config/render.h"
#include "zunol_monitoring/config/validate.h"

using namespace zunol_monitoring;

namespace {

class Documents {
 public:
  Documents() {
    std::istringstream in(read_text_file(ZUNOL_SOURCE_DIR "/tests/config/default.yaml"));
    for (std::string line; std::getline(in, line);) lines_.push_back(line);
  }

  /// A stretch of the defaults with lines dropped, moved, given other values and spoilt.
  std::string next() {
    std::string text;
    const std::size_t begin = pick(lines_.size());
    const std::size_t end = std::min(lines_.size(), begin + 1 + pick(60));
    text += "checks:\n";
    for (std::size_t i = begin; i < end; ++i) text += mutated(lines_[i]) + '\n';
    for (std::size_t spoils = pick(3); spoils > 0; --spoils) {
      text[pick(text.size())] = static_cast<char>(pick(256));
    }
    return text;
  }

 private:
  std::string mutated(std::string line) {
    static const Texts values = split(
        R"(~;[];{};[a, [b]];{a: {b: c}};- x;&a [*a];*a;!!binary x;|;>-;0x7fffffff;-1;1e400;yes;#;{)"
        R"(;];99999999999999999999;.inf;.nan;';"\u0000";? x;<<: *a;%TAG;---;...;"unclosed;!<tag> x)"
        ";\t;",
        ";");
    switch (pick(8)) {
      case 0:
        return "";
      case 1:
        return line + '\n' + line;
      case 2:
        return std::string(pick(12), ' ') +
               line.substr(std::min(line.find_first_not_of(' '), line.size()));
      case 3:
        return line.substr(0, line.find(':') + 1) + ' ' + values[pick(values.size())];
      default:
        return line;
    }
  }
  std::size_t pick(std::size_t below) { return random_() % below; }

  std::vector<std::string> lines_;
  std::mt19937_64 random_{20261122};
};

}  // namespace

TEST(RandomDocuments, EndInAConfigurationOrAMessage) {
  const char* wanted = std::getenv("ZUNOL_RANDOM_DOCUMENTS");
  const int count = wanted != nullptr ? std::atoi(wanted) : 1000;
  Documents documents;
  int loaded = 0;
  for (int i = 0; i < count; ++i) {
    const std::string yaml = documents.next();
    std::string rendered;
    const auto error = error_of([&] {
      const Config config = load_text(yaml);
      ++loaded;
      validate_config(config);
      rendered = render_text(config);
    });
    EXPECT_NE(error.value_or("none"), "") << yaml;
    // What was rendered loads, outside the handler, and keeps its bytes. Only doubles that are no
    // numbers render as what is none in YAML.
    const bool loads = std::ranges::none_of(
        std::array{": inf", ": -inf", ": nan", ": -nan"},
        [&rendered](const char* word) { return rendered.find(word) != std::string::npos; });
    if (rendered.empty() || !loads) continue;
    const std::string again = render_text(load_text(rendered));
    EXPECT_EQ(render_text(load_text(again)), again);
  }
  EXPECT_GT(loaded, count / 20);
  EXPECT_LT(loaded, count);
}
